#pragma once

#include <vlgim/Export.h>

#include <cstddef>
#include <new>
#include <utility>

namespace kit {

/// Memory from operator new, not initialised, 16-byte aligned. Throws std::bad_alloc.
///
/// Memory that is fresh from the system is made ready, since a page that is touched first inside a copy costs more than
/// the copy. Blocks of 1 MiB and more lie on huge pages of their own where the system has them, of which the last may
/// be filled in part alone, with up to 2 MiB of addresses around them that nobody touches; where it has none, and for
/// the first blocks of a process from 128 KiB on, all pages are in place. Memory that the process has used before
/// comes as it is.
VLGIM_API void* AllocateBlock(std::size_t bytes);

/// Frees what AllocateBlock gave, which is never null, for the same number of bytes.
VLGIM_API void FreeBlock(void* block, std::size_t bytes) noexcept;

/// What AllocateBlock asks of operator new: more than the bytes from 1 MiB on.
VLGIM_API std::size_t BlockFootprint(std::size_t bytes);

/// Allocates blocks, and leaves new elements uninitialised: large ones would be zeroed only to be overwritten.
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

    template <class U, class... Args>
    void construct(U* place, Args&&... args)
    {
        if constexpr (sizeof...(Args) == 0)
            ::new (static_cast<void*>(place)) U;
        else
            ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }

    friend bool operator==(const BlockAllocator&, const BlockAllocator&) { return true; }
};

}  // namespace kit
