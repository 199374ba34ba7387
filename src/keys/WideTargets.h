#pragma once

// Which instruction sets the wide code is compiled for; goes before Highway's own headers. SSSE3 would be one
// more for processors older than SSE4, and vectors of a length that only the machine knows can't lie in
// structs. Those machines have the plain code.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

// Its own checks would call into Highway's library, of which nothing else is needed.
#define HWY_IS_DEBUG_BUILD 0
