#pragma once

#include "Places.h"

#include <vlio2/FileStream.h>
#include <vlio2/Sink.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

namespace vela::vlgim::check {

/// The file that a save would write, in memory. As long as it is the file that was read, byte by byte, nothing of it is
/// kept: most files are, and comparing what a writer hands over costs a fifth of a copy of it.
class SavedImage final : public vlio::Sink {
public:
    static constexpr std::uint64_t kNowhere = std::numeric_limits<std::uint64_t>::max();

    /// old        the file that was read, which outlives the image
    /// expected   bytes that it will have, more or less
    /// limit      bytes that the image may take
    /// patched    place of a word that the writer may leave 0 at first and fills in last, or kNowhere
    SavedImage(ByteSpan old, std::uint64_t expected, std::uint64_t limit, std::uint64_t patched)
        : m_old(old), m_expected(expected), m_limit(limit), m_patched(patched)
    {
    }

    void Write(const void* bytes, std::size_t size) override
    {
        UnlessCut([&] {
            const ByteSpan piece(static_cast<const unsigned char*>(bytes), size);
            if (!m_differs && !Matches(piece))
                Differ();
            if (m_differs)
                Keep(piece);
            m_end += size;
        });
    }

    void Patch(std::uint64_t position, std::uint32_t value) override
    {
        UnlessCut([&] {
            if (!m_differs && std::memcmp(&m_old[position], &value, sizeof value) != 0)
                Differ();
            if (m_differs)
                std::memcpy(&m_bytes[position], &value, sizeof value);
        });
    }

    /// Whether the image is the file that was read.
    bool IsSame() const { return !m_differs && m_end == m_old.size(); }

    /// Whether it passed its limit or memory, and is not whole.
    bool IsCut() const { return m_isCut; }

    /// The whole image, where it is not cut.
    const vlio::Bytes& Whole()
    {
        if (!m_differs)
            Differ();
        return m_bytes;
    }

private:
    // Writers hand over their last piece where nothing may be thrown.
    template <class Run>
    void UnlessCut(Run run)
    try {
        if (!m_isCut)
            run();
    } catch (const std::exception&) {
        m_isCut = true;
        m_bytes = {};
    }

    bool Matches(ByteSpan piece) const
    {
        if (piece.size() > m_old.size() - m_end)
            return false;
        const unsigned char *const old = m_old.data() + m_end, *const now = piece.data();
        // The patched word may lie across two pieces.
        const auto inPiece = [&](std::uint64_t at) {
            return std::clamp(at, m_end, m_end + piece.size()) - m_end;
        };
        const std::uint64_t word = inPiece(m_patched);
        const std::uint64_t behind =
            m_patched == kNowhere ? word : inPiece(m_patched + sizeof(std::uint32_t));
        const auto fits = [](unsigned char a, unsigned char b) { return a == b || b == 0; };
        return std::memcmp(old, now, word) == 0 && std::equal(old + word, old + behind, now + word, fits) &&
               std::memcmp(old + behind, now + behind, piece.size() - behind) == 0;
    }

    // From here on the image is kept. Room for all of it at once: a vector that grows holds its bytes twice meanwhile.
    void Differ()
    {
        m_differs = true;
        m_bytes.reserve(std::min(m_limit, std::max(m_expected, m_end)));
        m_bytes.assign(m_old.begin(), m_old.begin() + static_cast<std::ptrdiff_t>(m_end));
    }

    void Keep(ByteSpan piece)
    {
        const std::uint64_t end = m_end + piece.size();
        if (end > m_limit)
            throw std::bad_alloc();
        if (end > m_bytes.capacity())
            m_bytes.reserve(std::min(m_limit, end + end / 8));
        m_bytes.resize(end);
        std::memcpy(m_bytes.data() + m_end, piece.data(), piece.size());
    }

    ByteSpan m_old;
    std::uint64_t m_expected, m_limit, m_patched;
    std::uint64_t m_end = 0;  // bytes that were written
    bool m_differs = false;
    bool m_isCut = false;
    vlio::Bytes m_bytes;  // once it differs
};

}  // namespace vela::vlgim::check
