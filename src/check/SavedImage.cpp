#include "SavedImage.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>

namespace vela::vlgim::check {

namespace {

constexpr std::uint64_t kNowhere = std::numeric_limits<std::uint64_t>::max() - 8;
constexpr std::uint64_t kWord = 4;

}  // namespace

SavedImage::SavedImage(const unsigned char* old, std::uint64_t size, std::uint64_t expected,
                       std::uint64_t limit, std::optional<std::uint64_t> patched)
    : m_old(old), m_size(size), m_expected(expected), m_limit(limit), m_patched(patched.value_or(kNowhere))
{
}

bool SavedImage::IsSame() const
{
    return !m_differs && !m_isCut && m_end == m_size;
}

void SavedImage::Write(const void* data, std::size_t size)
try {
    if (m_isCut)
        return;
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (!m_differs && !Matches(bytes, size))
        Differ();
    if (m_differs)
        Keep(bytes, size);
    m_end += size;
} catch (const std::exception&) {
    m_isCut = true;  // writers hand over their last piece where nothing may be thrown
}

void SavedImage::Patch(std::uint64_t position, std::uint32_t value)
try {
    if (m_isCut)
        return;
    if (!m_differs && std::memcmp(m_old + position, &value, sizeof value) != 0)
        Differ();
    if (m_differs)
        std::memcpy(m_bytes.data() + position, &value, sizeof value);
} catch (const std::exception&) {
    m_isCut = true;
}

bool SavedImage::Matches(const unsigned char* bytes, std::uint64_t size) const
{
    const std::uint64_t end = m_end + size;
    if (end > m_size)
        return false;
    const unsigned char* const old = m_old + m_end;
    constexpr unsigned char kNotYet[kWord] = {};
    if (m_patched < m_end || m_patched + kWord > end ||
        std::memcmp(bytes + (m_patched - m_end), kNotYet, kWord) != 0)
        return std::memcmp(old, bytes, size) == 0;
    const std::uint64_t ahead = m_patched - m_end, behind = ahead + kWord;
    return std::memcmp(old, bytes, ahead) == 0 &&
           std::memcmp(old + behind, bytes + behind, size - behind) == 0;
}

// From here on the image is kept. Room for all of it at once: a vector that grows holds its bytes twice meanwhile.
void SavedImage::Differ()
{
    m_differs = true;
    m_bytes.reserve(std::min(m_limit, std::max(m_expected, m_end)));
    m_bytes.assign(m_old, m_old + m_end);
}

const vlio::Bytes& SavedImage::Whole()
{
    if (!m_differs)
        Differ();
    return m_bytes;
}

void SavedImage::Keep(const unsigned char* bytes, std::uint64_t size)
{
    const std::uint64_t end = m_bytes.size() + size;
    if (end > m_limit) {
        m_isCut = true;
        m_bytes = {};
        return;
    }
    if (end > m_bytes.capacity())
        m_bytes.reserve(std::min(m_limit, end + end / 8));
    m_bytes.resize(end);
    std::memcpy(m_bytes.data() + end - size, bytes, size);
}

}  // namespace vela::vlgim::check
