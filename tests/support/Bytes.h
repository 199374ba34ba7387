#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace vela::vlgim::test {

/// A file laid out by hand: each call appends one field, little-endian.
class ByteBuilder {
public:
    ByteBuilder& U8(std::uint8_t v) { return Put(v); }
    ByteBuilder& U16(std::uint16_t v) { return Put(v); }
    ByteBuilder& U32(std::uint32_t v) { return Put(v); }
    ByteBuilder& F32(float v) { return Put(v); }
    ByteBuilder& F32s(std::initializer_list<float> values)
    {
        for (const float v : values)
            Put(v);
        return *this;
    }
    ByteBuilder& U16s(std::initializer_list<std::uint16_t> values)
    {
        for (const std::uint16_t v : values)
            Put(v);
        return *this;
    }
    ByteBuilder& Raw(const std::vector<unsigned char>& bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    ByteBuilder& Fill(std::size_t count, unsigned char byte)
    {
        m_bytes.insert(m_bytes.end(), count, byte);
        return *this;
    }

    const std::vector<unsigned char>& Bytes() const { return m_bytes; }
    operator const std::vector<unsigned char>&() const { return m_bytes; }

private:
    template <class T>
    ByteBuilder& Put(T v)
    {
        unsigned char raw[sizeof v];
        std::memcpy(raw, &v, sizeof v);
        m_bytes.insert(m_bytes.end(), raw, raw + sizeof v);
        return *this;
    }

    std::vector<unsigned char> m_bytes;
};

/// Calls read(bytes, end) for every proper prefix, each in a buffer of just that size, at an odd address, so
/// that the sanitizers see one byte too many.
template <class Read>
void ForEachPrefix(const std::vector<unsigned char>& whole, Read read)
{
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[size + 1]);
        if (size)
            std::memcpy(buffer.get() + 1, whole.data(), size);
        read(static_cast<const unsigned char*>(buffer.get() + 1), buffer.get() + 1 + size);
    }
}

/// Calls read(bytes) with each byte in turn set to each of a few values that lie.
template <class Read>
void ForEachByteChange(const std::vector<unsigned char>& whole, Read read)
{
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int lie : {0x00, 0x01, 0x7F, 0x80, 0xFF, whole[at] ^ 0x01, whole[at] + 1}) {
            std::vector<unsigned char> changed = whole;
            changed[at] = static_cast<unsigned char>(lie);
            read(static_cast<const std::vector<unsigned char>&>(changed));
        }
    }
}

}  // namespace vela::vlgim::test
