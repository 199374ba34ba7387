#pragma once

#include "BlockReader.h"

#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>
#include <basekit/BlockFootprint.h>
#include <vlgim/Array.h>

#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace vela::vlgim {

/// The start of a block: memory that has the elements of one or several arrays. The number of elements is stored before
/// each array. Releasing an array only touches the start of its block, which is in the cache.
struct detail::SharedBlock {
    std::atomic<std::size_t> owners;
    std::size_t size;  ///< in bytes, including this head

    /// Makes an array of elements in this block, as one more owner. No other thread may have any of its arrays yet.
    template <class T>
    Array<T> Share(T* elements)
    {
        owners.store(owners.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return {elements, this};
    }
};

namespace io {

/// Stored before the elements of each array.
struct ElementsHead {
    std::size_t padding;
    std::size_t count;
};

// Elements start at multiples of this.
inline constexpr std::size_t kElementsAlignment = 16;
static_assert(sizeof(detail::SharedBlock) == kElementsAlignment &&
              sizeof(ElementsHead) == kElementsAlignment);

/// The memory of all arrays of one read, in one allocation. The C library returns large separate arrays to the system
/// after each model, and the next model faults their pages in again. One block stays.
///
/// Plan each array, allocate once, then take each array. The arrays share the block and keep it alive. Each starts at a
/// multiple of 16 bytes, and none is initialised. Under AddressSanitizer each array is an allocation of its own, so
/// that an access after its end is found.
class ArrayBlock {
public:
    template <class T>
    struct Slot {
        std::uint64_t offset = 0;  ///< of the first element, in bytes
        std::uint64_t count = 0;   ///< in elements
    };

    ArrayBlock() = default;
    ArrayBlock(const ArrayBlock&) = delete;
    ArrayBlock& operator=(const ArrayBlock&) = delete;
    ~ArrayBlock()
    {
        if (m_block && detail::RemoveOwner(m_block))
            detail::FreeBlock(m_block);
    }

    /// Plans an array of `count` elements. If the size of the block exceeds 64 bits, it stays at the largest value,
    /// which can't be allocated.
    template <class T>
    Slot<T> Plan(std::uint64_t count)
    {
        static_assert(alignof(T) <= kElementsAlignment && std::is_trivially_destructible_v<T>);
        constexpr std::uint64_t kMost = UINT64_MAX - 2 * kElementsAlignment;
        const Slot<T> slot{m_size + sizeof(ElementsHead), count};
        m_size = m_size > kMost || count > (kMost - m_size) / sizeof(T)
                     ? UINT64_MAX
                     : (slot.offset + count * sizeof(T) + kElementsAlignment - 1) & ~(kElementsAlignment - 1);
        return slot;
    }

    /// True if the memory budget of the file allows what has been planned. Otherwise `in` has failed.
    bool IsAffordable(BlockReader& in) const { return in.Affords(Footprint()); }

    /// Allocates what was planned. Returns false if the memory budget of the file does not allow it; `in` has then
    /// failed. Throws std::bad_alloc.
    bool Allocate(BlockReader& in)
    {
        if (m_size >= kLeastSkewed && m_size < PTRDIFF_MAX - kSkew)
            m_size += m_skew = kSkew;
        if (!in.Spend(Footprint()))
            return false;
        if (m_size > PTRDIFF_MAX)
            throw std::bad_alloc();
#ifndef VLGIM_ADDRESS_SANITIZER
        m_block = new (kit::AllocateBlock(m_size)) detail::SharedBlock{1, m_size};
#endif
        return true;
    }

    /// Returns the array of a slot; not null, even without elements. Call it once for each slot.
    template <class T>
    vlgim::Array<T> Array(Slot<T> slot) const
    {
        assert(slot.offset + slot.count * sizeof(T) <= m_size);
#ifdef VLGIM_ADDRESS_SANITIZER
        return vlgim::Array<T>::ForOverwrite(static_cast<std::size_t>(slot.count));
#else
        auto* const elements = reinterpret_cast<unsigned char*>(m_block) + m_skew + slot.offset;
        new (elements - sizeof(ElementsHead)) ElementsHead{0, static_cast<std::size_t>(slot.count)};
        return m_block->Share(reinterpret_cast<T*>(elements));
#endif
    }

private:
    // Large blocks and the images of large files start at a page, and arrays come in the order of the file. Without a
    // skew each array would lie just after the place in its page that it is copied from, which is slow (see
    // kit::CopyBytes). Just before it is fastest.
    static constexpr std::uint64_t kSkew = 4096 - 320, kLeastSkewed = std::uint64_t{128} << 10;

    // With the memory that the allocator adds to a block.
    std::uint64_t Footprint() const
    {
        return m_size > PTRDIFF_MAX ? m_size : kit::BlockFootprint(m_size);
    }

    std::uint64_t m_size = sizeof(detail::SharedBlock), m_skew = 0;
    detail::SharedBlock* m_block = nullptr;
};

/// One of the two passes in which the same functions read blocks of many arrays. The first pass plans the arrays. The
/// second one starts at the same byte, plans the same arrays and fills them, so nothing of the first has to be kept.
struct Pass {
    BlockReader& in;
    ArrayBlock& plan;
    const ArrayBlock* arrays = nullptr;  ///< null in the first pass; then what it has planned

    /// Plans an array, and makes it in the second pass. Returns true if it was made.
    template <class T>
    bool Make(vlgim::Array<T>& array, std::uint64_t count) const
    {
        const auto slot = plan.Plan<T>(count);
        if (arrays)
            array = arrays->Array(slot);
        return arrays != nullptr;
    }

    /// Does the same for the next `count` elements, which are a block or field of the file, and copies them.
    template <class T>
    bool Take(Block block, vlgim::Array<T>& array, std::uint64_t count) const
    {
        const unsigned char* run = in.Take(block, count, sizeof(T));
        const bool isMade = Make(array, count);
        if (isMade)
            CopyRun(array.data(), run, count);
        return isMade;
    }
};

/// Calls read(pass) for both passes. There is no second pass if `in` has failed in the first, or if the memory budget of
/// the file does not allow the arrays; `in` has then failed. Throws std::bad_alloc.
template <class Read>
void ReadTwice(BlockReader& in, Read read)
{
    const std::uint64_t start = in.Offset();
    ArrayBlock arrays, plan;
    read(Pass{in, arrays});
    if (!arrays.Allocate(in))
        return;
    const auto repeat = in.From(start);
    read(Pass{in, plan, &arrays});
}

}  // namespace io

}  // namespace vela::vlgim
