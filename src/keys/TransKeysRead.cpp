#include "TransKeysBlock.h"

#include <utility>

namespace vela::vlgim {

namespace keys {

namespace {

MeasuredComponent Measure(io::BlockReader& in, io::ArrayBlock& arrays, const KeyForm& form,
                          std::uint32_t count)
{
    const std::uint64_t floats = std::uint64_t{count} * form.width;
    return {&form, in.Take(count, form.recordSize), count, arrays.Plan<float>(floats)};
}

std::shared_ptr<float[]> Decode(const MeasuredComponent& component, const io::ArrayBlock& arrays)
{
    if (component.count == 0)
        return nullptr;
    auto keys = arrays.Array(component.slot);
    component.form->decode(component.records, component.count, keys.get());
    return keys;
}

}  // namespace

MeasuredKeys MeasureKeys(io::BlockReader& in, io::ArrayBlock& arrays, unsigned short keyCount,
                         unsigned char compressFlags)
{
    MeasuredKeys block{};
    block.keyCount = keyCount;
    block.posKeyed = in.Value<unsigned char>();
    block.rotKeyed = in.Value<unsigned char>();
    block.scaleKeyed = in.Value<unsigned char>();
    block.rotOrder = in.Value<unsigned char>();
    block.pos = Measure(in, arrays, PositionForm(), ComponentKeys(block.posKeyed, keyCount));
    block.rot = Measure(in, arrays, RotationForm(block.rotOrder, compressFlags),
                        ComponentKeys(block.rotKeyed, keyCount));
    block.scale = Measure(in, arrays, ScaleForm(compressFlags), ComponentKeys(block.scaleKeyed, keyCount));
    return block;
}

void FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys)
{
    vlTransKeysData read;
    read.m_posKeyed = block.posKeyed;
    read.m_rotKeyed = block.rotKeyed;
    read.m_scaleKeyed = block.scaleKeyed;
    read.m_rotOrder = block.rotOrder;
    read.m_keyCount = block.keyCount;
    read.m_pos = Decode(block.pos, arrays);
    read.m_rot = Decode(block.rot, arrays);
    read.m_scale = Decode(block.scale, arrays);
    keys = std::move(read);
}

}  // namespace keys

const unsigned char* vlTransKeysData::ReadData(const void* src, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(src), end, "transform keys");
    io::ArrayBlock arrays;
    const keys::MeasuredKeys block = keys::MeasureKeys(in, arrays, m_keyCount, m_compressFlags);
    if (!arrays.Allocate(in))
        return nullptr;
    keys::FillKeys(block, arrays, *this);
    return in.Position();
}

}  // namespace vela::vlgim
