#include <vlgim/GisData.h>

#include "AnimFile.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>
#include <vlio2/Path.h>

#include <limits>
#include <string>

namespace vela::vlgim {

namespace {

// Reads the .gis file, whose image is gone when this returns.
Error LoadAnimation(vlAnimData& anim, const std::string& path, const LoadOptions& options,
                    std::vector<Error>* warnings)
{
    vlio::Bytes bytes;
    Error error = vlio::ReadFile(path.c_str(), bytes);
    if (!error && bytes.size() > std::numeric_limits<std::uint32_t>::max())
        error = io::MakeError(ErrorKind::Unreadable, "the file has 4 GiB or more", path);
    return error ? error : Load(anim, bytes, path, options, warnings);
}

}  // namespace

Error Load(GisData& model, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    // Copies: the arguments may lie in what is replaced here.
    const std::string agsPath = anim::AgsPath(path);
    const std::string fullPath =
        (vlio::IsRelativePath(path) ? options.base.value_or("") : std::string()) + path;
    model.m_anim = {};
    model.m_agsXml.Clear();

    if (Error error = LoadAnimation(model.m_anim, fullPath, options, warnings))
        return error;
    if (Error missing = model.m_agsXml.LoadFile(agsPath.c_str()))
        io::Append(warnings, {std::move(missing)});
    return {};
}

int GisData::Load(const char* path, const char* basePath)
{
    const LoadOptions options{basePath ? std::optional<std::string>(basePath) : std::nullopt, {}};
    std::vector<Error> warnings;
    const Error error = vlgim::Load(*this, path, options, &warnings);
    // A file that can't be read leaves nothing of the animation, one that is refused its path.
    if (error && m_anim.m_path.empty()) {
        LogError("Failed to read file : %s\n", error.file.c_str());
        return 1;
    }
    if (!anim::LogRead(error, m_anim, warnings)) {
        LogError("Bad format in skeletal animation file %s!", m_anim.m_path.c_str());
        return 1;
    }
    for (const Error& warning : warnings)
        if (warning.kind != ErrorKind::Warning)
            LogWarning("Failed to read ags data!\n");
    return 0;
}

Error Save(GisData& model, const char* path, std::vector<Error>* warnings)
{
    return io::SaveSet(warnings, [&](vlio::FileWriter& files) {
        Error error;
        // The .gis is opened first, so it is put in place last: it names the side files.
        if (model.m_anim.m_boneCount > 0) {
            const std::string gisPath = vlio::ReplaceFileExtension(path, ".gis");
            error = anim::AddTo(files, model.m_anim, gisPath.c_str(), warnings);
        } else if (!model.m_anim.m_clips.empty()) {
            io::Append(warnings,
                       {io::MakeError(ErrorKind::Warning, "has clips but no skeleton, so it is not saved",
                                      model.m_anim.m_path)});
        }
        if (!error && !model.m_agsXml.IsEmpty())
            error = model.m_agsXml.AddTo(files, anim::AgsPath(path).c_str());
        return error;
    });
}

int GisData::Save(const char* path)
{
    std::vector<Error> warnings;
    const Error error = vlgim::Save(*this, path, &warnings);
    vlio::LogWarnings(warnings, "skeletal animation");
    const bool isOfDocument = error.file == anim::AgsPath(path);
    return isOfDocument ? vlio::LogFailure(error, nullptr) : anim::LogSave(error);
}

}  // namespace vela::vlgim
