#include <platform/Pages.h>

#ifdef __linux__
#include <memory>
#include <sys/mman.h>
#endif

namespace vela::platform {

#ifdef __linux__

namespace {

// Where pages are larger, the system refuses the requests.
constexpr std::size_t kPageSize = 4096;

// Linux 5.14 brought it; older systems refuse it, and older headers do not name it.
constexpr int kPopulateForWriting = 23;

bool IsResident(unsigned char* page)
{
    unsigned char resident = 0;
    return ::mincore(page, kPageSize, &resident) == 0 && (resident & 1) != 0;
}

}  // namespace

void PopulatePages(void* first, std::size_t size, bool wantsHugePages)
{
    std::size_t whole = size;
    auto* const page = static_cast<unsigned char*>(std::align(kPageSize, kPageSize, first, whole));
    whole -= whole % kPageSize;
    if (IsResident(page + whole - kPageSize))
        return;
    if (wantsHugePages) {
        ::madvise(page, (size + kHugePageSize - 1) / kHugePageSize * kHugePageSize, MADV_HUGEPAGE);
        *static_cast<volatile unsigned char*>(page) = 0;
        // If one write brought more than its own page, the pages are huge. The others are then left to the copy.
        if (IsResident(page + kPageSize))
            return;
    }
    ::madvise(page, whole, kPopulateForWriting);
}

#else

void PopulatePages(void*, std::size_t, bool) {}

#endif

}  // namespace vela::platform
