#pragma once

#include <basekit/CopyBytes.h>
#include <vlio2/Sink.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

namespace vela::vlgim::io {

/// Writes values and runs of values to a sink: little-endian, without alignment or padding. One writer passes through
/// all blocks of a file. It does not check for failures: the owner of the sink does that once, at the end.
///
/// Bytes are buffered and passed to the sink in pieces of 256 KB; Flush and the destructor pass on the rest. A small
/// run then costs only its copy, which makes a file of channels of 30 keys four times as fast. Larger pieces would not
/// fit the cache, and smaller ones cost system calls.
class BlockWriter {
public:
    explicit BlockWriter(vlio::Sink& sink)
        : m_sink(sink), m_buffer(std::make_unique_for_overwrite<unsigned char[]>(kCapacity))
    {
    }
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;
    ~BlockWriter() { Flush(); }

    template <class T>
    void Value(T value)
    {
        static_assert(std::is_arithmetic_v<T>);
        Put(&value, sizeof value);
    }

    template <class T>
    void Run(const T* values, std::uint64_t count)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (count)
            Put(values, static_cast<std::size_t>(count) * sizeof(T));
    }

    /// Passes the buffered bytes to the sink. If there are none, the sink is not used and need not exist any more.
    void Flush()
    {
        HandOver(m_buffer.get(), m_used);
        m_used = 0;
    }

    /// The position in bytes from the first one written.
    std::uint64_t Position() const { return m_handedOver + m_used; }

    /// Replaces a value that was already written, in the buffer or in the sink.
    void Patch(std::uint64_t position, std::uint32_t value)
    {
        if (position >= m_handedOver) {
            std::memcpy(m_buffer.get() + (position - m_handedOver), &value, sizeof value);
            return;
        }
        Flush();
        m_sink.Patch(position, value);
    }

private:
    static constexpr std::size_t kCapacity = std::size_t{256} << 10;

    void Put(const void* bytes, std::size_t size)
    {
        if (size > kCapacity - m_used)
            return PutThrough(static_cast<const unsigned char*>(bytes), size);
        kit::CopyBytes(m_buffer.get() + m_used, bytes, size);
        m_used += size;
    }

    // A run that is larger than a piece is written from where it is. Any other run fills the piece first, so that the
    // next piece again starts at a page of the file; this saves a fifth of the time on some disks.
    void PutThrough(const unsigned char* bytes, std::size_t size)
    {
        const std::size_t fitting = size < kCapacity ? kCapacity - m_used : 0;
        kit::CopyBytes(m_buffer.get() + m_used, bytes, fitting);
        m_used += fitting;
        Flush();
        if (size >= kCapacity)
            return HandOver(bytes, size);
        m_used = size - fitting;
        kit::CopyBytes(m_buffer.get(), bytes + fitting, m_used);
    }

    void HandOver(const unsigned char* bytes, std::size_t size)
    {
        if (size != 0)
            m_sink.Write(bytes, size);
        m_handedOver += size;
    }

    vlio::Sink& m_sink;
    std::unique_ptr<unsigned char[]> m_buffer;
    std::size_t m_used = 0;
    std::uint64_t m_handedOver = 0;  // position of the buffered bytes
};

}  // namespace vela::vlgim::io
