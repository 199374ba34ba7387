#include <platform/Pages.h>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace platform {

#ifdef __linux__

namespace {

// Linux 5.14 brought it; older systems refuse it, and older headers do not name it.
constexpr int kPopulateForWriting = 23;

}  // namespace

bool IsResident(unsigned char* page)
{
    unsigned char resident = 0;
    return ::mincore(page, kPageSize, &resident) == 0 && (resident & 1) != 0;
}

void PreferHugePages(unsigned char* first, std::size_t size)
{
    ::madvise(first, size, MADV_HUGEPAGE);
}

void PopulatePages(unsigned char* first, std::size_t size)
{
    ::madvise(first, size, kPopulateForWriting);
}

#else

bool IsResident(unsigned char*)
{
    return true;
}

void PreferHugePages(unsigned char*, std::size_t) {}

void PopulatePages(unsigned char*, std::size_t) {}

#endif

}  // namespace platform
