#pragma once

#include "BlockMap.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace vela::vlgim::io {

/// Why a file was refused: at byte `offset` of it, `block` needed more than there was.
struct Refusal {
    enum Kind { kBytes, kMostOf, kMemory };  // what there was too little of; of a count: it passed its limit

    const char* block = nullptr;  ///< null: nothing was refused
    std::uint64_t offset = 0;     ///< from the first byte of the file
    std::uint64_t needed = 0;     ///< bytes, or the value that passed a limit
    std::uint64_t left = 0;       ///< bytes up to the end, or the limit
    std::int64_t number = -1;     ///< of the block, counted from 0, where there are several of the name
    Kind kind = kMostOf;
};

/// "bone 5 at byte 99 needs 16, and 3 is left": for the log.
inline std::string Describe(const Refusal& why)
{
    std::string text = why.block;
    if (why.number >= 0)
        text.append(1, ' ').append(std::to_string(why.number));
    return text + " at byte " + std::to_string(why.offset) + " needs " + std::to_string(why.needed) +
           ", and " + std::to_string(why.left) + " is left";
}

/// Copies a run of values out of a file image, from any alignment. Nothing is copied from or to null.
template <class T>
void CopyRun(T* to, const unsigned char* from, std::uint64_t count)
{
    static_assert(std::is_trivially_copyable_v<T>);
    if (count)
        std::memcpy(to, from, static_cast<std::size_t>(count) * sizeof(T));
}

/// The only way to the bytes of a file image. One reader goes through all blocks of a file: it has one
/// position, one memory budget, and it fails once, for good. From the first refusal on, values are 0 and runs
/// null, so that a block is read straight through and asked once whether it failed.
class BlockReader {
public:
    /// A load may hold 64 times the bytes of its file, and 16 MiB for what small files make, of which two are
    /// left to what nobody asks for: the objects, and lists that can't have more than 65,535 entries. Counts
    /// that ask for more are damage: no real file comes near it.
    static constexpr std::uint64_t kMemoryPerByte = 64;
    static constexpr std::uint64_t kMemoryBase = 14U << 20;

    /// data   first byte of the file or block; null fails at once
    /// end    one past the last readable byte; null if the caller vouches for all that is read, which also
    ///        lifts the memory limit
    /// block  the name that a refusal carries until Enter is called; constant text
    BlockReader(const unsigned char* data, const unsigned char* end, const char* block)
        : m_start(data), m_size(SizeOf(data, end)), m_block(block)
    {
        if (!data)
            Refuse(1, 0);
    }

    /// Names the block that is read from here on, with its number where there are several of the name.
    void Enter(const char* block, std::int64_t number = -1)
    {
        m_block = block;
        m_number = number;
        if (m_tracing.map && !Failed())  // the last place is where it failed
            m_tracing.map->Enter(block, number, m_offset);
    }

    /// Moves to a byte of the file. An offset outside of it is refused by the next read.
    void Seek(std::uint64_t offset)
    {
        if (m_tracing.map)
            m_tracing.map->End(m_offset);
        m_offset = offset;
    }

    /// Notes in `map`, from here on, where each block lies; the map outlives the reader.
    void Trace(BlockMap& map)
    {
        m_tracing.map = &map;
        map.Enter(m_block, m_number, m_offset);
    }

    /// Keeps the budget below `bytes`, whatever the file has a right to.
    void LimitMemory(std::uint64_t bytes) { m_limit = bytes; }

    /// Whether the limit has refused what the file has a right to.
    bool HitLimit() const { return m_hitLimit; }

    /// Bytes that were asked for, with their bookkeeping.
    std::uint64_t Spent() const { return m_spent; }

    /// The next count * size bytes, or null.
    const unsigned char* Take(std::uint64_t count, std::uint64_t size)
    {
        // Dividing keeps the file's count out of any sum or product that could wrap.
        if (!Failed() && (m_offset > m_size || count > (m_size - m_offset) / size))
            RefuseAt(m_offset, count > UINT64_MAX / size ? UINT64_MAX : count * size,
                     m_offset > m_size ? 0 : m_size - m_offset, Refusal::kBytes);
        if (Failed())
            return nullptr;
        const unsigned char* run = m_start + m_offset;
        m_offset += count * size;
        return run;
    }

