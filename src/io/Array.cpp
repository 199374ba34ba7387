#include "ArrayBlock.h"

#include <basekit/BlockAllocator.h>
#include <platform/Threads.h>

#include <cstdint>
#include <new>

namespace vela::vlgim::detail {

SharedBlock* NewBlock(std::size_t count, std::size_t size, void*& elements)
{
    constexpr std::size_t kHeads = sizeof(SharedBlock) + sizeof(io::ElementsHead);
    if (count > (PTRDIFF_MAX - kHeads) / size)
        throw std::bad_array_new_length();
    const std::size_t bytes = kHeads + count * size;
    auto* const block = new (kit::AllocateBlock(bytes)) SharedBlock{1, bytes};
    elements = new (block + 1) io::ElementsHead{0, count} + 1;
    return block;
}

void AddOwner(SharedBlock* block) noexcept
{
    std::atomic<std::size_t>& owners = block->owners;
    if (platform::IsSingleThreaded())
        owners.store(owners.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    else
        owners.fetch_add(1, std::memory_order_relaxed);
}

bool RemoveOwner(SharedBlock* block) noexcept
{
    std::atomic<std::size_t>& owners = block->owners;
    if (!platform::IsSingleThreaded())
        return owners.fetch_sub(1, std::memory_order_acq_rel) == 1;
    const std::size_t left = owners.load(std::memory_order_relaxed) - 1;
    owners.store(left, std::memory_order_relaxed);
    return left == 0;
}

void FreeBlock(SharedBlock* block) noexcept
{
    kit::FreeBlock(block, block->size);
}

}  // namespace vela::vlgim::detail
