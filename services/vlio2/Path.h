#pragma once

#include <vlgim/Export.h>

#include <string>

/// Paths are NUL-terminated byte strings, usually UTF-8. Both slashes separate components.
namespace vlio {

/// Returns `path` with its extension, including the dot, replaced by `extension`. Only a dot in the last component
/// starts an extension; if there is none, `extension` is appended.
/// extension  used unchanged, such as ".mesh" or "_music.ags"
VLGIM_API std::string ReplaceFileExtension(const char* path, const char* extension);

/// Returns the normal form of a path: each '\\' becomes a '/'; repeated slashes, except for two at the start, and "."
/// components are removed. ".." components are kept, because a link could lead elsewhere.
VLGIM_API std::string FormatPath(const char* path);

/// False if the path starts with a slash of either kind, or with a drive letter and a colon.
VLGIM_API bool IsRelativePath(const char* path);

}  // namespace vlio
