#pragma once

#include <cstddef>

namespace kit {

/// Returns the bytes that AllocateBlock requests from operator new for a block of this size. From 1 MiB on these are
/// more than the size.
std::size_t BlockFootprint(std::size_t bytes);

}  // namespace kit
