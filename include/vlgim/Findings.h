#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What is wrong with a file, what people suffer from in it, and what a save would change: as values.
namespace vela::vlgim {

enum class Severity : unsigned char {
    Note,     ///< worth knowing; a save changes the form of something and loses nothing
    Warning,  ///< the formats allow it, and people suffer from it; or a save loses it
    Error,    ///< the file, or something in it, can't be used as it is
};

/// One kind of finding. Names are stable: a code that is no longer found keeps its name to itself.
struct FindingCode {
    const char* name;      ///< as in "index-range"
    Severity severity;     ///< of every finding of the code
    bool isDrop;           ///< a save drops what the finding names
    const char* meaning;   ///< for a person, in one sentence
    const char* whatToDo;  ///< in one sentence
};

/// All codes, in the order of docs/codes.md, which is made from them.
VLGIM_API std::span<const FindingCode> FindingCodes();

/// The code of this name; null if there is none.
VLGIM_API const FindingCode* FindFindingCode(std::string_view name);

/// One thing that was found, once, or of many alike in one block the first, with their number in the text.
struct Finding {
    const FindingCode* code = nullptr;  ///< in the table, never null in a result
    std::string file;                   ///< its path, as it was given or as the file that names it gives it
    std::string block;  ///< where in it, as in "clip 2 / bone 5" or "Vela/SubMesh/door"; empty: the file
    std::optional<std::uint64_t>
        offset;                ///< of the first byte concerned, from the file's first; none for a document
    std::uint32_t line = 0;    ///< of a document, from 1; 0: none
    std::uint32_t column = 0;  ///< in bytes, from 1; 0: none
    std::string text;          ///< one sentence; names in it are as they are in the file, any bytes
};

/// Kinds of files that can be checked.
enum class FileKind : unsigned char {
    Unknown,
    Model,      ///< .gim: the manifest, with its mesh, material group and music
    Mesh,       ///< .mesh
    Animation,  ///< .gis, with its side files and the .ags beside it; a side file on its own is Unknown
    Track,      ///< a track file
    Document,   ///< .mtg, .ags: any other document
};

/// What a file is: by its extension, in any case; where that tells nothing, by its first bytes.
VLGIM_API FileKind KindOfFile(std::string_view path, const unsigned char* data, std::size_t size);

/// How far a check is.
struct CheckProgress {
    std::string_view file;    ///< that is looked at now
    std::uint64_t bytes = 0;  ///< of all files read so far
};

struct CheckOptions {
    /// Prefix of the relative paths that a manifest names, as GimData::Load takes it.
    std::optional<std::string> base;

    /// Submeshes of a .mesh file that is checked without its manifest. None: the manifest beside it tells, if it
    /// names this mesh, or else the file itself where one count alone fits (vlMeshData::FittingSubmeshCounts).
    std::optional<std::uint32_t> submeshCount;

    /// Bytes that a check may hold, file images included: what would take more gives "memory-limit" and is not looked
    /// into further. Without a limit a check holds at most 160 times the bytes of the files that it reads, and 64 MiB.
    std::uint64_t memoryLimit = std::numeric_limits<std::uint64_t>::max();

    /// Called on the calling thread ahead of each file and between the stages of one, which take a millisecond for a
    /// few megabytes; false ends the check. May be empty.
    std::function<bool(const CheckProgress&)> progress;
};

struct CheckResult {
    std::vector<Finding>
        findings;  ///< file by file, in the order in which a file is read; then what a save changes
    std::vector<std::string> files;  ///< that were read, the named one first; those that belong to it behind
    std::uint64_t bytes = 0;         ///< of all of them
    bool isCancelled = false;        ///< the callback said so, and findings are what there was until then

    /// Of this severity.
    VLGIM_API std::size_t Count(Severity severity) const;
};

/// Reads a file and the files that belong to it, holds them against the rules of their formats, writes them in memory
/// and reads that again if it is not the same. Nothing is logged, what the callback logs included, and no file is
/// written. Different checks may run on different threads.
/// path  of the file; one that can't be read, or is of no known kind, gives a finding
/// A file gives at most 20 findings of one code; one more says how many there are beyond them.
/// Throws std::bad_alloc, and what the callback throws.
VLGIM_API CheckResult CheckFile(const char* path, const CheckOptions& options = {});

/// The same for a file image, which is needed during the call only. No other file is looked for: of a manifest only the
/// document is checked, of an animation with side files only the .gis itself.
/// data, size  of the whole file
/// path        names the file in findings, and with KindOfFile tells its kind
VLGIM_API CheckResult CheckBytes(const unsigned char* data, std::size_t size, const char* path,
                                 const CheckOptions& options = {});

}  // namespace vela::vlgim
