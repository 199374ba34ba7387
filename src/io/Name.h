#pragma once

#include <basekit/StringAlgo.h>
#include <nameid/NameID.h>
#include <vlgim/Name32.h>

#include <cstdint>
#include <cstring>

// What readers do with a name of 32 bytes.
namespace vela::vlgim::io {

/// Returns the hash of a name. The case is not changed.
inline std::int32_t Hash(const Name32& name)
{
    return NameIDMurmur3(name.View());
}

/// Changes a name to lower case and returns its hash. The bytes after its NUL are unchanged.
inline std::int32_t LowerAndHash(Name32& name)
{
    char text[Name32::kSize + 1] = {};  // a name of 32 bytes has no NUL
    std::memcpy(text, name.bytes, Name32::kSize);
    kit::StringAlgo::ToLower(text);
    std::memcpy(name.bytes, text, Name32::kSize);
    return Hash(name);
}

}  // namespace vela::vlgim::io
