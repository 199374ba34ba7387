#pragma once

#include <vlgim/Export.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace vela::vlgim {

namespace detail {

/// Memory that arrays share. Only the library knows its layout.
struct SharedBlock;

/// Allocates a block with one owner. It has room for `count` elements of `size` bytes each, which are not initialised.
/// elements  receives the address of the first element, a multiple of 16
/// Throws std::bad_alloc or std::bad_array_new_length.
VLGIM_API SharedBlock* NewBlock(std::size_t count, std::size_t size, void*& elements);

/// Adds an owner.
VLGIM_API void AddOwner(SharedBlock* block) noexcept;

/// Removes an owner. Returns true if it was the last one, which then has to call FreeBlock.
VLGIM_API bool RemoveOwner(SharedBlock* block) noexcept;

/// Frees a block without owners. The elements have to be destroyed before.
VLGIM_API void FreeBlock(SharedBlock* block) noexcept;

/// The number of elements of an array. It is stored in front of the first element.
inline std::size_t ElementCount(const void* elements) noexcept
{
    return static_cast<const std::size_t*>(elements)[-1];
}

}  // namespace detail

/// A shared array that knows its length. A copy shares the elements of its source: an edit through one of them is
/// visible through the other. Clone() makes an array with elements of its own. The elements live as long as the last
/// array that shares them. A default-constructed array is null: its size() is 0 and its data() is null.
///
/// A const Array can't be made to share other elements, but its elements can be written, as with a `T* const`.
/// Arrays convert to std::span. Copies may be used on different threads; access to the elements is not synchronised.
template <class T>
class Array {
public:
    using value_type = T;

    Array() noexcept = default;

    /// A null array. It is a template so that Array(0) makes an array of no elements.
    template <class Null>
    requires std::is_null_pointer_v<Null> Array(Null)
    noexcept {}

    /// Makes `count` elements of value 0, or default-constructed ones if T is a class with a constructor of its own.
    /// With a count of 0 the array is empty, but not null. Throws std::bad_alloc.
    explicit Array(std::size_t count) : Array(ForOverwrite(count))
    {
        if constexpr (std::is_trivially_default_constructible_v<T>)
            std::uninitialized_value_construct_n(m_elements, count);
    }

    /// Makes `count` copies of a value.
    Array(std::size_t count, const T& value) : Array(ForOverwrite(count))
    {
        std::fill_n(m_elements, count, value);
    }

    /// Makes elements of its own, which are copies of the values.
    Array(std::initializer_list<T> values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }
    Array(const std::vector<T>& values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }

    Array(const Array& other) noexcept : m_elements(other.m_elements), m_block(other.m_block)
    {
        if (m_block)
            detail::AddOwner(m_block);
    }
    Array(Array&& other) noexcept
        : m_elements(std::exchange(other.m_elements, nullptr)), m_block(std::exchange(other.m_block, nullptr))
    {
    }
    Array& operator=(Array other) noexcept
    {
        std::swap(m_elements, other.m_elements);
        std::swap(m_block, other.m_block);
        return *this;
    }
    ~Array()
    {
        if (!m_block || !detail::RemoveOwner(m_block))
            return;
        if constexpr (!std::is_trivially_destructible_v<T>)
            std::destroy_n(m_elements, size());
        detail::FreeBlock(m_block);
    }

    /// Makes `count` elements. Elements of a plain type are not initialised: the caller has to write each of them.
    /// Throws std::bad_alloc.
    static Array ForOverwrite(std::size_t count)
    {
        static_assert(alignof(T) <= 16);
        void* elements = nullptr;
        detail::SharedBlock* const block = detail::NewBlock(count, sizeof(T), elements);
        try {
            std::uninitialized_default_construct_n(static_cast<T*>(elements), count);
        } catch (...) {
            detail::FreeBlock(block);
            throw;
        }
        return {static_cast<T*>(elements), block};
    }

    /// Returns an array of copies of the elements. Elements that are or contain arrays still share theirs with the
    /// originals. The clone of a null array is null. Throws std::bad_alloc.
    [[nodiscard]] Array Clone() const
    {
        if (!m_elements)
            return nullptr;
        Array copy = ForOverwrite(size());
        std::copy(begin(), end(), copy.begin());
        return copy;
    }

    [[nodiscard]] std::size_t size() const noexcept
    {
        return m_elements ? detail::ElementCount(m_elements) : 0;
    }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] T* data() const noexcept { return m_elements; }
    [[nodiscard]] T* get() const noexcept { return m_elements; }
    [[nodiscard]] T* begin() const noexcept { return m_elements; }
    [[nodiscard]] T* end() const noexcept { return m_elements ? m_elements + size() : nullptr; }

    /// index has to be below size(). Debug builds assert this; other builds do not check it.
    T& operator[](std::size_t index) const noexcept
    {
        assert(index < size());
        return m_elements[index];
    }

    /// True if the array is not null. An array without elements can be either.
    explicit operator bool() const noexcept { return m_elements != nullptr; }
    friend bool operator==(const Array& array, std::nullptr_t) noexcept { return !array.m_elements; }

    /// True if two arrays share the same elements in memory. Use std::ranges::equal to compare values.
    friend bool operator==(const Array& a, const Array& b) noexcept { return a.m_elements == b.m_elements; }

private:
    friend detail::SharedBlock;

    // Takes over one owner of the block that the elements lie in.
    Array(T* elements, detail::SharedBlock* block) noexcept : m_elements(elements), m_block(block) {}

    T* m_elements = nullptr;  // their number is stored in front of them
    detail::SharedBlock* m_block = nullptr;
};

}  // namespace vela::vlgim
