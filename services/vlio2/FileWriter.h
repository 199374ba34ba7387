#pragma once

#include <vlgim/Export.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace vlio {

/// Writes one file, or a set of files that belong together, so that each appears whole or not at all.
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
/// the one case in which the old content is at risk, and LogWarning says so. Opening a pipe waits for its reader,
/// and writing to one whose reader has gone raises SIGPIPE. There is no fsync.
class VLGIM_API FileWriter {
public:
    FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;
    /// Drops what was not committed.
    ~FileWriter();

    /// Adds a file to the set.
    /// Returns a stream at position 0, open for binary writing and seeking, which the FileWriter owns and closes
    /// at the next Open, at Commit or at its own end. It has no buffer: each piece that is written is a system
    /// call, so pieces should be large, or come through setvbuf. Null where path can't be replaced, with the
    /// reason in OpenError: the folder is missing, a folder has this name, the file is write-protected (for
    /// root too), or the set has this file already (EEXIST, which is logged).
    std::FILE* Open(const char* path);

    /// The system's reason (an errno value) for the last null of Open.
    int OpenError() const { return m_openError; }

    /// Puts all files in place, the first one last: it is the one that names the others, so that no reader finds
    /// it ahead of them. True: all are in place. False: LogError "failed to write %s: %s" has named the file and
    /// the system's reason. Where any file could not be written, nothing was renamed; where one of several could
    /// not be renamed, those behind it in the set are in place, it and those ahead are as they were.
    bool Commit();

private:
    struct File;

    bool IsInSet(const std::string& target);
    void CloseStream();

    std::vector<std::unique_ptr<File>> m_files;
    std::unordered_set<std::string> m_places;  // of the files, from the second on
    std::FILE* m_stream = nullptr;             // of the last file
    int m_openError = 0;
};

/// The system's text for an errno value.
VLGIM_API std::string ErrorText(int error);

}  // namespace vlio
