#include "TransKeysBlock.h"

namespace vela::vlgim {

void keys::FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys)
{
    keys.m_posKeyed = block.head[0];
    keys.m_rotKeyed = block.head[1];
    keys.m_scaleKeyed = block.head[2];
    keys.m_rotOrder = block.head[3];
    keys.m_compressFlags = 0;
    keys.m_packedRot = nullptr;
    keys.m_packedScale = nullptr;
    keys.m_keyCount = block.keyCount;
    Array<float>* const targets[] = {&keys.m_pos, &keys.m_rot, &keys.m_scale};
    const unsigned char* records = block.head + kHeadSize;
    for (std::size_t i = 0; i < block.components.size(); ++i) {
        const auto& [form, count, slot] = block.components[i];
        *targets[i] = count != 0 ? arrays.Array(slot) : nullptr;
        if (count != 0)
            form->decode(records, count, targets[i]->data());
        records += std::size_t{count} * form->recordSize;
    }
}

const unsigned char* vlTransKeysData::ReadData(const void* src, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(src), end);
    const auto scope = in.Enter(io::Block::TransformKeys);
    io::ArrayBlock arrays;
    const keys::MeasuredKeys block = keys::MeasureKeys(in, arrays, m_keyCount, m_compressFlags);
    if (!arrays.Allocate(in))
        return nullptr;
    keys::FillKeys(block, arrays, *this);
    return in.Position();
}

}  // namespace vela::vlgim
