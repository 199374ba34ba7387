#pragma once

#include "Report.h"

#include <vlio2/XmlData.h>

#include <cstdint>
#include <optional>
#include <string>

// One check for each kind of file.
namespace vela::vlgim::check {

/// submeshCount  none: as many as the file itself allows for, if that is one number
void CheckMesh(const Input& input, std::optional<std::uint32_t> submeshCount);

/// A mesh without its manifest: the options, the manifest beside it or the file itself tell the submesh count.
void CheckMeshAlone(const Input& input, bool withManifest);

/// The manifest of a model, and with its files also those.
void CheckManifest(const Input& input, bool withFiles);

/// An animation, and with its files also the side files and the document beside it.
void CheckAnimation(const Input& input, bool withFiles);

void CheckTrack(const Input& input);

/// Whether the document could be read into `document`; else a finding says why not. A document that is not edited is
/// saved as the bytes that were read, so nothing is written.
bool CheckDocument(const Input& input, vlio::XmlData& document);

/// Reads a file that belongs to another, and begins its report. None, and a finding says why, where it can't be read;
/// where it is missing only if `by` and `where` tell who names it: an optional file gives them null.
std::optional<Input> ReadFile(Session& session, const std::string& path, FileReport* by = nullptr,
                              const Where& where = {});

/// Says that a file does not exist, and if there is one whose name differs in upper and lower case alone, which.
void ReportMissing(FileReport& by, const Where& where, const std::string& path);

}  // namespace vela::vlgim::check
