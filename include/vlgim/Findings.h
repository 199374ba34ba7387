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

// Findings: what is wrong with a file, what is likely to cause trouble, and what a save would change. They are values.
namespace vela::vlgim {

enum class Severity : unsigned char {
    Note,     ///< worth knowing; a save changes how something is stored and loses nothing
    Warning,  ///< the formats allow it, but it causes trouble, or a save loses it
    Error,    ///< the file, or something in it, can't be used as it is
};

/// One kind of finding. Names are stable: the name of a retired code is not used again.
struct FindingCode {
    const char* name;      ///< such as "index-range"
    Severity severity;     ///< the severity of all its findings
    bool isDrop;           ///< a save drops the thing that was found
    const char* meaning;   ///< what it means, in one sentence for people
    const char* whatToDo;  ///< what to do about it, in one sentence
};

/// Returns all codes, in the order of docs/codes.md, which is generated from them.
VLGIM_API std::span<const FindingCode> FindingCodes();

/// Returns the code with this name; null if there is none.
VLGIM_API const FindingCode* FindFindingCode(std::string_view name);

/// One finding. Repeats within a block are reported once: the finding gives the place of the first, and its text the
/// number of them.
struct Finding {
    const FindingCode* code = nullptr;  ///< an entry of FindingCodes(); never null in a result
    std::string file;                   ///< path of the file, as given or as another file names it
    std::string block;                  ///< place in the file, as in "clip 2 / bone 5" or "Vela/SubMesh/door"
    std::optional<std::uint64_t> offset;  ///< first byte concerned; none for a document
    std::uint32_t line = 0;               ///< line of a document, from 1; 0: none
    std::uint32_t column = 0;             ///< column in bytes, from 1; 0: none
    std::string text;  ///< one sentence; names in it are copied from the file and may contain any bytes
};

/// The kinds of files that a check knows.
enum class FileKind : unsigned char {
    Unknown,
    Model,      ///< .gim: the manifest, with its mesh, material group and music
    Mesh,       ///< .mesh
    Animation,  ///< .gis, with its side files and .ags; a side file on its own is Unknown
    Track,      ///< a track file
    Document,   ///< .mtg, .ags, and any other document
};

/// Returns the kind of a file. The extension decides, in upper or lower case: .gim, .mesh, .mtg, .ags and .gis. A .gis
/// file in a folder whose name ends with "_gis" is a side file, and counts as an Animation only if it begins with the
/// magic of one. Without a known extension the first bytes decide; text that begins with "<?xml" or "<Vela" is a
/// Document.
/// path        names the file; nothing is opened
/// data, size  the file image, or at least its first bytes
VLGIM_API FileKind KindOfFile(std::string_view path, const unsigned char* data, std::size_t size);

/// The progress of a check.
struct CheckProgress {
    std::string_view file;    ///< the file that is being checked
    std::uint64_t bytes = 0;  ///< bytes of all files read so far
};

struct CheckOptions {
    /// Prefix of relative paths in a manifest, as for GimData::Load.
    std::optional<std::string> base;

    /// Number of submeshes of a .mesh file that is checked without its manifest. None: the manifest next to the file
    /// decides if it names this mesh. Otherwise the file itself decides if exactly one count fits
    /// (vlMeshData::FittingSubmeshCounts).
    std::optional<std::uint32_t> submeshCount;

    /// Bytes of memory that a check may use, file images included. Whatever would need more gives the finding
    /// "memory-limit" and is not checked any further. Without a limit a check uses at most 160 times the bytes of the
    /// files that it reads, plus 64 MiB.
    std::uint64_t memoryLimit = std::numeric_limits<std::uint64_t>::max();

    /// Called on the calling thread before each file is checked, and between the stages of a check, which take about a
    /// millisecond for a few megabytes. If it returns false, the check ends. May be empty.
    std::function<bool(const CheckProgress&)> progress;
};

struct CheckResult {
    std::vector<Finding> findings;   ///< file by file; faults first, then what a save changes
    std::vector<std::string> files;  ///< files that were read, the named one first
    std::uint64_t bytes = 0;         ///< bytes of all these files
    bool isCancelled = false;        ///< the callback ended the check; findings has what was found until then

    /// Returns the number of findings with this severity.
    VLGIM_API std::size_t Count(Severity severity) const;
};

/// Checks a file and the files that belong to it. Each file is read, tested against the rules of its format and written
/// to memory; if the written bytes differ, they are read again and compared. Nothing is logged, including what the
/// callback logs, and no file is written. Different checks may run on different threads.
/// path  path of the file; a file that can't be read or is of no known kind gives a finding
/// Returns the findings: at most 20 of one code for each file, plus one that says how many more there are.
/// Throws std::bad_alloc, and whatever the callback throws.
[[nodiscard]] VLGIM_API CheckResult CheckFile(const char* path, const CheckOptions& options = {});

/// Checks a file image in the same way. No other file is opened: for a manifest only the document is checked, for an
/// animation with side files only the .gis file itself.
/// data, size  the whole file; copied, and used during the call only
/// path        names the file in findings, and decides its kind as for KindOfFile
[[nodiscard]] VLGIM_API CheckResult CheckBytes(const unsigned char* data, std::size_t size, const char* path,
                                               const CheckOptions& options = {});

}  // namespace vela::vlgim
