#pragma once

#include "Block.h"

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

/// Returns the same error with a block as the enclosing place.
inline Error Inside(const Step& step, Error error)
{
    std::string place;
    AppendStep(place, step);
    if (!error.block.empty())
        place.append(" / ").append(error.block);
    error.block = std::move(place);
    return error;
}

/// Returns the first error among `count` blocks of an object, with the block as the enclosing place: why(5) is of
/// "bone 5".
template <class Why>
Error FirstInside(Block block, std::size_t count, Why why)
{
    for (std::size_t i = 0; i < count; ++i)
        if (Error error = why(i))
            return Inside({block, static_cast<std::int64_t>(i)}, std::move(error));
    return {};
}

/// Returns the same error, about the file `path` unless it names another; success stays empty.
inline Error InFile(Error error, const std::string& path)
{
    if (error && error.file.empty())
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

/// Makes the error of a file whose header is refused at a byte.
inline Error BadHeader(ErrorKind kind, std::uint64_t offset, std::string text)
{
    return {kind, 0, {}, NameOf(Block::Header), offset, std::move(text)};
}

/// Makes the error of a file whose version is not read. All files have it behind four bytes of magic.
/// readable  the versions that are, such as "tracks of version 0x10000 and 0x10001"
inline Error BadVersion(const std::string& readable, std::uint32_t version)
{
    return BadHeader(ErrorKind::Version, 4,
                     "version " + Hex(version) + " is not supported; supported are " + readable);
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
