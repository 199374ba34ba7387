#pragma once

#include "Timing.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <unistd.h>
#include <vector>

// What a read or a write can't do without, and so can't be faster than.
namespace vela::vlgim::bench {

/// F(first): one malloc an array, and one copy of its bytes into each. In a process that has done nothing else,
/// every page of them is touched for the first time. Nothing is freed.
inline void CopyFirst(const unsigned char* bytes, std::span<const std::size_t> arrays)
{
    for (const std::size_t size : arrays) {
        void* const array = std::malloc(size);
        std::memcpy(array, bytes, size);
        Keep(array);
        bytes += size;
    }
}

/// F(mem): one copy into memory that is in use.
class CopyInUse {
public:
    explicit CopyInUse(std::size_t size) : m_from(size, 0x3C), m_to(size) {}

    void operator()()
    {
        std::memcpy(m_to.data(), m_from.data(), m_from.size());
        Keep(m_to.data());
    }

private:
    std::vector<unsigned char> m_from, m_to;
};

/// F(read): the whole file into a new buffer with one read, and from there into new arrays; all freed.
inline void CopyRead(const char* path, std::span<const std::size_t> arrays)
{
    static void* copies[2048];
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    const auto size = static_cast<std::size_t>(::lseek(file, 0, SEEK_END));
    auto* const image = static_cast<unsigned char*>(std::malloc(size));
    if (arrays.size() > std::size(copies) || ::pread(file, image, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    ::close(file);
    const unsigned char* next = image;
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        copies[i] = std::malloc(arrays[i]);
        std::memcpy(copies[i], next, arrays[i]);
        Keep(copies[i]);
        next += arrays[i];
    }
    std::free(image);
    for (std::size_t i = 0; i < arrays.size(); ++i)
        std::free(copies[i]);
}

/// F(write): a new file with one write.
inline void WriteOnce(const char* path, std::span<const unsigned char> bytes)
{
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (::write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) || ::close(file) != 0)
        std::abort();
}

}  // namespace vela::vlgim::bench
