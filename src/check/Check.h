#pragma once

#include "Report.h"

#include <vlio2/FileStream.h>
#include <vlio2/XmlData.h>

#include <cstdint>
#include <optional>
#include <string>

// One check for each kind of file. Each takes the report of its file and the whole image.
namespace vela::vlgim::check {

/// submeshCount  none: as many as the file itself allows for, if that is one number
void CheckMesh(Session& session, FileReport& report, const vlio::Bytes& image,
               std::optional<std::uint32_t> submeshCount);

/// A mesh without its manifest: the options, the manifest beside it or the file itself tell the submesh count.
void CheckMeshAlone(Session& session, FileReport& report, const vlio::Bytes& image, bool withManifest);

/// The manifest of a model, and with its files also those.
void CheckManifest(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles);

/// An animation, and with its files also the side files and the document beside it.
void CheckAnimation(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles);

void CheckTrack(Session& session, FileReport& report, const vlio::Bytes& image);

/// Whether the document could be read into `document`; else a finding says why not. A document that is not edited is
/// saved as the bytes that were read, so nothing is written.
bool CheckDocument(Session& session, FileReport& report, const vlio::Bytes& image, vlio::XmlData& document);

/// Reads a file that belongs to another, and begins its report. Null, and a finding says why, where it can't be read;
/// where it is missing only if `by` and `where` tell who names it: an optional file gives them null.
FileReport* ReadFile(Session& session, const std::string& path, vlio::Bytes& image, FileReport* by = nullptr,
                     const Where& where = {});

/// Says that a file does not exist, and if there is one whose name differs in upper and lower case alone, which.
void ReportMissing(FileReport& by, const Where& where, const std::string& path);

}  // namespace vela::vlgim::check
