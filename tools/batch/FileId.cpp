#include "batch/FileId.h"

#include <sys/stat.h>

namespace vela::vlgim::tools {

std::optional<FileId> IdOf(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

}  // namespace vela::vlgim::tools
