#include "TransKeysBlock.h"

namespace vela::vlgim {

namespace keys {

namespace {

// Decodes the next run of records, and goes on to the one behind it.
void Decode(const MeasuredComponent& component, const io::ArrayBlock& arrays, const unsigned char*& records,
            Array<float>& keys)
{
    if (component.count == 0) {
        keys = nullptr;
        return;
    }
    keys = arrays.Array(component.slot);
    component.form->decode(records, component.count, keys.data());
    records += std::size_t{component.count} * component.form->recordSize;
}

}  // namespace

void FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys)
{
    keys.m_posKeyed = block.posKeyed;
    keys.m_rotKeyed = block.rotKeyed;
    keys.m_scaleKeyed = block.scaleKeyed;
    keys.m_rotOrder = block.rotOrder;
    keys.m_compressFlags = 0;
    const unsigned char* records = block.records;
    Decode(block.pos, arrays, records, keys.m_pos);
    Decode(block.rot, arrays, records, keys.m_rot);
    Decode(block.scale, arrays, records, keys.m_scale);
    keys.m_packedRot = nullptr;
    keys.m_packedScale = nullptr;
    keys.m_keyCount = block.keyCount;
}

}  // namespace keys

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
