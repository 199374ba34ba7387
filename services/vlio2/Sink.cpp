#include <vlio2/Sink.h>

#include <platform/Files.h>

namespace vlio {

void StreamSink::Patch(std::uint64_t position, std::uint32_t value)
{
    if (vela::platform::Seek(m_stream, position))
        std::fwrite(&value, sizeof value, 1, m_stream);
}

}  // namespace vlio
