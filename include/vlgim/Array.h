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

/// Memory for `count` elements of `size` bytes each, at a multiple of 16, not initialised, with one owner.
/// Throws std::bad_alloc or std::bad_array_new_length.
VLGIM_API void* NewElements(std::size_t count, std::size_t size);

/// Adds an owner to the memory of elements that are not null.
VLGIM_API void AddOwner(const void* elements) noexcept;

/// Removes an owner. Returns true for the last one, which then calls FreeElements.
VLGIM_API bool RemoveOwner(const void* elements) noexcept;

VLGIM_API void FreeElements(void* elements) noexcept;

/// How many elements there are stands in front of the first.
inline std::size_t ElementCount(const void* elements) noexcept
{
    return static_cast<const std::size_t*>(elements)[-1];
}

}  // namespace detail

/// A shared array that knows its length. A copy shows the same elements as its source, and an edit through either is
/// seen in both; Clone() makes elements of its own. The elements live as long as the last array that shows them.
/// An array is null until it is given elements; a null array has size 0 and data() null.
///
/// A const array does not let its elements be exchanged for others, but does let them be written, as a const pointer
/// does. Arrays convert to std::span. Copies may belong to different threads; the elements are not guarded.
template <class T>
class Array {
public:
    using value_type = T;

    Array() noexcept = default;
    Array(std::nullptr_t) noexcept {}

    /// `count` elements of value 0, or as their default constructor makes them. A count of 0 gives an empty array that
    /// is not null. Throws std::bad_alloc.
    explicit Array(std::size_t count) : Array(ForOverwrite(count))
    {
        if constexpr (std::is_trivially_default_constructible_v<T>)
            std::uninitialized_value_construct_n(m_elements, count);
    }

    /// `count` copies of a value.
    Array(std::size_t count, const T& value) : Array(ForOverwrite(count))
    {
        std::fill_n(m_elements, count, value);
    }

    /// Copies of the values, in elements of its own.
    Array(std::initializer_list<T> values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }
    Array(const std::vector<T>& values) : Array(ForOverwrite(values.size()))
    {
        std::copy(values.begin(), values.end(), m_elements);
    }

    Array(const Array& other) noexcept : m_elements(other.m_elements)
    {
        if (m_elements)
            detail::AddOwner(m_elements);
    }
    Array(Array&& other) noexcept : m_elements(std::exchange(other.m_elements, nullptr)) {}
    Array& operator=(Array other) noexcept
    {
        std::swap(m_elements, other.m_elements);
        return *this;
    }
    ~Array()
    {
        if (!m_elements || !detail::RemoveOwner(m_elements))
            return;
        std::destroy_n(m_elements, size());
        detail::FreeElements(m_elements);
    }

    /// `count` elements that are not initialised if T is a plain type, for a caller who writes them all.
    static Array ForOverwrite(std::size_t count)
    {
        static_assert(alignof(T) <= 16);
        Array array;
        auto* const elements = static_cast<T*>(detail::NewElements(count, sizeof(T)));
        try {
            std::uninitialized_default_construct_n(elements, count);
        } catch (...) {
            detail::FreeElements(elements);
            throw;
        }
        array.m_elements = elements;
        return array;
    }

    /// Takes over an owner of elements that the library has laid out; not for callers.
    static Array Adopt(T* elements) noexcept
    {
        Array array;
        array.m_elements = elements;
        return array;
    }

    /// An array of copies of the elements, which shares nothing with this one; null for a null array.
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

    /// The index has to be below size(); a debug build asserts it.
    T& operator[](std::size_t index) const noexcept
    {
        assert(index < size());
        return m_elements[index];
    }

    /// Whether the array is not null.
    explicit operator bool() const noexcept { return m_elements != nullptr; }
    friend bool operator==(const Array& array, std::nullptr_t) noexcept { return !array.m_elements; }

private:
    T* m_elements = nullptr;  // in front of them stands how many there are, and whose memory it is
};

}  // namespace vela::vlgim
