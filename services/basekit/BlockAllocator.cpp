#include <basekit/AddressSanitizer.h>
#include <basekit/BlockAllocator.h>
#include <platform/Pages.h>

#include <atomic>
#include <cstdint>
#include <cstring>

namespace kit {

namespace {

constexpr std::size_t kPage = platform::kPageSize;
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

std::size_t RoundDown(std::size_t size, std::size_t unit)
{
    return size & ~(unit - 1);
}

std::size_t RoundUp(std::size_t size, std::size_t unit)
{
    return RoundDown(size + unit - 1, unit);
}

// The first address at or after `memory` that is a multiple of the unit.
unsigned char* AlignUp(void* memory, std::size_t unit)
{
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    return static_cast<unsigned char*>(memory) + (RoundUp(address, unit) - address);
}

// Gives a block its pages if it has none. A first load of 144 KB then takes four fifths of its time, one of 29 MB on
// huge pages a twentieth. On a system that ignores or lacks these requests only the calls are wasted.
void ReadyPages(unsigned char* block, std::size_t bytes)
{
    unsigned char* const first = AlignUp(block, kPage);
    const std::size_t size = RoundDown(bytes - static_cast<std::size_t>(first - block), kPage);
    if (platform::IsResident(first + size - kPage))
        return;
    if (bytes >= kLeastHuge) {
        platform::PreferHugePages(first, RoundUp(bytes, kHugePage));
        *static_cast<volatile unsigned char*>(first) = 0;
        // If one write brought more than its own page, the pages are huge. The others are then left to the copy.
        if (platform::IsResident(first + kPage))
            return;
    }
    platform::PopulatePages(first, size);
}

}  // namespace

std::size_t BlockFootprint(std::size_t bytes)
{
    if (bytes < kLeastHuge || bytes > PTRDIFF_MAX - 2 * kHugePage)
        return bytes;
    return RoundUp(bytes + sizeof(void*), kHugePage) + kHugePage;
}

void* AllocateBlock(std::size_t bytes)
{
    if (kIsPlain)
        return ::operator new(bytes);
    void* const memory = ::operator new(BlockFootprint(bytes));
    if (bytes < kLeastHuge) {
        if (bytes >= kLeastFresh && askedAbout.fetch_add(1, std::memory_order_relaxed) < kBlocksAskedAbout)
            ReadyPages(static_cast<unsigned char*>(memory), bytes);
        return memory;
    }
    unsigned char* const block = AlignUp(memory, kHugePage);
    ReadyPages(block, bytes);
    std::memcpy(block + bytes, &memory, sizeof memory);  // for FreeBlock
    return block;
}

void FreeBlock(void* block, std::size_t bytes) noexcept
{
    if (!kIsPlain && bytes >= kLeastHuge)
        std::memcpy(&block, static_cast<unsigned char*>(block) + bytes, sizeof block);
    ::operator delete(block);
}

}  // namespace kit
