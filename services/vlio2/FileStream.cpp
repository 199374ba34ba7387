#include <vlio2/FileStream.h>

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlio {

namespace {

struct Descriptor {
    int number;

    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }
};

bool ReadRegularFile(int file, Bytes& bytes)
{
    struct stat status = {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size >= bytes.max_size())
        return false;

    // One byte more than the file says it has, so that the same read tells whether it grew.
    bytes.resize(static_cast<std::size_t>(size) + 1);
    std::size_t total = 0;
    do {
        const ssize_t got = ::read(file, bytes.data() + total, bytes.size() - total);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        total += static_cast<std::size_t>(got);
    } while (total < size);
    bytes.pop_back();
    return total == size;
}

}  // namespace

bool FileStream::ReadAllBinary(const char* path, Bytes& bytes, FileSystemType)
{
    // Without O_NONBLOCK the open of a pipe would wait for its writer.
    const Descriptor file{::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)};
    const bool whole = file.number >= 0 && ReadRegularFile(file.number, bytes);
    if (!whole)
        bytes.clear();
    return whole;
}

bool FileStream::Exists(const char* path, FileSystemType)
{
    struct stat status = {};
    return ::stat(path, &status) == 0;
}

}  // namespace vlio
