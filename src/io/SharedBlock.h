#pragma once

#include <vlgim/Array.h>

#include <atomic>
#include <cstddef>

// How the memory of arrays is laid out. A block holds the elements of one array or of several, each with its count in
// front of it. Whoever drops an array touches the front of the block alone, which is in the cache.
namespace vela::vlgim {

/// In front of a block, whose arrays count as its owners.
struct detail::SharedBlock {
    std::atomic<std::size_t> owners;
    std::size_t size;  ///< in bytes, with this
};

namespace io {

/// In front of the elements of an array.
struct ElementsHead {
    std::size_t padding;
    std::size_t count;
};

// Elements stand at multiples of this.
inline constexpr std::size_t kElementsAlignment = 16;
static_assert(sizeof(detail::SharedBlock) == kElementsAlignment &&
              sizeof(ElementsHead) == kElementsAlignment);

}  // namespace io

}  // namespace vela::vlgim
