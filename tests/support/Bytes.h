#pragma once

#include <vlio2/Sink.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vela::vlgim::test {

/// A file laid out by hand: each call appends one field, or a run of them, little-endian.
class ByteBuilder {
public:
    /// With room for small files: g++ 12 takes the growth of an empty vector for an overflow.
    ByteBuilder() { m_bytes.reserve(4096); }

    ByteBuilder& U8(std::uint8_t v) { return Put({v}); }
    ByteBuilder& U16(std::uint16_t v) { return Put({v}); }
    ByteBuilder& U32(std::uint32_t v) { return Put({v}); }
    ByteBuilder& F32(float v) { return Put({v}); }
    ByteBuilder& F32s(std::initializer_list<float> values) { return Put(values); }
    ByteBuilder& U16s(std::initializer_list<std::uint16_t> values) { return Put(values); }
    ByteBuilder& U32s(std::initializer_list<std::uint32_t> values) { return Put(values); }
    /// So many floats, each 1 more than the one before.
    ByteBuilder& F32Run(float first, int count)
    {
        for (int i = 0; i < count; ++i)
            F32(first + static_cast<float>(i));
        return *this;
    }
    ByteBuilder& Fill(std::size_t count, unsigned char byte)
    {
        m_bytes.resize(m_bytes.size() + count, byte);
        return *this;
    }
    ByteBuilder& Raw(const std::vector<unsigned char>& bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    /// A part, with the places that have names in it.
    ByteBuilder& Raw(const ByteBuilder& part)
    {
        for (const auto& [name, at] : part.m_marks)
            m_marks[name] = m_bytes.size() + at;
        return Raw(part.m_bytes);
    }
    /// Names the place of the next byte, which At(name) gives.
    ByteBuilder& Mark(const std::string& name) { return m_marks[name] = m_bytes.size(), *this; }

    std::size_t At(const std::string& name) const { return m_marks.at(name); }
    const std::vector<unsigned char>& Bytes() const { return m_bytes; }
    operator const std::vector<unsigned char>&() const { return m_bytes; }

private:
    template <class T>
    ByteBuilder& Put(std::initializer_list<T> values)
    {
        const auto* raw = reinterpret_cast<const unsigned char*>(values.begin());
        m_bytes.insert(m_bytes.end(), raw, raw + values.size() * sizeof(T));
        return *this;
    }

    std::vector<unsigned char> m_bytes;
    std::map<std::string, std::size_t> m_marks;
};

using Bytes = std::vector<unsigned char>;

/// The bytes of an array's elements: floats compared as bytes count -0 and NaN.
template <class Range>
Bytes BytesOf(const Range& range)
{
    const auto* first = reinterpret_cast<const unsigned char*>(std::data(range));
    return {first, first + std::span(range).size_bytes()};
}

/// The first bytes of a file.
inline Bytes Prefix(const Bytes& file, std::size_t size)
{
    return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)};
}

inline std::string AsString(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

inline std::string Repeat(std::string_view text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/// The file with other bytes from byte `at` on.
inline Bytes With(Bytes file, std::size_t at, const Bytes& patch)
{
    std::copy(patch.begin(), patch.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
    return file;
}

/// Calls read(bytes, end) for every proper prefix, each in a buffer of just that size, at an odd address, so
/// that the sanitizers see one byte too many.
template <class Read>
void ForEachPrefix(const Bytes& whole, Read read)
{
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[size + 1]);
        std::copy_n(whole.begin(), size, buffer.get() + 1);
        read(static_cast<const unsigned char*>(buffer.get() + 1), buffer.get() + 1 + size);
    }
}

/// Calls read(bytes) with each byte in turn set to each of a few values that lie.
template <class Read>
void ForEachByteChange(const Bytes& whole, Read read)
{
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (const int lie : {0x00, 0x01, 0x7F, 0x80, 0xFF, whole[at] ^ 0x01, whole[at] + 1})
            read(With(whole, at, {static_cast<unsigned char>(lie)}));
}

/// A file in memory.
class MemorySink final : public vlio::Sink {
public:
    void Write(const void* bytes, std::size_t size) override
    {
        const auto* raw = static_cast<const unsigned char*>(bytes);
        content.insert(content.end(), raw, raw + size);
        ++writes;
    }

    void Patch(std::uint64_t position, std::uint32_t value) override
    {
        std::memcpy(content.data() + position, &value, sizeof value);
    }

    Bytes content;
    std::size_t writes = 0;
};

/// What write(sink), write(stream), or else the WriteData of an object, leaves in an empty file.
template <class Write>
Bytes Written(Write&& write)
{
    if constexpr (std::is_invocable_v<Write&, vlio::Sink&>) {
        MemorySink sink;
        write(static_cast<vlio::Sink&>(sink));
        return sink.content;
    } else {
        std::FILE* stream = std::tmpfile();
        if constexpr (std::is_invocable_v<Write&, std::FILE*>)
            write(stream);
        else
            write.WriteData(stream);
        std::fseek(stream, 0, SEEK_END);
        Bytes bytes(static_cast<std::size_t>(std::ftell(stream)));
        std::rewind(stream);
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
        std::fclose(stream);
        return bytes;
    }
}

}  // namespace vela::vlgim::test
