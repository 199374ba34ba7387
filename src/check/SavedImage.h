#pragma once

#include <vlio2/FileStream.h>
#include <vlio2/Sink.h>

#include <cstdint>
#include <optional>

namespace vela::vlgim::check {

/// The file that a save would write, in memory. As long as it is the file that was read, byte by byte, nothing of it is
/// kept: most files are, and comparing what a writer hands over costs a fifth of a copy of it.
class SavedImage final : public vlio::Sink {
public:
    /// old, size  the file that was read, which outlives the image
    /// expected   bytes that it will have, more or less
    /// limit      bytes that the image may take
    /// patched    place of a word that the writer may leave 0 at first and fills in last
    SavedImage(const unsigned char* old, std::uint64_t size, std::uint64_t expected, std::uint64_t limit,
               std::optional<std::uint64_t> patched = {});

    void Write(const void* bytes, std::size_t size) override;
    void Patch(std::uint64_t position, std::uint32_t value) override;

    /// Whether the image is the file that was read.
    bool IsSame() const;

    /// Whether it passed its limit or memory, and is not whole.
    bool IsCut() const { return m_isCut; }

    /// The whole image, where it is not cut.
    const vlio::Bytes& Whole();

private:
    bool Matches(const unsigned char* bytes, std::uint64_t size) const;
    void Differ();
    void Keep(const unsigned char* bytes, std::uint64_t size);

    const unsigned char* m_old;
    std::uint64_t m_size, m_expected, m_limit, m_patched;
    std::uint64_t m_end = 0;  // bytes that were written
    bool m_differs = false;
    bool m_isCut = false;
    vlio::Bytes m_bytes;  // once it differs
};

}  // namespace vela::vlgim::check
