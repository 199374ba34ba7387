#pragma once

#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Options.h>
#include <vlgim/vlAnimData.h>

#include <vlio2/XmlData.h>

#include <vector>

namespace vela::vlgim {

/// One skeleton and its animations on disk: the animation file (.gis) with its side files, and the document next to it
/// (.ags). The document is kept as a whole and not interpreted. GimData::GetSkeletonName gives the file name for a
/// model. An object belongs to one thread at a time, together with copies of m_anim.
class VLGIM_API GisData {
public:
    vlAnimData m_anim;
    vlio::XmlData m_agsXml;  ///< empty if there was none

    GisData() = default;
    GisData(GisData&&) noexcept = default;
    GisData& operator=(GisData&&) noexcept = default;

    /// Loads a skeleton and replaces everything that the object held.
    /// path      path of the .gis file. The .ags file is `path` with the extension .ags, without basePath.
    /// basePath  null, or the prefix of a relative `path`. No separator is added. It applies to the .gis file and its
    ///           side files.
    /// Returns 0 if the .gis file was read. A missing or faulty .ags file gives a LogWarning and does not change the
    /// result. Returns 1 otherwise; LogError gives the reason. The object is then empty, but after a file that was read
    /// and refused m_anim has its m_path and m_version (vlAnimData::ReadAnimationFile). A file of 4 GiB or more is not
    /// read. Throws std::bad_alloc.
    [[nodiscard]] int Load(const char* path, const char* basePath = nullptr);

    /// Saves the .gis file if m_anim has bones, and the .ags document if it is not empty. All files are written and
    /// checked before the first is replaced. The .gis file is replaced last.
    /// path  the files are written to `path` with the extensions .gis and .ags, whatever extension `path` has. Side
    ///       files are written next to m_anim.m_path, where Load found them. To write them elsewhere, change
    ///       m_anim.m_path first.
    /// Clips without a skeleton, as in every file below version 6.0, are not saved and give a LogWarning; use
    /// vlAnimData::WriteAnimationFile for them. Writing changes the keys in memory as vlAnimData::WriteAnimationFile
    /// does, also if the save then fails.
    /// Returns 0 if everything was saved. Otherwise no file has been replaced, or only some of them (see
    /// vlio::FileWriter), and LogError gives the reason. The result is then what vlAnimData::WriteAnimationFile returns
    /// for the error; it is 1 for an error of the document, and if a file could not be put in place.
    [[nodiscard]] int Save(const char* path);
};

/// Loads a skeleton as GisData::Load does. Nothing is logged.
/// warnings  receives an error for a missing or faulty .ags file, and the warnings of the animation; entries are
///           appended; may be null
/// Returns success, or an error; the object then holds what GisData::Load leaves. Throws std::bad_alloc.
VLGIM_API Error Load(GisData& model, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Saves a skeleton as GisData::Save does, and changes the keys in memory as that does. Nothing is logged.
/// warnings  receives what the caller should know about the save, such as clips that were not saved for lack of a
///           skeleton; entries are appended; may be null
/// Returns success, or an error; no file has been replaced then, or only some of them (see vlio::FileWriter).
VLGIM_API Error Save(GisData& model, const char* path, std::vector<Error>* warnings = nullptr);

}  // namespace vela::vlgim
