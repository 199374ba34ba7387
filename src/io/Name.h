#pragma once

#include <basekit/StringAlgo.h>
#include <nameid/NameID.h>
#include <vlgim/Name32.h>

#include <cstdint>
#include <cstring>

// What readers do with the 32 bytes of a name.
namespace vela::vlgim::io {

/// The hash of a name, in its own case.
inline std::int32_t Hash(const Name32& name)
{
    return NameIDMurmur3(name.View());
}

/// Lower-cases a name and gives its hash. The bytes behind its NUL stay as they are.
inline std::int32_t LowerAndHash(Name32& name)
{
    char text[Name32::kSize + 1] = {};  // a name that fills its field has no NUL to stop at
    std::memcpy(text, name.bytes, Name32::kSize);
    kit::StringAlgo::ToLower(text);
    std::memcpy(name.bytes, text, Name32::kSize);
    return Hash(name);
}

}  // namespace vela::vlgim::io
