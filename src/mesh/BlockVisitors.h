#pragma once

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/Errors.h>

#include <cstdint>
#include <string_view>

// A block names its arrays once: in a function template that shows them to a visitor in file order, each with its
// elements, and with the values that stand between them if the bytes of the block are those alone. The visitors are
// what can be done with every block.
namespace vela::vlgim::mesh {

/// Reads a block into objects that are shown twice: first to prove that everything fits and to plan the arrays, in one
/// allocation, and once more to fill them.
class ArrayReader {
public:
    explicit ArrayReader(io::BlockReader& in) : m_in(in), m_again(in) {}

    /// visit(reader)  shows the same both times
    /// Returns false if the reader of the file has failed; the arrays are then as they were.
    bool Read(auto visit)
    {
        visit(*this);
        if (!m_arrays.Allocate(m_in))
            return false;
        m_isAllocated = true;
        visit(*this);
        return true;
    }

    template <class T, class... Field>
    void Value(T& value, Field... field)
    {
        value = In().template Value<T>(field...);
    }

    /// Makes an array without filling it.
    template <class T>
    void Array(std::string_view, vlgim::Array<T>& array, std::uint64_t count)
    {
        if (m_isAllocated)
            array = m_arrays.Array(m_plan.Plan<T>(count));
        else
            m_arrays.Plan<T>(count);
    }

    /// Makes an array from the bytes of the file; null without elements.
    template <class T>
    void Array(std::string_view name, vlgim::Array<T>& array, std::uint64_t count, io::Block field)
    {
        const unsigned char* run = In().Take(field, count, sizeof(T));
        Array(name, array, count);
        if (!m_isAllocated)
            return;
        io::CopyRun(array.data(), run, count);
        if (count == 0)
            array = nullptr;
    }

private:
    io::BlockReader& In() { return m_isAllocated ? m_again : m_in; }

    io::BlockReader& m_in;
    io::BlockReader m_again;  // from the start once more, recording no places
    io::ArrayBlock m_arrays;
    io::ArrayBlock m_plan;  // once more as well, so that no slot has to be kept
    bool m_isAllocated = false;
};

/// Writes values and arrays to a BlockWriter, or to a ByteCount.
template <class Out>
struct ArrayWriter {
    explicit ArrayWriter(Out& to) : out(to) {}

    void Value(auto value, auto...) { out.Value(value); }
    void Array(auto&&, const auto& array, std::uint64_t count, auto...) { out.Run(array.data(), count); }

    Out& out;
};

/// Counts the bytes that a BlockWriter in its place would write.
struct ByteCount {
    std::uint64_t bytes = 0;

    void Value(auto value) { bytes += sizeof value; }
    void Run(const auto* values, std::uint64_t count) { bytes += count * sizeof *values; }
};

/// Finds the first array that is shorter than its count.
struct ShortArray {
    Error why;

    void Value(auto&&...) {}
    void Array(std::string_view name, const auto& array, std::uint64_t count, auto...)
    {
        if (!why)
            why = io::WhyShort(array, count, name);
    }
};

}  // namespace vela::vlgim::mesh
