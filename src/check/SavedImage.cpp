#include "SavedImage.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

namespace vela::vlgim::check {

namespace {

constexpr std::uint64_t kNowhere = std::numeric_limits<std::uint64_t>::max() - 8;
constexpr std::uint64_t kWord = 4;

}  // namespace

SavedImage::SavedImage(const unsigned char* old, std::uint64_t size, std::uint64_t expected,
                       std::uint64_t limit, std::optional<std::uint64_t> patched)
    : m_old(old), m_size(size), m_expected(expected), m_limit(limit), m_patched(patched.value_or(kNowhere)),
      m_stream(::fopencookie(this, "wb",
                             {.read = nullptr, .write = WriteCall, .seek = SeekCall, .close = nullptr}))
{
    if (!m_stream)
        throw std::bad_alloc();
    // Writers come with large pieces, and those are looked at where they lie.
    std::setvbuf(m_stream, nullptr, _IONBF, 0);
}

SavedImage::~SavedImage()
{
    std::fclose(m_stream);
}

bool SavedImage::IsSame() const
{
    return !m_differs && !m_isCut && m_end == m_size;
}

ssize_t SavedImage::WriteCall(void* self, const char* bytes, std::size_t size)
{
    auto& image = *static_cast<SavedImage*>(self);
    try {
        image.Write(reinterpret_cast<const unsigned char*>(bytes), size);
    } catch (const std::exception&) {
        image.m_isCut = true;  // stdio calls this, and no exception may pass through it
    }
    return static_cast<ssize_t>(size);
}

int SavedImage::SeekCall(void* self, off64_t* offset, int whence)
{
    auto& image = *static_cast<SavedImage*>(self);
    const std::uint64_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? image.m_position : image.m_end;
    const std::uint64_t reached = from + static_cast<std::uint64_t>(*offset);
    if (reached > image.m_end)
        return -1;
    image.m_position = reached;
    *offset = static_cast<off64_t>(reached);
    return 0;
}

void SavedImage::Write(const unsigned char* bytes, std::uint64_t size)
{
    if (m_isCut)
        return;
    if (!m_differs && !Matches(bytes, size))
        Differ();
    if (m_differs)
        Keep(bytes, size);
    m_position += size;
    m_end = std::max(m_end, m_position);
}

bool SavedImage::Matches(const unsigned char* bytes, std::uint64_t size) const
{
    const std::uint64_t end = m_position + size;
    if (end > m_size)
        return false;
    const unsigned char* const old = m_old + m_position;
    constexpr unsigned char kNotYet[kWord] = {};
    if (m_patched < m_position || m_patched + kWord > end ||
        std::memcmp(bytes + (m_patched - m_position), kNotYet, kWord) != 0)
        return std::memcmp(old, bytes, size) == 0;
    const std::uint64_t ahead = m_patched - m_position, behind = ahead + kWord;
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
    const std::uint64_t end = std::max<std::uint64_t>(m_bytes.size(), m_position + size);
    if (end > m_limit) {
        m_isCut = true;
        m_bytes = {};
        return;
    }
    if (end > m_bytes.capacity())
        m_bytes.reserve(std::min(m_limit, end + end / 8));
    m_bytes.resize(end);
    std::memcpy(m_bytes.data() + m_position, bytes, size);
}

}  // namespace vela::vlgim::check
