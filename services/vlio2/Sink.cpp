#include <vlio2/Sink.h>

namespace vlio {

void StreamSink::Write(const void* bytes, std::size_t size)
{
    std::fwrite(bytes, 1, size, m_stream);
}

void StreamSink::Patch(std::uint64_t position, std::uint32_t value)
{
    if (fseeko(m_stream, static_cast<off_t>(position), SEEK_SET) == 0)
        std::fwrite(&value, sizeof value, 1, m_stream);
}

}  // namespace vlio
