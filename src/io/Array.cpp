#include <vlgim/Array.h>

#include "SharedBlock.h"

#include <basekit/BlockAllocator.h>
#include <platform/Threads.h>

#include <cstdint>
#include <new>

namespace vela::vlgim::detail {

namespace {

io::SharedBlock& BlockOf(const void* elements)
{
    return *static_cast<const io::ElementsHead*>(elements)[-1].block;
}

}  // namespace

void* NewElements(std::size_t count, std::size_t size)
{
    constexpr std::size_t kHeads = sizeof(io::SharedBlock) + sizeof(io::ElementsHead);
    if (count > (PTRDIFF_MAX - kHeads) / size)
        throw std::bad_array_new_length();
    const std::size_t bytes = kHeads + count * size;
    auto* const block = new (kit::AllocateBlock(bytes)) io::SharedBlock{1, bytes};
    return new (block + 1) io::ElementsHead{block, count} + 1;
}

void AddOwner(const void* elements) noexcept
{
    std::atomic<std::size_t>& owners = BlockOf(elements).owners;
    if (platform::IsSingleThreaded())
        owners.store(owners.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    else
        owners.fetch_add(1, std::memory_order_relaxed);
}

bool RemoveOwner(const void* elements) noexcept
{
    std::atomic<std::size_t>& owners = BlockOf(elements).owners;
    if (!platform::IsSingleThreaded())
        return owners.fetch_sub(1, std::memory_order_acq_rel) == 1;
    const std::size_t left = owners.load(std::memory_order_relaxed) - 1;
    owners.store(left, std::memory_order_relaxed);
    return left == 0;
}

void FreeElements(void* elements) noexcept
{
    io::SharedBlock& block = BlockOf(elements);
    kit::FreeBlock(&block, block.size);
}

}  // namespace vela::vlgim::detail
