#pragma once

#include <platform/Files.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vela::vlgim::tools {

/// One file, however it is named.
using platform::FileId;

struct HashFileId {
    std::size_t operator()(const FileId& id) const
    {
        return std::hash<std::uint64_t>()(id.number) ^ (std::hash<std::uint64_t>()(id.volume) << 1U);
    }
};

/// None: there is no such file.
inline std::optional<FileId> IdOf(const std::string& path)
{
    platform::FileStatus status;
    if (platform::GetStatus(path.c_str(), status) != 0)
        return std::nullopt;
    return status.id;
}

}  // namespace vela::vlgim::tools
