#pragma once

#include <vlgim/Export.h>

namespace kit {

struct VLGIM_API StringAlgo {
    /// Changes A to Z to lower case in place, whatever the locale is. Other bytes are unchanged.
    /// text  NUL-terminated
    static void ToLower(char* text);
};

}  // namespace kit
