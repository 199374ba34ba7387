#include "TransKeysBlock.h"

namespace vela::vlgim {

const unsigned char* vlTransKeysData::ReadData(const void* src, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(src), end);
    const auto scope = in.Enter(io::Block::TransformKeys);
    io::ReadTwice(in, [&, count = m_keyCount, flags = m_compressFlags](const io::Pass& pass) {
        keys::Read(pass, count, flags, this);
    });
    return in.Position();
}

}  // namespace vela::vlgim
