#include <vlgim/Version.h>

namespace vela::vlgim {

const char* Version() noexcept
{
#define VLGIM_TEXT(number) #number
#define VLGIM_VERSION_TEXT(major, minor, patch) VLGIM_TEXT(major) "." VLGIM_TEXT(minor) "." VLGIM_TEXT(patch)
    return VLGIM_VERSION_TEXT(VLGIM_VERSION_MAJOR, VLGIM_VERSION_MINOR, VLGIM_VERSION_PATCH);
}

}  // namespace vela::vlgim
