#pragma once

#include "Block.h"

#include <basekit/CopyBytes.h>
#include <vlgim/Error.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

namespace vela::vlgim::io {

/// Why and where a file was refused.
struct Refusal {
    ErrorKind kind = ErrorKind::None;  ///< Bytes, Limit, Memory, MemoryLimit or Reference
    std::uint64_t offset = 0;          ///< from the start of the file
    std::uint64_t needed = 0;          ///< bytes needed, or the count that exceeds a limit
    std::uint64_t left = 0;            ///< bytes left in the file or the budget, or the limit
    std::uint64_t fileSize = 0;

    // The enclosing blocks, from the outermost one. No file nests them deeper.
    static constexpr std::size_t kDeepest = 4;
    Step steps[kDeepest] = {};
    std::size_t depth = 0;

    /// The path of the blocks, such as "clip 2 / bone 5".
    std::string Path() const;

    /// One sentence, such as "needs 16 bytes, but the file has 3 left".
    std::string Text() const;

    /// The refusal as an Error; success if nothing was refused.
    Error AsError(std::string file = {}) const;
};

/// Copies `count` values from a file image, at any alignment. With a count of 0 both pointers may be null.
template <class T>
void CopyRun(T* to, const unsigned char* from, std::uint64_t count)
{
    static_assert(std::is_trivially_copyable_v<T>);
    kit::CopyBytes(to, from, static_cast<std::size_t>(count) * sizeof(T));
}

/// Reads the bytes of a file image; all blocks are read through this class. One reader passes through all blocks of a
/// file: it has one position and one memory budget, and it fails once, for good. After the first refusal all values are
/// 0 and all runs are null, so a block is read straight through and Failed() is asked once at its end.
class BlockReader {
public:
    /// A load may use 64 times the bytes of its file, plus 16 MiB for small files. Of these, 2 MiB are reserved for
    /// memory that is not counted here: the objects, and lists of at most 65,535 entries. A file whose counts need more
    /// is damaged: no real file comes near the limit.
    static constexpr std::uint64_t kMemoryPerByte = 64;
    static constexpr std::uint64_t kMemoryBase = 14U << 20;

    /// data  first byte of the file or block; null: the reader has failed from the start
    /// end   one past the last readable byte; null: reads are unbounded, and so is the memory
    BlockReader(const unsigned char* data, const unsigned char* end)
        : m_start(data), m_size(SizeOf(data, end))
    {
        if (!data)
            RefuseAt(0, ErrorKind::Bytes, 1, 0);
    }

    /// Reads a whole file. If it is empty, its first block is refused.
    explicit BlockReader(std::span<const unsigned char> file)
        : m_start(file.empty() ? &kNothing : file.data()), m_size(file.size())
    {
    }

    /// A block that is being read. Refusals and recorded places belong to it. Scopes can be nested.
    class Scope {
    public:
        Scope(BlockReader& in, Block block, std::int64_t number) : m_in(in), m_map(in.Traced())
        {
            in.m_steps[in.m_depth++] = {block, number};
            if (m_map)
                m_map->Enter({block, number}, in.m_offset);
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope()
        {
            --m_in.m_depth;
            if (m_map)
                m_map->Leave(m_in.m_offset);
        }

    private:
        BlockReader& m_in;
        BlockMap* m_map;  // null after a refusal: nothing is recorded then
    };

    /// Enters a block until the returned scope ends.
    /// number  index of the block if there are several
    [[nodiscard]] Scope Enter(Block block, std::int64_t number = Step::kOnly)
    {
        return {*this, block, number};
    }

    /// Moves to a byte of the file. If it is not in the file, the next read fails.
    void Seek(std::uint64_t offset) { m_offset = offset; }

    /// From now on records the place of each block in `map`, which has to outlive the reader.
    void Trace(BlockMap& map) { m_map = &map; }

    /// A second read of bytes whose places are already recorded.
    class Repeat {
    public:
        Repeat(BlockReader& in, std::uint64_t offset) : m_in(in), m_map(std::exchange(in.m_map, nullptr))
        {
            in.m_offset = offset;
        }
        Repeat(const Repeat&) = delete;
        Repeat& operator=(const Repeat&) = delete;
        ~Repeat() { m_in.m_map = m_map; }

    private:
        BlockReader& m_in;
        BlockMap* m_map;
    };

