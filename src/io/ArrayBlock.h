#pragma once

#include "BlockReader.h"
#include "SharedBlock.h"

#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>
#include <vlgim/Array.h>

#include <cstdint>
#include <new>
#include <utility>

namespace vela::vlgim::io {

/// Memory for all the arrays of one read, in one allocation. Large arrays of their own would go back to the
/// system after every model, and their pages would be faulted in anew for the next; one block stays.
///
/// Plan each array, allocate once, then take each array. The arrays share the block and keep it alive; each
/// starts at a multiple of 16 bytes, and none is initialised. Under AddressSanitizer each array gets an
/// allocation of its own, so that running over an array's end is seen.
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

    /// Makes room for count elements. Sizes that pass 64 bits stay at the largest, which nothing can
    /// allocate.
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

    /// Whether the budget of the file that is read allows for what has been planned; where not, `in` has failed.
    bool IsAffordable(BlockReader& in) const { return in.Affords(Footprint()); }

    /// Allocates what was planned: false, and `in` has failed, where the budget of the file does not allow it.
    /// Throws std::bad_alloc where the system does not.
    bool Allocate(BlockReader& in)
    {
        if (!in.Spend(Footprint()))
            return false;
        if (m_size > PTRDIFF_MAX)
            throw std::bad_alloc();
#ifndef VLGIM_ADDRESS_SANITIZER
        m_block = new (kit::AllocateBlock(m_size)) detail::SharedBlock{1, m_size};
#endif
        return true;
    }

    /// The array of a slot: never null, even without elements. Once for each slot.
    template <class T>
    vlgim::Array<T> Array(Slot<T> slot) const
    {
#ifdef VLGIM_ADDRESS_SANITIZER
        return vlgim::Array<T>::ForOverwrite(static_cast<std::size_t>(slot.count));
#else
        // No other thread has any of the arrays yet.
        m_block->owners.store(m_block->owners.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        auto* const elements = reinterpret_cast<unsigned char*>(m_block) + slot.offset;
        new (elements - sizeof(ElementsHead)) ElementsHead{0, static_cast<std::size_t>(slot.count)};
        return vlgim::Array<T>::Adopt(reinterpret_cast<T*>(elements), m_block);
#endif
    }

private:
    // With what stands around each array under the sanitizer.
    std::uint64_t Footprint() const
    {
        return m_size > PTRDIFF_MAX ? m_size : kit::BlockFootprint(m_size);
    }

    std::uint64_t m_size = sizeof(detail::SharedBlock);
    detail::SharedBlock* m_block = nullptr;
};

}  // namespace vela::vlgim::io
