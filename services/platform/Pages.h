#pragma once

#include <cstddef>

// The memory pages of new allocations.
namespace vela::platform {

inline constexpr std::size_t kHugePageSize = std::size_t{2} << 20;

/// Gives memory to all pages of a range that is about to be written, unless its last page has some. This only improves
/// speed. On a system without such a function it does nothing.
/// first           start of the range, which contains at least two whole pages
/// size            in bytes
/// wantsHugePages  requests huge pages, up to the end of the last one
void PopulatePages(void* first, std::size_t size, bool wantsHugePages);

}  // namespace vela::platform