    /// Moves back to a byte of the file. Until the returned scope ends, no place is recorded.
    [[nodiscard]] Repeat From(std::uint64_t offset) { return {*this, offset}; }

    /// True if places are recorded, so that they are worth computing.
    bool IsTraced() const { return Traced() != nullptr; }

    /// Records a range of bytes as a block, or as a field of the current block.
    void Note(Block block, std::uint64_t offset, std::uint64_t end, std::int64_t number = Step::kOnly)
    {
        if (BlockMap* map = Traced())
            map->Note({block, number}, offset, end);
    }

    /// Limits the memory budget to `bytes`.
    void LimitMemory(std::uint64_t bytes) { m_limit = bytes; }

    /// Bytes of memory requested so far, including their overhead.
    std::uint64_t Spent() const { return m_spent; }

    /// Returns the next count * size bytes; null after a failure.
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

    /// Takes the bytes of a block or field in the same way, and records its place.
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

    /// Returns the next value, little-endian, at any alignment; 0 after a failure.
    /// field  the block or field that it is, if its place is to be recorded
    template <class T>
    T Value(auto... field)
    {
        static_assert(std::is_arithmetic_v<T>);
        T value{};
        if (const unsigned char* bytes = Take(field..., 1, sizeof(T)))
            std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    /// Returns true if the budget allows this many more bytes of memory. Otherwise the reader has failed.
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

    /// Takes memory from the budget; call it before each allocation. Each call also counts the overhead of an
    /// allocation, because a file can request many small ones. Returns false if the budget does not allow it; the
    /// reader has then failed.
    bool Spend(std::uint64_t bytes)
    {
        if (!Affords(bytes))
            return false;
        m_spent += std::min(bytes + kBookkeeping, Budget() - m_spent);
        return true;
    }

    /// Continues the budget of a load of several files: takes over what `load` has used and may use, and adds what a
    /// further file of imageBytes allows.
    void JoinBudget(const BlockReader& load, std::uint64_t imageBytes)
    {
        m_spent = load.m_spent;
        m_limit = load.m_limit;
        m_imageBytes =
            load.m_imageBytes > kUnknownSize - imageBytes ? kUnknownSize : load.m_imageBytes + imageBytes;
    }

    /// Fails at a byte of the file. Later calls do nothing. For the arguments see Refusal.
    void RefuseAt(std::uint64_t offset, ErrorKind kind, std::uint64_t needed, std::uint64_t left);

    /// Reads a count. Fails if it exceeds its limit.
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

    /// The position in bytes from the start of the file.
    std::uint64_t Offset() const { return m_offset; }

    /// Where the next read starts; null after a failure, so it can be returned as the result of a block reader.
    const unsigned char* Position() const { return Failed() ? nullptr : m_start + m_offset; }

private:
    BlockMap* Traced() const { return Failed() ? nullptr : m_map; }

    static constexpr unsigned char kNothing = 0;
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;
    static constexpr std::uint64_t kBookkeeping = 64;  // reference counts, an owner, rounding

    // With an end before the start there is nothing to read.
    static std::uint64_t SizeOf(const unsigned char* data, const unsigned char* end)
    {
        if (!end)
            return kUnknownSize;
        return end > data ? static_cast<std::uint64_t>(end - data) : 0;
    }

    std::uint64_t Budget() const { return std::max(std::min(FileBudget(), m_limit), m_spent); }

    // The memory that all files together allow.
    std::uint64_t FileBudget() const
    {
        return m_imageBytes > (UINT64_MAX - kMemoryBase) / kMemoryPerByte
                   ? UINT64_MAX
                   : m_imageBytes * kMemoryPerByte + kMemoryBase;
    }

    // Adds the block to the refusal of its own run.
    void NameRefused(Block block);

    const unsigned char* m_start;
    std::uint64_t m_size;
    std::uint64_t m_imageBytes = m_size;  // bytes of all files that allow memory
    std::uint64_t m_offset = 0;
    std::uint64_t m_spent = 0;
    std::uint64_t m_limit = UINT64_MAX;
    Step m_steps[Refusal::kDeepest];  // of the open scopes
    std::size_t m_depth = 0;
    BlockMap* m_map = nullptr;
    Refusal m_refusal;
};

}  // namespace vela::vlgim::io
