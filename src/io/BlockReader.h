#pragma once

#include "Block.h"

#include <vlgim/Error.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

namespace vela::vlgim::io {

/// Why a file was refused, and where.
struct Refusal {
    ErrorKind kind = ErrorKind::None;  ///< Bytes, Limit, Memory, MemoryLimit or Reference
    std::uint64_t offset = 0;          ///< from the first byte of the file
    std::uint64_t needed = 0;          ///< bytes, or the count that passed a limit
    std::uint64_t left = 0;            ///< bytes up to the end, or the limit
    std::uint64_t fileSize = 0;

    // The blocks around the byte, from the outermost on. No file has them deeper.
    static constexpr std::size_t kDeepest = 4;
    Step steps[kDeepest] = {};
    std::size_t depth = 0;

    /// As in "clip 2 / bone 5".
    std::string Path() const;

    /// One sentence, as in "needs 16 bytes, but the file has 3 left".
    std::string Text() const;

    /// The same for callers; no error where nothing was refused.
    Error AsError(std::string file = {}) const;
};

/// Copies a run of values out of a file image, from any alignment. Nothing is copied from or to null.
template <class T>
void CopyRun(T* to, const unsigned char* from, std::uint64_t count)
{
    static_assert(std::is_trivially_copyable_v<T>);
    if (count)
        std::memcpy(static_cast<void*>(to), from, static_cast<std::size_t>(count) * sizeof(T));
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
    BlockReader(const unsigned char* data, const unsigned char* end)
        : m_start(data), m_size(SizeOf(data, end))
    {
        if (!data)
            RefuseAt(0, ErrorKind::Bytes, 1, 0);
    }

    /// A whole file, which may be empty: its first block is refused then.
    explicit BlockReader(std::span<const unsigned char> file)
        : m_start(file.empty() ? &kNothing : file.data()), m_size(file.size())
    {
    }

    /// A block while it is read: what is refused, and what is noted, is inside of it. Scopes nest.
    class Scope {
    public:
        Scope(BlockReader& in, Block block, std::int64_t number) : m_in(in), m_isNoted(in.IsTraced())
        {
            in.m_steps[in.m_depth++] = {block, number};
            if (m_isNoted)
                in.m_map->Enter({block, number}, in.m_offset);
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope()
        {
            --m_in.m_depth;
            if (m_isNoted)
                m_in.m_map->Leave(m_in.m_offset);
        }

    private:
        BlockReader& m_in;
        bool m_isNoted;  // behind a refusal nothing is
    };

    /// Enters a block, until the result ends; `number` where there are several of it.
    [[nodiscard]] Scope Enter(Block block, std::int64_t number = Step::kOnly)
    {
        return {*this, block, number};
    }

    /// Moves to a byte of the file. An offset outside of it is refused by the next read.
    void Seek(std::uint64_t offset) { m_offset = offset; }

    /// Notes in `map`, from here on, where each block lies; the map outlives the reader. A copy notes nothing: it goes
    /// over bytes that were noted before.
    void Trace(BlockMap& map) { m_map = &map; }

    /// Whether places are noted, so that it is worth working them out.
    bool IsTraced() const { return m_map && !Failed(); }

    /// Notes bytes that were taken as a block, or as a field of the one that is entered.
    void Note(Block block, std::uint64_t offset, std::uint64_t end, std::int64_t number = Step::kOnly)
    {
        if (IsTraced())
            m_map->Note({block, number}, offset, end);
    }

    /// Keeps the budget below `bytes`, whatever the file has a right to.
    void LimitMemory(std::uint64_t bytes) { m_limit = bytes; }

    /// Bytes that were asked for, with their bookkeeping.
    std::uint64_t Spent() const { return m_spent; }

    /// The next count * size bytes, or null.
    const unsigned char* Take(std::uint64_t count, std::uint64_t size)
    {
        if (Failed())
            return nullptr;
        // Dividing keeps the file's count out of any sum or product that could wrap.
        if (m_offset > m_size || count > (m_size - m_offset) / size) {
            RefuseAt(m_offset, ErrorKind::Bytes, count > UINT64_MAX / size ? UINT64_MAX : count * size,
                     m_offset > m_size ? 0 : m_size - m_offset);
            return nullptr;
        }
        const unsigned char* run = m_start + m_offset;
        m_offset += count * size;
        return run;
    }

    /// The same for a block or a field that is one run.
    const unsigned char* Take(Block block, std::uint64_t count, std::uint64_t size)
    {
        if (Failed())
            return nullptr;
        const std::uint64_t start = m_offset;
        const unsigned char* run = Take(count, size);
        if (run)
            Note(block, start, m_offset);
        else
            NameRefused(block);
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

    template <class T>
    T Value(Block block)
    {
        T value{};
        if (const unsigned char* bytes = Take(block, 1, sizeof(T)))
            std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    /// False and failed where the file has no right to so much memory more.
    bool Affords(std::uint64_t bytes)
    {
        const std::uint64_t left = Budget() - m_spent;
        if (!Failed() && bytes > left)
            RefuseAt(m_offset,
                     m_limit < FileBudget() && bytes <= FileBudget() - m_spent ? ErrorKind::MemoryLimit
                                                                               : ErrorKind::Memory,
                     bytes, left);
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
        m_limit = load.m_limit;
        m_imageBytes =
            load.m_imageBytes > kUnknownSize - imageBytes ? kUnknownSize : load.m_imageBytes + imageBytes;
    }

    /// Fails at a byte of the file; see Refusal.
    void RefuseAt(std::uint64_t offset, ErrorKind kind, std::uint64_t needed, std::uint64_t left);

    /// A value that stands for a count, and fails where it is above its limit.
    template <class T>
    T Count(std::uint64_t limit)
    {
        const std::uint64_t at = m_offset;
        const T count = Value<T>();
        if (count > limit)
            RefuseAt(at, ErrorKind::Limit, count, limit);
        return count;
    }

    bool Failed() const { return m_refusal.kind != ErrorKind::None; }
    const Refusal& WhyRefused() const { return m_refusal; }

    /// From the first byte of the file.
    std::uint64_t Offset() const { return m_offset; }

    /// Where the next read starts; null after a failure, so that it can be a block reader's result as it is.
    const unsigned char* Position() const { return Failed() ? nullptr : m_start + m_offset; }

private:
    static constexpr unsigned char kNothing = 0;
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;
    static constexpr std::uint64_t kBookkeeping = 64;  // reference counts, an owner, rounding

    // An end in front of the start leaves nothing to read.
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

    // Adds the block to a refusal of its own run.
    void NameRefused(Block block);

    // Not copied.
    struct Tracing {
        BlockMap* map = nullptr;

        Tracing() = default;
        Tracing(const Tracing&) {}
        Tracing& operator=(const Tracing&) = delete;
        Tracing& operator=(BlockMap* to)
        {
            map = to;
            return *this;
        }
        explicit operator bool() const { return map != nullptr; }
        BlockMap* operator->() const { return map; }
    };

    const unsigned char* m_start;
    std::uint64_t m_size;
    std::uint64_t m_imageBytes = m_size;  // of all files that allow for memory
    std::uint64_t m_offset = 0;
    std::uint64_t m_spent = 0;
    std::uint64_t m_limit = UINT64_MAX;
    Step m_steps[Refusal::kDeepest];  // of the scopes
    std::size_t m_depth = 0;
    Tracing m_map;
    Refusal m_refusal;
};

}  // namespace vela::vlgim::io
