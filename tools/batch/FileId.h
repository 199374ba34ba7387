#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace vela::vlgim::tools {

/// One file, however it is named.
struct FileId {
    dev_t device;
    ino_t inode;

    bool operator==(const FileId&) const = default;
};

struct HashFileId {
    std::size_t operator()(const FileId& id) const
    {
        return std::hash<std::uint64_t>()(id.inode) ^ (std::hash<std::uint64_t>()(id.device) << 1U);
    }
};

/// None: there is no such file.
std::optional<FileId> IdOf(const std::string& path);

}  // namespace vela::vlgim::tools
