#pragma once

#include "BlockReader.h"

#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>

#include <cstdint>
#include <memory>
#include <new>

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
        std::uint64_t offset = 0;  ///< in bytes
        std::uint64_t count = 0;   ///< in elements
    };

    /// Makes room for count elements. Sizes that pass 64 bits stay at the largest, which nothing can
    /// allocate.
    template <class T>
    Slot<T> Plan(std::uint64_t count)
    {
        static_assert(alignof(T) <= sizeof(Chunk));
        const Slot<T> slot{m_size, count};
        const std::uint64_t most = UINT64_MAX - sizeof(Chunk) - m_size;
        m_size = count > most / sizeof(T)
                     ? UINT64_MAX - sizeof(Chunk)
                     : (m_size + count * sizeof(T) + sizeof(Chunk) - 1) & ~(sizeof(Chunk) - 1);
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
        // One more chunk, so that an empty array at the end has an address inside the block.
        m_block = std::allocate_shared_for_overwrite<Chunk[]>(kit::BlockAllocator<Chunk>(),
                                                              m_size / sizeof(Chunk) + 1);
#endif
        return true;
    }

    /// The array of a slot: never null, even without elements. Once for each slot.
    template <class T>
    std::shared_ptr<T[]> Array(Slot<T> slot) const
    {
#ifdef VLGIM_ADDRESS_SANITIZER
        // Not make_shared, which pads the array with bytes that the sanitizer takes for the array's own.
        return std::shared_ptr<T[]>(new T[static_cast<std::size_t>(slot.count)]);
#else
        return {m_block, reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(m_block.get()) + slot.offset)};
#endif
    }

private:
    struct alignas(16) Chunk {
        unsigned char bytes[16];
    };

    // With the chunk at its end and the counts of its owners.
    std::uint64_t Footprint() const
    {
        constexpr std::uint64_t kAround = 8 * sizeof(Chunk);
        return m_size > PTRDIFF_MAX ? m_size : kit::BlockFootprint(m_size + kAround);
    }

    std::uint64_t m_size = 0;
    std::shared_ptr<Chunk[]> m_block;
};

}  // namespace vela::vlgim::io
