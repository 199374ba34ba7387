#pragma once

#include <vlgim/Error.h>
#include <vlio2/Sink.h>

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace vlio {

/// Writes one file, or a set of files that belong together, so that each file appears as a whole or not at all. Nothing
/// is logged.
///
/// Each file is first written to a new file in the folder of its target. The name of this sibling is ".vlgim-" and a
/// number. Once all siblings are written and checked, Commit renames them to their targets. Until then every old file
/// is unchanged; without Commit nothing changes. A process that is killed leaves its siblings behind; they never
/// disturb a later save.
///
/// Links are followed; a dangling link creates the file that it names. A new file gets the permissions that fopen would
/// give it. A replaced file keeps its permissions, its access control list, its extended attributes of the kind "user"
/// and, if the system allows it, its owner. Nobody who may not read the old file can read its sibling. Hard links to
/// the old file keep the old content.
///
/// Savers of a set in one folder take turns in Commit, so that files of two saves are never mixed. This holds for all
/// threads and processes that use this class, on file systems that can lock a folder.
///
/// Some targets are written in place: devices, pipes, and files whose folder takes no new file, does not let them be
/// replaced, or does not let a new file have their access control list or attributes. Their content is kept in memory,
/// and Commit writes it before it renames anything. Only in this case can the old content of a file be lost, and
/// Warnings names such files. Opening a pipe waits for its reader, and writing to a pipe without a reader raises
/// SIGPIPE. Nothing is synchronised to the disk: there is no fsync.
class VLGIM_API FileWriter {
public:
    FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;
    /// Drops all files that were not committed.
    ~FileWriter();

    /// Adds a file to the set.
    /// path  path of the target
    /// sink  receives where to write the content; null after an error. The sink belongs to the FileWriter and is valid
    ///       until the next Open or Commit. It keeps its first failure for Commit. Each Write is a system call, so
    ///       write large pieces.
    /// Returns success. Returns an error of kind NotCreated, with the errno value of the system as its code, if `path`
    /// can't be replaced: the folder is missing, a folder has this name, the file is write-protected (also for root),
    /// or the set already has this file (EEXIST). The set is then unchanged.
    [[nodiscard]] vela::vlgim::Error Open(const char* path, Sink*& sink);

    /// Puts all files in place, in reverse order: the first file of the set is the last, because it names the others,
    /// and no reader should find it before they are there. The set is empty afterwards.
    /// Returns success if all files are in place. Returns an error of kind NotWritten with the file and the reason of
    /// the system otherwise. If any file could not be written, nothing was renamed, but files that are written in place
    /// may have new or incomplete content. If a file could not be renamed, the files after it in the set are in place;
    /// it and the files before it are unchanged, except for those that are written in place.
    [[nodiscard]] vela::vlgim::Error Commit();

    /// The regular files that are written in place, and whose old content can therefore be lost: one error of kind
    /// NotCreated for each, with the reason why no sibling could be created.
    const std::vector<vela::vlgim::Error>& Warnings() const noexcept { return m_warnings; }

private:
    struct VLGIM_HIDDEN File;

    std::vector<std::unique_ptr<File>> m_files;
    std::unordered_set<std::string> m_places;  // where the files are, from the second file on
    std::vector<vela::vlgim::Error> m_warnings;
};

}  // namespace vlio
