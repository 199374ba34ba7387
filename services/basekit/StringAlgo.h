#pragma once

#include <vlgim/Export.h>

namespace kit {

struct VLGIM_API StringAlgo {
    /// Lower-cases A to Z of a NUL-terminated string in place, whatever the locale; other bytes stay.
    static void ToLower(char* text);
};

}  // namespace kit
