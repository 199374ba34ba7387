#pragma once

#include <cstddef>

// The memory pages of new allocations. These functions only improve speed. On a system without such a function they do
// nothing.
namespace platform {

inline constexpr std::size_t kPageSize = 4096;
inline constexpr std::size_t kHugePageSize = std::size_t{2} << 20;

/// True if the page has memory, or if the system can't tell.
/// page  a multiple of the page size
bool IsResident(unsigned char* page);

/// Requests huge pages for a range.
/// first, size  multiples of the page size
void PreferHugePages(unsigned char* first, std::size_t size);

/// Gives memory to all pages of a range that is about to be written.
/// first, size  multiples of the page size
void PopulatePages(unsigned char* first, std::size_t size);

}  // namespace platform
