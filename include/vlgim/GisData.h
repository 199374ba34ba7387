#pragma once

#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Options.h>
#include <vlgim/vlAnimData.h>

#include <vlio2/XmlData.h>

#include <vector>

namespace vela::vlgim {

/// One skeleton with its animations on disk: the skeletal animation file (.gis) with its side files, and the
/// document beside it (.ags), which is kept whole and never looked into. GimData::GetSkeletonName gives the
/// name of a model's. An object belongs to one thread at a time.
class VLGIM_API GisData {
public:
    vlAnimData m_anim;
    vlio::XmlData m_agsXml;  ///< empty where there was no document

    GisData() = default;
    GisData(GisData&&) noexcept = default;
    GisData& operator=(GisData&&) noexcept = default;

    /// Loads a skeleton in place of what the object held.
    /// path      of the .gis file
    /// basePath  null, or the prefix of a relative path, joined to it without a separator. It holds for the
    ///           .gis file and its side files; the .ags file lies beside `path` as it is given.
    /// Returns 0: the .gis file was read. A missing or faulty .ags file gives a LogWarning and does not
    /// change that. 1: it could not be read, or has 4 GiB or more; LogError has said why. Of the file only
    /// m_path and m_version are left then (vlAnimData::ReadAnimationFile), and m_agsXml is empty. Throws
    /// std::bad_alloc.
    int Load(const char* path, const char* basePath = nullptr);

    /// Saves the .gis file, if there is a skeleton, and the .ags document, if it is not empty, under the stem
    /// of `path`, whatever extension that has. Side files go beside m_anim.m_path, which is where Load found
    /// them; change that member to write them elsewhere. All files are written and checked before the first
    /// is replaced, the .gis last.
    /// Clips without a skeleton, as in every file below version 6.0, stay where they are, with a LogWarning;
    /// vlAnimData::WriteAnimationFile writes them.
    /// Returns 0; else nothing was replaced, or not everything, and LogError has said why: what
    /// vlAnimData::WriteAnimationFile returns, or 1 for the document or a file that could not be put in
    /// place.
    int Save(const char* path);
};

/// Loads a skeleton as GisData::Load does, in place of what the object held, and logs nothing.
/// warnings  receives an error for a missing or faulty .ags file, and what the animation has to say; may be null
/// Returns success, or why not; then the object holds what GisData::Load leaves after a failure. Throws std::bad_alloc.
VLGIM_API Error Load(GisData& model, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Saves a skeleton as GisData::Save does, and logs nothing. On an error nothing was replaced, or not everything.
/// warnings  receives what a user should know of a save that went well, such as clips that were not saved for lack of
///           a skeleton; may be null
VLGIM_API Error Save(GisData& model, const char* path, std::vector<Error>* warnings = nullptr);

}  // namespace vela::vlgim
