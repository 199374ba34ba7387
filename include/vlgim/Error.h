#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vela::vlgim {

/// What went wrong. Programs should test the kind; Error::Message() is for people. A clip name that leads out of the
/// folder of side files gives Unreadable in a load and NotCreated in a save. In a list of warnings NotCreated means
/// that a file was written in place.
enum class ErrorKind : std::uint8_t {
    None,         ///< success
    NotFound,     ///< no file has this path
    Unreadable,   ///< the system refuses to read the file; or it is no regular file, or too large
    Document,     ///< an XML document was refused; Error::code holds the reason
    Magic,        ///< the file does not begin like a file of its kind
    Version,      ///< the version of the file is not supported, or it belongs to an unknown branch
    Bytes,        ///< a block needs more bytes than the file has left
    Limit,        ///< a count exceeds what the format or this library allows
    Memory,       ///< the file needs more memory than a file of its size may use
    MemoryLimit,  ///< the file needs more memory than the caller allows
    Reference,    ///< something that is named or counted is missing, such as the name of a submesh record
    Unwritable,   ///< the object can't be written so that it reads back the same
    NotCreated,   ///< the system refuses to create or replace the file; Error::code holds its errno value
    NotWritten,  ///< the system refused to write the file or to put it in place; Error::code as for NotCreated
    Warning,     ///< nothing failed; what the caller should know about a file that was read or written
};

/// The result of an operation: success, or what went wrong and where. It converts to true for a failure:
///
///     if (const Error error = Load(mesh, path))
///         std::fprintf(stderr, "%s\n", error.Message().c_str());
struct [[nodiscard]] Error {
    ErrorKind kind = ErrorKind::None;
    int code = 0;       ///< errno value, tinyxml2 error or vlio::XmlRefusal; 0: none
    std::string file;   ///< path of the file, as given or as another file names it; may be empty
    std::string block;  ///< place in the file or object, as in "clip 2 / bone 5"; empty: all of it
    std::optional<std::uint64_t> offset;  ///< where the file was refused, in bytes from its start
    std::string text;                     ///< one sentence without file and place

    explicit operator bool() const noexcept { return kind != ErrorKind::None; }

    /// Returns the whole error in one line for people: "a.mesh: bones block at byte 99: needs 16 bytes, but the file
    /// has 3 left". Empty for success. File names are copied as they are and may contain any bytes.
    VLGIM_API std::string Message() const;
};

}  // namespace vela::vlgim
