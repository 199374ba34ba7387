#pragma once

#include "Places.h"
#include "Report.h"
#include "SavedImage.h"
#include "Values.h"

#include <io/BlockReader.h>
#include <vlgim/vlTrackData.h>
#include <vlio2/FileStream.h>
#include <vlio2/XmlData.h>

#include <functional>
#include <optional>
#include <span>
#include <string>

// One check for each kind of file. Each takes the report of its file and the whole image, which it reads, holds
// against the rules, writes in memory, and reads again.
namespace vela::vlgim::check {

void CheckMesh(Session& session, FileReport& report, const vlio::Bytes& image, std::uint32_t submeshCount);

/// A mesh whose submeshes nobody can count: what is damaged whatever their number, or that it was not read.
void CheckMeshUncounted(const Session& session, FileReport& report, const vlio::Bytes& image,
                        const std::string& why);

void CheckAnimation(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles);
void CheckTrack(Session& session, FileReport& report, const vlio::Bytes& image);

/// A mesh without its manifest: the options, the manifest beside it or the file itself tell the submesh count.
void CheckMeshAlone(Session& session, FileReport& report, const vlio::Bytes& image, bool withManifest);

/// The manifest of a model, and with its files also those.
void CheckManifest(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles);

/// Whether the document could be read into `document`; else a finding says why not. A document that is not edited is
/// saved as the bytes that were read, so nothing is written.
bool CheckDocument(Session& session, FileReport& report, const vlio::Bytes& image, vlio::XmlData& document);

/// Reads a file that belongs to another, and begins its report. Null, and a finding says why, where it can't be read;
/// where it is missing only if `by` and `where` tell who names it: an optional file gives them null.
FileReport* ReadFile(Session& session, const std::string& path, vlio::Bytes& image, FileReport* by = nullptr,
                     const Where& where = {});

/// Says that a file does not exist, and if there is one whose name differs in upper and lower case alone, which.
void ReportMissing(FileReport& by, const Where& where, const std::string& path);

/// Says why and where a reader has refused a file of `size` bytes.
void ReportRefusal(FileReport& report, const io::BlockReader& in, const Places& places, std::uint64_t size);

/// A track whose block is places[index], with its channels behind it.
void CheckTrackBlock(FileReport& report, const Places& places, std::size_t index, const vlTrackData& track);

/// Names of bones, 32 bytes each, from `offset` of the file on: none twice, and whether a reader made them lower-case.
void CheckBoneNames(FileReport& report, const std::string& block, const vlio::Bytes& image,
                    std::uint64_t offset, const char (*names)[32], std::uint32_t count);

/// Names that a reader has changed.
Tally ChangedNames(const vlio::Bytes& image, std::uint64_t offset, const char (*names)[32],
                   std::uint32_t count);

/// A name that is NUL-terminated or fills its field.
std::string NameOf(const char (&name)[32]);

using ByteSpan = std::span<const unsigned char>;

/// Holds what a save would write against the file and, if it is another, reads it again.
/// held            bytes in memory beside the image that a save would write
/// read(in)        reads a whole image of the kind
/// visit(i, o, n)  is called for each block, places[i], whose bytes are n in place of o
/// False: it could not be read again or passed the memory limit, and a finding says so.
bool CheckSaved(Session& session, FileReport& report, const vlio::Bytes& image, const Places& places,
                SavedImage& saved, std::uint64_t held, const std::function<void(io::BlockReader&)>& read,
                const std::function<void(std::size_t, ByteSpan, ByteSpan)>& visit);

/// Says what becomes of the bytes of a track, its channels aside, that a save writes otherwise.
void ReportChangedTrack(FileReport& report, const Where& where, const unsigned char* old,
                        const unsigned char* now);

/// Says what becomes of the keys of a channel that a save writes with other bytes; old and now are its first bytes.
void ReportChangedKeys(FileReport& report, const Where& where, const unsigned char* old,
                       const unsigned char* now);

/// Bytes that the reader had no block for, and those that it had several for. places are of the whole file; `known` are
/// offsets of unread blocks that were told of already.
void ReportUnread(FileReport& report, const Places& places, std::uint64_t size,
                  const std::vector<std::uint32_t>& known = {});

}  // namespace vela::vlgim::check
