#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

// Errors of objects and files. The place is built on the way out, from the innermost part.
namespace vela::vlgim::io {

/// Makes an error of a whole object or file.
inline Error MakeError(ErrorKind kind, std::string text, std::string file = {})
{
    return {kind, 0, std::move(file), "", std::nullopt, std::move(text)};
}

/// Makes the error of an object that can't be written.
inline Error Unwritable(std::string text)
{
    return MakeError(ErrorKind::Unwritable, std::move(text));
}

/// Returns the same error with `place` as the enclosing place.
inline Error Inside(std::string place, Error error)
{
    if (!error.block.empty())
        place.append(" / ").append(error.block);
    error.block = std::move(place);
    return error;
}

/// Returns the same error, about the file `path`; success stays empty.
inline Error InFile(Error error, const char* path)
{
    if (error)
        error.file = path;
    return error;
}

/// Formats a version or flags, such as "0x50004".
inline std::string Hex(std::uint32_t number)
{
    char text[11];
    std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(number));
    return text;
}

/// True if an array has at least `count` elements.
template <class T>
bool Holds(const Array<T>& array, std::uint64_t count)
{
    return count <= array.size();
}

/// Returns why an array can't be written as `count` elements; success if it has them.
/// what  names the elements, such as "positions"
/// `isExact` also refuses a longer array: its elements are not those that the count means.
template <class T>
Error WhyShort(const Array<T>& array, std::uint64_t count, std::string_view what, bool isExact = false)
{
    if (isExact ? count == array.size() : Holds(array, count))
        return {};
    std::string text = "the " + std::string(what);
    if (!array)
        return Unwritable(text + " are missing");
    return Unwritable(text + " have " + std::to_string(array.size()) + " entries, but " +
                      std::to_string(count) + " are needed");
}

}  // namespace vela::vlgim::io
