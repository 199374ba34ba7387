#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <new>

namespace kit {

/// Allocates memory from operator new: aligned to 16 bytes, not initialised.
/// bytes  size of the block
/// Throws std::bad_alloc.
///
/// New memory from the system has no pages yet. The first write to such a page costs more than copying a page of data,
/// so some blocks get their pages here, all at once:
/// - A block of 1 MiB or more starts at a multiple of 2 MiB. If it is new memory, it gets huge pages if the system has
///   them, and otherwise normal pages. Up to 2 MiB of addresses before the block are unused, and the last huge page can
///   be partly unused.
/// - A block from 128 KiB up to 1 MiB gets its pages if it is new memory and one of the first 32 such blocks of the
///   process.
/// All other memory is returned as operator new gives it. Under AddressSanitizer this holds for every block.
VLGIM_API void* AllocateBlock(std::size_t bytes);

/// Frees a block from AllocateBlock.
/// block  not null
/// bytes  the same size as for AllocateBlock
VLGIM_API void FreeBlock(void* block, std::size_t bytes) noexcept;

/// An allocator that uses AllocateBlock. It leaves new elements uninitialised, because large arrays would be zeroed
/// only to be overwritten.
template <class T>
struct BlockAllocator {
    using value_type = T;

    BlockAllocator() = default;
    template <class U>
    BlockAllocator(const BlockAllocator<U>&)
    {
    }

    T* allocate(std::size_t count)
    {
        if (count > static_cast<std::size_t>(-1) / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(AllocateBlock(count * sizeof(T)));
    }

    void deallocate(T* block, std::size_t count) noexcept { FreeBlock(block, count * sizeof(T)); }

    template <class U>
    void construct(U* place)
    {
        ::new (static_cast<void*>(place)) U;
    }

    friend bool operator==(const BlockAllocator&, const BlockAllocator&) { return true; }
};

}  // namespace kit
