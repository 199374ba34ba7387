#pragma once

#include "Comparer.h"

#include <vlio2/XmlData.h>

namespace vela::vlgim::diff {

/// Names the first place where two documents differ.
void CompareDocuments(Comparer& out, std::string_view field, const vlio::XmlData& a, const vlio::XmlData& b);

}  // namespace vela::vlgim::diff
