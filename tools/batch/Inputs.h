#pragma once

#include "batch/Progress.h"

#include <vlgim/Findings.h>

#include <string>
#include <vector>

namespace vela::vlgim::tools {

struct Input {
    std::string path;
    std::string trouble;  ///< why the folder of this path can't be read; empty: it is a file
    FileKind kind = FileKind::Unknown;
};

/// The files that a command goes through, in ascending order of the bytes of their paths, each path once.
struct Inputs {
    std::vector<Input> leaders;      ///< models, animations, tracks, and whatever is of no known kind
    std::vector<Input> followers;    ///< meshes, documents, side files of clips: they belong to other files
    std::vector<std::string> roots;  ///< folders that were given, and those that hold a file that was given
};

/// Finds the files of models. Below a folder those with an extension of theirs, and tracks, which have none; what begins
/// with a dot is passed over, links to folders are not followed, those to files are. A side file that has its animation
/// beside its folder is passed over, too: it is read with that.
/// paths     files, which are taken whatever they are and whether they exist; folders; "-": a list of both on stdin, one
///           a line
/// progress  shows now and then how many were found, and is erased at the end
Inputs FindInputs(const std::vector<std::string>& paths, Progress& progress);

}  // namespace vela::vlgim::tools
