#include "SidePaths.h"

#include "AnimVersions.h"

#include <io/Errors.h>

#include <algorithm>

namespace vela::vlgim::anim {

bool HasSideFiles(const vlAnimData& anim)
{
    return anim.m_async != 0 && anim.m_version >= kSideFiles;
}

Error FindSideFolder(const std::string& path, std::string& folder)
{
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos)
        return io::MakeError(ErrorKind::Reference,
                             "the path has no dot, so that no folder of side files belongs to it", path);
    folder = path.substr(0, dot) + "_gis";
    return {};
}

Error FindSideFile(const std::string& folder, const vlClipData& clip, ErrorKind kind, std::string& path)
{
    const std::string name = "/" + std::string(clip.m_name.View());
    path = folder + name + ".gis";
    std::string steps = name + "/";
    std::replace(steps.begin(), steps.end(), '\\', '/');
    if (steps.find("/../") != std::string::npos)
        return io::MakeError(kind, "its name leads out of its folder", path);
    return {};
}

}  // namespace vela::vlgim::anim
