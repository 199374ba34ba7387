#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vela::vlgim {

/// What went wrong. Programs decide by the kind; people read Error::Message().
enum class ErrorKind : std::uint8_t {
    None,         ///< success
    NotFound,     ///< there is no file under this path
    Unreadable,   ///< the system refuses to read the file, or it is not a regular file, or it is too large
    Document,     ///< an XML document was refused; Error::code holds the parser's reason
    Magic,        ///< the file does not begin as a file of its kind
    Version,      ///< the file has a version, or belongs to a branch, that is not read
    Bytes,        ///< a block needs more bytes than the file has left
    Limit,        ///< a count exceeds what the format, or this library, allows
    Memory,       ///< the file asks for more memory than a file of its size may
    MemoryLimit,  ///< the file needs more memory than the caller allows
    Reference,   ///< something is named or counted that is not there, such as a submesh record without a name
    Unwritable,  ///< the object can't be written faithfully
    NotCreated,  ///< the system refuses to create or replace the file; Error::code holds its errno value
    NotWritten,  ///< the system refused to write the file or to put it in place; code as for NotCreated
};

/// The result of an operation: success, or what went wrong and where. Converts to true for a failure:
///
///     if (const Error error = Load(mesh, path))
///         std::fprintf(stderr, "%s\n", error.Message().c_str());
struct [[nodiscard]] Error {
    ErrorKind kind = ErrorKind::None;
    int code = 0;  ///< the system's errno value or the XML parser's error number; 0: neither
    std::string
        file;  ///< path of the file concerned, as it was given or as another file names it; may be empty
    std::string block;  ///< place in the file or object, as in "clip 2 / bone 5"; empty: all of it
    std::optional<std::uint64_t> offset;  ///< byte of the file at which it was refused, from its first
    std::string text;                     ///< one sentence without file and place, not capitalised

    explicit operator bool() const noexcept { return kind != ErrorKind::None; }

    /// The whole error for a person, in one line: "a.mesh: bones block at byte 99: needs 16 bytes, but the file has 3 left".
    /// Empty for success. File names are any bytes.
    VLGIM_API std::string Message() const;
};

}  // namespace vela::vlgim
