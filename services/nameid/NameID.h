#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <string_view>

namespace vela {

/// Returns the hash of a name: MurmurHash3, x86 32-bit, seed 0, over all bytes of `name`.
/// Austin Appleby, "MurmurHash3", 2011, in the public domain.
VLGIM_API std::int32_t NameIDMurmur3(std::string_view name);

/// Returns the same hash over the bytes before the NUL.
inline std::int32_t NameIDMurmur3(const char* name)
{
    return NameIDMurmur3(std::string_view(name));
}

}  // namespace vela
