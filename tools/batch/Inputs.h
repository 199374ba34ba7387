#pragma once

#include <vlgim/Findings.h>

#include <functional>
#include <string>
#include <vector>

namespace vela::vlgim::tools {

/// What a file is to a command that goes through many: a leader is checked with the files that belong to it, a
/// follower belongs to another file, which may be among the inputs or not.
enum class Role : unsigned char {
    Leader,    ///< a model, an animation, a track, and whatever is of no known kind
    Follower,  ///< a mesh, a document, a clip's side file
};

struct Input {
    std::string path;
    std::string trouble;  ///< why the folder of this path can't be read; empty: it is a file
    FileKind kind = FileKind::Unknown;
    Role role = Role::Leader;
};

struct Inputs {
    std::vector<Input> files;        ///< in ascending order of the bytes of their paths, each path once
    std::vector<std::string> roots;  ///< folders that were given, and those that hold a file that was given
};

/// Finds the files of models. Below a folder those with an extension of theirs, and tracks, which have none; what begins
/// with a dot is passed over, links to folders are not followed, those to files are. A side file that has its animation
/// beside its folder is passed over, too: it is read with that.
/// paths   files, which are taken whatever they are and whether they exist; folders; "-": a list of both on stdin, one a
///         line
/// found   called now and then with the number of files so far; may be empty
Inputs FindInputs(const std::vector<std::string>& paths, const std::function<void(std::size_t)>& found);

}  // namespace vela::vlgim::tools
