#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define VLGIM_KNOWS_SINGLE_THREADED 1
#endif

namespace platform {

/// Whether the process surely has no second thread, so that counts of owners need no atomic operation: it takes four
/// times as long as a plain one.
inline bool IsSingleThreaded() noexcept
{
#ifdef VLGIM_KNOWS_SINGLE_THREADED
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

}  // namespace platform
