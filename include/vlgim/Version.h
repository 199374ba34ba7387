#pragma once

#include <vlgim/Export.h>

/// The version of these headers. While the major version is 0, each minor version has its own binary interface.
#define VLGIM_VERSION_MAJOR 0
#define VLGIM_VERSION_MINOR 2
#define VLGIM_VERSION_PATCH 0

namespace vela::vlgim {

/// Returns the version of the library that the program runs with, such as "0.2.0". The text is constant.
VLGIM_API const char* Version() noexcept;

}  // namespace vela::vlgim
