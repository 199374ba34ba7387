#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>
#include <basekit/BlockFootprint.h>
#include <platform/Pages.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>

namespace kit {

namespace platform = vela::platform;
namespace {

constexpr std::size_t kHugePage = platform::kHugePageSize;

// The C library usually has memory for smaller blocks, so they need no new pages.
constexpr std::size_t kLeastFresh = std::size_t{128} << 10;

// From this size on, zeroing one huge page costs less than the page faults of the small pages.
constexpr std::size_t kLeastHuge = std::size_t{1} << 20;

// Number of blocks below kLeastHuge that are tested for missing pages. After that many, a process usually reuses its
// memory. Testing two blocks takes a quarter of the time of loading a mesh of 131 KB from its path.
constexpr unsigned kBlocksAskedAbout = 32;
std::atomic<unsigned> askedAbout;

// Under AddressSanitizer each block is a plain allocation, so that the sanitizer knows where it ends.
#ifdef VLGIM_ADDRESS_SANITIZER
constexpr bool kIsPlain = true;
#else
constexpr bool kIsPlain = false;
#endif

}  // namespace

std::size_t BlockFootprint(std::size_t bytes)
{
    if (bytes < kLeastHuge || bytes > PTRDIFF_MAX - 2 * kHugePage)
        return bytes;
    return (bytes + sizeof(void*) + kHugePage - 1) / kHugePage * kHugePage + kHugePage;
}

// With the pages populated at once, a first load of 144 KB takes four fifths of the time, and one of 29 MB on huge
// pages a twentieth. A system that ignores or lacks these requests only wastes the calls.
void* AllocateBlock(std::size_t bytes)
{
    if (kIsPlain)
        return ::operator new(bytes);
    std::size_t space = BlockFootprint(bytes);
    void* const memory = ::operator new(space);
    if (bytes < kLeastHuge) {
        if (bytes >= kLeastFresh && askedAbout.fetch_add(1, std::memory_order_relaxed) < kBlocksAskedAbout)
            platform::PopulatePages(memory, bytes, false);
        return memory;
    }
    void* block = memory;
    std::align(kHugePage, bytes + sizeof memory, block, space);
    platform::PopulatePages(block, bytes, true);
    std::memcpy(static_cast<unsigned char*>(block) + bytes, &memory, sizeof memory);  // for FreeBlock
    return block;
}

void FreeBlock(void* block, std::size_t bytes) noexcept
{
    if (!kIsPlain && bytes >= kLeastHuge)
        std::memcpy(&block, static_cast<unsigned char*>(block) + bytes, sizeof block);
    ::operator delete(block);
}

}  // namespace kit