    /// The next value, little-endian, at any alignment; 0 after a failure.
    template <class T>
    T Value()
    {
        static_assert(std::is_arithmetic_v<T>);
        T value{};
        if (const unsigned char* bytes = Take(1, sizeof(T)))
            std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    /// An aligned copy of the next count values; null after a failure.
    template <class T>
    std::shared_ptr<T[]> Array(std::uint64_t count)
    {
        const unsigned char* run = Take(count, sizeof(T));
        if (!run || !Spend(count * sizeof(T)))
            return nullptr;
        auto values = std::make_shared_for_overwrite<T[]>(static_cast<std::size_t>(count));
        CopyRun(values.get(), run, count);
        return values;
    }

    /// The next name: a field of 32 bytes that a NUL ends, or its own end. Empty after a failure. Valid as
    /// long as the file image.
    std::string_view Name()
    {
        const unsigned char* field = Take(1, 32);
        if (!field)
            return {};
        const auto* text = reinterpret_cast<const char*>(field);
        return {text, strnlen(text, 32)};
    }

    /// False and failed where the file has no right to so much memory more.
    bool Affords(std::uint64_t bytes)
    {
        const std::uint64_t left = Budget() - m_spent;
        if (!Failed() && bytes > left) {
            m_hitLimit = m_limit < FileBudget() && bytes <= FileBudget() - m_spent;
            RefuseAt(m_offset, bytes, left, Refusal::kMemory);
        }
        return !Failed();
    }

    /// Asks for memory before it is allocated; false and failed where the file can't afford it. Each call stands
    /// for an allocation, whose bookkeeping counts too: files can ask for many that are small.
    bool Spend(std::uint64_t bytes)
    {
        if (!Affords(bytes))
            return false;
        m_spent += std::min(bytes + kBookkeeping, Budget() - m_spent);
        return true;
    }

    /// Goes on with the budget of a load of several files: all that `load` has spent and may spend, and what
    /// imageBytes of a further file allow.
    void JoinBudget(const BlockReader& load, std::uint64_t imageBytes)
    {
        m_spent = load.m_spent;
        m_imageBytes =
            load.m_imageBytes > kUnknownSize - imageBytes ? kUnknownSize : load.m_imageBytes + imageBytes;
    }

    /// Fails at a byte that asks for `needed` where only `limit` is allowed.
    void RefuseAt(std::uint64_t offset, std::uint64_t needed, std::uint64_t limit,
                  Refusal::Kind kind = Refusal::kMostOf)
    {
        if (!Failed())
            m_refusal = {m_block, offset, needed, limit, m_number, kind};
    }

    /// The same at the current byte.
    void Refuse(std::uint64_t needed, std::uint64_t limit) { RefuseAt(m_offset, needed, limit); }

    bool Failed() const { return m_refusal.block != nullptr; }
    const Refusal& WhyRefused() const { return m_refusal; }

    /// From the first byte of the file.
    std::uint64_t Offset() const { return m_offset; }

    /// Where the next read starts; null after a failure, so that it can be a block reader's result as it is.
    const unsigned char* Position() const { return Failed() ? nullptr : m_start + m_offset; }

private:
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;
    static constexpr std::uint64_t kBookkeeping = 64;  // reference counts, an owner, rounding

    // An end ahead of the start leaves nothing to read.
    static std::uint64_t SizeOf(const unsigned char* data, const unsigned char* end)
    {
        if (!end)
            return kUnknownSize;
        return end > data ? static_cast<std::uint64_t>(end - data) : 0;
    }

    std::uint64_t Budget() const { return std::max(std::min(FileBudget(), m_limit), m_spent); }

    // What all files together have a right to.
    std::uint64_t FileBudget() const
    {
        return m_imageBytes > (UINT64_MAX - kMemoryBase) / kMemoryPerByte
                   ? UINT64_MAX
                   : m_imageBytes * kMemoryPerByte + kMemoryBase;
    }

    // A copy goes over bytes that were noted before.
    struct Tracing {
        BlockMap* map = nullptr;

        Tracing() = default;
        Tracing(const Tracing&) {}
        Tracing& operator=(const Tracing&) = delete;
    };

    const unsigned char* m_start;
    std::uint64_t m_size;
    std::uint64_t m_imageBytes = m_size;  // of all files that allow for memory
    std::uint64_t m_offset = 0;
    std::uint64_t m_spent = 0;
    std::uint64_t m_limit = UINT64_MAX;
    bool m_hitLimit = false;
    Tracing m_tracing;
    const char* m_block;
    std::int64_t m_number = -1;
    Refusal m_refusal;
};

}  // namespace vela::vlgim::io
