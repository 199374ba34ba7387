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

// Smaller blocks the C library mostly has in hand.
constexpr std::size_t kLeastFresh = std::size_t{128} << 10;

// From here on zeroing one huge page is cheaper than to take the faults of the small ones.
constexpr std::size_t kLeastHuge = std::size_t{1} << 20;

// Of smaller blocks the system is asked about the first of a process. By then it has its memory, and to ask about two
// blocks takes a quarter of the time in which a mesh of 131 KB comes from its path.
constexpr unsigned kBlocksAskedAbout = 32;
std::atomic<unsigned> askedAbout;

// Blocks that end where the sanitizer sees it.
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

// The first address from here on that is a multiple of the unit.
unsigned char* AlignUp(void* memory, std::size_t unit)
{
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    return static_cast<unsigned char*>(memory) + (RoundUp(address, unit) - address);
}

// Puts the pages of a block in place if they are not. A first load of 144 KB takes four fifths of the time, one of 29 MB
// on huge pages a twentieth. Where the system knows better or does not know how, nothing is lost but the call.
void ReadyPages(unsigned char* block, std::size_t bytes)
{
    unsigned char* const first = AlignUp(block, kPage);
    const std::size_t size = RoundDown(bytes - static_cast<std::size_t>(first - block), kPage);
    if (platform::IsResident(first + size - kPage))
        return;
    if (bytes >= kLeastHuge) {
        platform::PreferHugePages(first, RoundUp(bytes, kHugePage));
        *static_cast<volatile unsigned char*>(first) = 0;
        // One touch has brought more than its own page: the others come as huge ones, best at the copy.
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
    std::memcpy(block + bytes, &memory, sizeof memory);  // for the way back
    return block;
}

void FreeBlock(void* block, std::size_t bytes) noexcept
{
    if (!kIsPlain && bytes >= kLeastHuge)
        std::memcpy(&block, static_cast<unsigned char*>(block) + bytes, sizeof block);
    ::operator delete(block);
}

}  // namespace kit
