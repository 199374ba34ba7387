#include "SidePaths.h"

namespace vela::vlgim::anim {

std::optional<std::string> SideFolder(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos)
        return std::nullopt;
    return path.substr(0, dot) + "_gis";
}

std::string SidePath(const std::string& folder, const vlClipData& clip)
{
    return std::string(folder).append("/").append(clip.m_name.View()).append(".gis");
}

bool LeavesFolder(std::string_view name)
{
    std::size_t start = 0;
    while (true) {
        const std::size_t slash = name.find_first_of("/\\", start);
        if (name.substr(start, slash - start) == "..")
            return true;
        if (slash == std::string_view::npos)
            return false;
        start = slash + 1;
    }
}

}  // namespace vela::vlgim::anim
