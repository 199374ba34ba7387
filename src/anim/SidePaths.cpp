#include "AnimFile.h"
#include "AnimVersions.h"

#include <io/Errors.h>
#include <vlio2/Path.h>

#include <algorithm>

// How the files beside an animation are named, for loads, saves and checks alike.
namespace vela::vlgim::anim {

bool HasSideFiles(const vlAnimData& anim)
{
    return anim.m_async != 0 && anim.m_version >= kSideFiles;
}

std::string AgsPath(const char* path)
{
    return vlio::ReplaceFileExtension(path, ".ags");
}

Error FindSideFolder(const std::string& path, std::string& folder)
{
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos)
        return io::MakeError(ErrorKind::Reference,
                             "the path has no dot, so there is no folder of side files for it", path);
    folder = path.substr(0, dot) + "_gis";
    return {};
}

Error FindSideFile(const std::string& folder, const vlClipData& clip, ErrorKind kind, std::string& path)
{
    const std::string name = std::string("/").append(clip.m_name.View());
    path = folder + name + ".gis";
    std::string steps = name + "/";
    std::replace(steps.begin(), steps.end(), '\\', '/');
    if (steps.find("/../") != std::string::npos)
        return io::MakeError(kind, "its name leads out of its folder", path);
    return {};
}

Error FindSideFiles(const vlAnimData& anim, std::vector<std::string>& paths)
{
    std::string folder;
    if (Error why = anim.m_async != 0 ? FindSideFolder(anim.m_path, folder) : Error())
        return why;
    ClipNames names;
    return io::FirstInside(io::Block::Clip, HasSideFiles(anim) ? anim.m_clips.size() : 0, [&](std::size_t i) {
        const vlClipData& clip = *anim.m_clips[i];
        if (names.Add(clip, i) != i)
            return io::MakeError(ErrorKind::Reference,
                                 "another clip has the same name, " + std::string(clip.m_name.View()));
        return FindSideFile(folder, clip, ErrorKind::NotCreated, paths.emplace_back());
    });
}

}  // namespace vela::vlgim::anim
