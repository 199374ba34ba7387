#include "SidePaths.h"

#include <cstring>

namespace vela::vlgim::anim {

std::optional<std::string> SideFolder(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos)
        return std::nullopt;
    return path.substr(0, dot) + "_gis";
}

std::string ClipName(const vlClipData& clip)
{
    return {clip.m_name, strnlen(clip.m_name, sizeof clip.m_name)};
}

std::string SidePath(const std::string& folder, const vlClipData& clip)
{
    return folder + "/" + ClipName(clip) + ".gis";
}

bool LeavesFolder(const std::string& name)
{
    std::size_t start = 0;
    while (true) {
        const std::size_t slash = name.find_first_of("/\\", start);
        if (name.substr(start, slash - start) == "..")
            return true;
        if (slash == std::string::npos)
            return false;
        start = slash + 1;
    }
}

}  // namespace vela::vlgim::anim
