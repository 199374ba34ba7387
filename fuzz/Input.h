#pragma once

#include <vlio2/FileStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/mman.h>

// What goes into a target and comes out of it: the files of one input, files in memory, and a folder for those that
// have to lie on a disk.
namespace vela::vlgim::fuzz {

using Bytes = std::vector<unsigned char>;

/// Stands between the files of an input. Text that nothing else holds, and no length in front: an insertion inside
/// of one file leaves the others whole.
inline constexpr std::string_view kSeparator = "--8<--";

/// The files of an input, at least one.
inline std::vector<Bytes> SplitFiles(const std::uint8_t* data, std::size_t size)
{
    std::vector<Bytes> files;
    const std::uint8_t* const end = data + size;
    while (true) {
        const std::uint8_t* cut = std::search(data, end, kSeparator.begin(), kSeparator.end());
        files.emplace_back(data, cut);
        if (cut == end)
            return files;
        data = cut + kSeparator.size();
    }
}

/// A file in whose middle a bit has changed, which nearly always lies in an array or a count.
inline Bytes Changed(Bytes file)
{
    if (!file.empty())
        file[file.size() / 2] ^= 1;
    return file;
}

/// A stream in memory, and what was written to it. Not open_memstream, which loses the end once a writer seeks back.
class MemoryFile {
public:
    MemoryFile() : m_stream(fdopen(memfd_create("vlgim-fuzz", MFD_CLOEXEC), "w+b")) {}
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { std::fclose(m_stream); }

    std::FILE* Stream() { return m_stream; }

    /// All of it, wherever the writer left the stream.
    Bytes Content()
    {
        std::fseek(m_stream, 0, SEEK_END);
        Bytes content(static_cast<std::size_t>(std::ftell(m_stream)));
        std::rewind(m_stream);
        content.resize(std::fread(content.data(), 1, content.size(), m_stream));
        return content;
    }

private:
    std::FILE* m_stream;
};

template <class Write>
Bytes Written(Write write)
{
    MemoryFile file;
    write(file.Stream());
    return file.Content();
}

/// A folder of this process alone, in memory where the system has such a place; removed when the process ends well.
class Folder {
public:
    Folder()
    {
        const std::filesystem::path memory = "/dev/shm";
        std::error_code error;
        std::string name =
            (std::filesystem::is_directory(memory, error) ? memory : std::filesystem::temp_directory_path()) /
            "vlgim-fuzz-XXXXXX";
        if (!mkdtemp(name.data()))
            std::abort();
        m_path = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string Path(std::string_view name) const { return m_path + "/" + std::string(name); }

    /// Writes a file of the input.
    void Put(std::string_view name, const Bytes& content) const
    {
        std::FILE* file = std::fopen(Path(name).c_str(), "wb");
        if (!file)
            std::abort();
        if (!content.empty())
            std::fwrite(content.data(), 1, content.size(), file);
        std::fclose(file);
    }

    Bytes Get(std::string_view name) const
    {
        vlio::Bytes content;
        if (!vlio::FileStream::ReadAllBinary(Path(name).c_str(), content, vlio::FILE_SYSTEM_ANY))
            return {};
        return {content.begin(), content.end()};
    }

    void Remove(std::string_view name) const { std::remove(Path(name).c_str()); }

private:
    std::string m_path;
};

}  // namespace vela::vlgim::fuzz
