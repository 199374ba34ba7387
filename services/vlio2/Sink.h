#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vlio {

/// Receives the bytes of a file in order. A sink keeps its failures; its owner checks them once, at the end.
class VLGIM_API Sink {
public:
    /// Appends `size` bytes. Large pieces are faster, because a sink does not buffer.
    virtual void Write(const void* bytes, std::size_t size) = 0;

    /// Replaces four bytes that were already written, at `position` bytes from the start. The next Write still appends,
    /// unless a class documents otherwise.
    virtual void Patch(std::uint64_t position, std::uint32_t value) = 0;

protected:
    ~Sink() = default;
};

/// Writes to a stdio stream of the caller, from its current position. All failures are left to the owner of the stream.
class VLGIM_API StreamSink final : public Sink {
public:
    explicit StreamSink(std::FILE* stream) : m_stream(stream) {}

    void Write(const void* bytes, std::size_t size) override { std::fwrite(bytes, 1, size, m_stream); }

    /// Replaces four bytes at `position` bytes from the start of the stream, which has to be able to seek. The stream
    /// is then after these bytes, and the next Write continues there.
    void Patch(std::uint64_t position, std::uint32_t value) override;

private:
    std::FILE* m_stream;
};

}  // namespace vlio
