#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace vela::platform {

/// True if the process certainly has no second thread. Owners can then be counted without atomic operations, which take
/// four times as long as plain ones.
inline bool IsSingleThreaded() noexcept
{
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

}  // namespace vela::platform
