#pragma once

#include <cstdint>
#include <cstdio>
#include <type_traits>

namespace vela::vlgim::io {

/// Values and runs of values out to a stdio stream, little-endian, nothing aligned or padded. Nothing is
/// checked here: the owner of the stream does that once, when it closes it.
class BlockWriter {
public:
    explicit BlockWriter(std::FILE* stream) : m_stream(stream) {}

    template <class T>
    void Value(T value)
    {
        static_assert(std::is_arithmetic_v<T>);
        std::fwrite(&value, sizeof value, 1, m_stream);
    }

    template <class T>
    void Run(const T* values, std::uint64_t count)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (count)
            std::fwrite(values, sizeof(T), static_cast<std::size_t>(count), m_stream);
    }

    /// In bytes from the start of the stream.
    std::uint64_t Position() const { return static_cast<std::uint64_t>(ftello(m_stream)); }

    /// Leaves the stream behind the value, not where it was. Does nothing where the stream can't go there.
    void Patch(std::uint64_t position, std::uint32_t value)
    {
        if (fseeko(m_stream, static_cast<off_t>(position), SEEK_SET) == 0)
            Value(value);
    }

private:
    std::FILE* m_stream;
};

}  // namespace vela::vlgim::io
