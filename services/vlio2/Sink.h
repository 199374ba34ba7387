#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vlio {

/// Where the bytes of a file go, from its first to its last. A sink keeps its failures: whoever made it asks for them
/// once, at the end.
class VLGIM_API Sink {
public:
    /// Appends bytes. Best in large pieces: nothing is gathered.
    virtual void Write(const void* bytes, std::size_t size) = 0;

    /// Replaces four bytes that were written. Where nothing else is said, the next Write still appends.
    virtual void Patch(std::uint64_t position, std::uint32_t value) = 0;

protected:
    Sink() = default;
    Sink(const Sink&) = default;
    Sink& operator=(const Sink&) = default;
    ~Sink() = default;
};

/// Writes to a stdio stream of the caller, from wherever it stands, and leaves all failures to its owner.
class VLGIM_API StreamSink final : public Sink {
public:
    explicit StreamSink(std::FILE* stream) : m_stream(stream) {}

    void Write(const void* bytes, std::size_t size) override;

    /// Positions count from the start of the stream, which has to be able to seek. Leaves it behind the value,
    /// where the next Write goes on.
    void Patch(std::uint64_t position, std::uint32_t value) override;

private:
    std::FILE* m_stream;
};

}  // namespace vlio
