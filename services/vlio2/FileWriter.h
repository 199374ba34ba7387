#pragma once

#include <vlgim/Error.h>
#include <vlio2/Sink.h>

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace vlio {

/// Writes one file, or a set of files that belong together, so that each appears whole or not at all. Logs nothing.
///
/// Every file is written as a new sibling of its target: ".vlgim-" and a number of its own, in the target's
/// folder. Commit renames the siblings over their targets once all are written and checked; until then every
/// old file is whole, and without Commit nothing has happened. A process that is killed leaves such a sibling
/// behind, which is never in the way of a later save.
///
/// A link is followed; a dangling one creates what it names. A new file gets the permissions that fopen would
/// give it, a replaced one keeps its permissions and, where the system allows, its owner. Hard links to the old
/// file keep the old content. Devices, pipes, and files in a folder that takes no new file or does not let them
/// be replaced, are held in memory and written in place by Commit, before anything is renamed; for a file this is
/// the one case in which the old content is at risk, and Warnings says so. Opening a pipe waits for its reader,
/// and writing to one whose reader has gone raises SIGPIPE. There is no fsync.
class VLGIM_API FileWriter {
public:
    FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;
    /// Drops what was not committed.
    ~FileWriter();

    /// Adds a file to the set.
    /// sink  takes the bytes of the file, and keeps a failure for Commit to tell; it belongs to the FileWriter, and is
    ///       valid until the next Open or Commit. Each piece that is written is a system call.
    /// Returns no error, or NotCreated where path can't be replaced, with the system's errno value as its code: the
    /// folder is missing, a folder has this name, the file is write-protected (for root too), or the set has this
    /// file already (EEXIST). sink is then null, and the set as it was.
    [[nodiscard]] vela::vlgim::Error Open(const char* path, Sink*& sink);

    /// Puts all files in place, the first one last: it is the one that names the others, so that no reader finds
    /// it ahead of them. The set is empty then.
    /// Returns no error if all are in place, or NotWritten with the file and the system's reason. Where any file
    /// could not be written, nothing was renamed; where one of several could not be renamed, those behind it in the set
    /// are in place, it and those ahead are as they were.
    [[nodiscard]] vela::vlgim::Error Commit();

    /// The files that are written in place although they might be lost so, and why: one NotCreated for each Open that
    /// found such a file, with the reason for which no sibling could be made.
    const std::vector<vela::vlgim::Error>& Warnings() const noexcept { return m_warnings; }

private:
    struct VLGIM_HIDDEN File;

    bool IsInSet(const std::string& target);
    void CloseLast();

    std::vector<std::unique_ptr<File>> m_files;
    std::unordered_set<std::string> m_places;  // of the files, from the second on
    std::vector<vela::vlgim::Error> m_warnings;
};

}  // namespace vlio
