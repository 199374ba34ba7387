#pragma once

#include <vlgim/Export.h>

#include <string>

/// Paths are NUL-terminated byte strings, UTF-8 by custom. Both slashes separate components.
namespace vlio {

/// path with its extension, dot included, replaced by extension, which is appended unchanged. Only a dot in
/// the last component starts an extension; without one, extension is appended.
VLGIM_API std::string ReplaceFileExtension(const char* path, const char* extension);

/// Normal form: every '\\' is a '/', repeated slashes (but for a leading pair) and "." components are gone.
/// ".." components stay, since a link could lead elsewhere.
VLGIM_API std::string FormatPath(const char* path);

/// False for a leading slash of either kind and for a drive letter with its colon.
VLGIM_API bool IsRelativePath(const char* path);

}  // namespace vlio
