#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

// Errors of objects that can't be written, put together on the way out: the innermost place first.
namespace vela::vlgim::io {

/// Why an object can't be written.
inline Error Unwritable(std::string text)
{
    Error error;
    error.kind = ErrorKind::Unwritable;
    error.text = std::move(text);
    return error;
}

/// The same error, which is inside of `place`.
inline Error Inside(std::string place, Error error)
{
    if (!error.block.empty())
        place.append(" / ").append(error.block);
    error.block = std::move(place);
    return error;
}

/// "0x50004": versions and flags.
inline std::string Hex(std::uint32_t number)
{
    char text[11];
    std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(number));
    return text;
}

/// Whether an array has the elements that its owner counts.
template <class T>
bool Holds(const Array<T>& array, std::uint64_t count)
{
    return count <= array.size();
}

/// Why an array can't be written as `count` elements; success where it holds them.
/// what  names the elements, as in "positions"
template <class T>
Error WhyShort(const Array<T>& array, std::uint64_t count, std::string_view what)
{
    if (Holds(array, count))
        return {};
    std::string text = "the " + std::string(what);
    if (!array)
        return Unwritable(text + " are missing");
    return Unwritable(text + " have " + std::to_string(array.size()) + " entries, but " +
                      std::to_string(count) + " are needed");
}

}  // namespace vela::vlgim::io
