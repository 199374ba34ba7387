#pragma once

#include <vlgim/Findings.h>

#include <string>

namespace vela::vlgim::tools {

/// A finding as compilers print theirs, so that editors find the place; without a line's end. Colours go by severity.
std::string TextLine(const Finding& finding, bool isColored);

/// A finding as docs/vlgim.schema.json describes it; without a line's end.
std::string JsonLine(const Finding& finding);

/// Where in the file, as in "skin, byte 1200"; empty: the file as a whole.
std::string PlaceIn(const Finding& finding);

}  // namespace vela::vlgim::tools
