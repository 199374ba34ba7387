#pragma once

#include <vlgim/Error.h>
#include <vlgim/vlAnimData.h>

#include <cstddef>
#include <map>
#include <string>

// How the side files of an animation are named, and which clips share one: for loads, saves and checks alike.
namespace vela::vlgim::anim {

/// Whether the clips of an animation have side files. Below version 6.1 no record names them.
bool HasSideFiles(const vlAnimData& anim);

/// Gives the folder of the side files of the animation at `path`. An error for a path without a dot.
Error FindSideFolder(const std::string& path, std::string& folder);

/// Gives the path of a clip's side file. An error of this kind if the clip's name has a component "..", by either
/// slash, and so leads out of the folder.
Error FindSideFile(const std::string& folder, const vlClipData& clip, ErrorKind kind, std::string& path);

/// Names of clips, to find those that are named alike, and so have one side file.
class ClipNames {
public:
    /// The number of the first clip of this name: `number`, if there was none before.
    std::size_t Add(const vlClipData& clip, std::size_t number)
    {
        return m_first.emplace(clip.m_name.View(), number).first->second;
    }

private:
    std::map<std::string, std::size_t, std::less<>> m_first;
};

}  // namespace vela::vlgim::anim
