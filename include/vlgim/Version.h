#pragma once

#include <vlgim/Export.h>

/// The version of these headers. While the major version is 0, each minor version has a binary interface of its own.
#define VLGIM_VERSION_MAJOR 0
#define VLGIM_VERSION_MINOR 2
#define VLGIM_VERSION_PATCH 0

namespace vela::vlgim {

/// The version of the library that the program runs with, as in "0.2.0". Constant text.
VLGIM_API const char* Version() noexcept;

}  // namespace vela::vlgim
