#pragma once

#include <cstddef>

// The pages behind fresh memory. All of this is for speed alone: where a system has no such thing, nothing happens.
namespace platform {

inline constexpr std::size_t kPageSize = 4096;
inline constexpr std::size_t kHugePageSize = std::size_t{2} << 20;

/// Whether the page at this address, a multiple of its size, has memory behind it; true where nobody can tell.
bool IsResident(unsigned char* page);

/// Asks for huge pages behind a range; both numbers are multiples of the page size.
void PreferHugePages(unsigned char* first, std::size_t size);

/// Puts memory behind all pages of a range, which is about to be written.
void PopulatePages(unsigned char* first, std::size_t size);

}  // namespace platform
