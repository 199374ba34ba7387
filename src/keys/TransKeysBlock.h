#pragma once

#include "KeyForms.h"

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlTransKeysData.h>

#include <array>

// Transform channels as containers read and write them: many channels of one file share one allocation.
namespace vela::vlgim::keys {

/// Reads a channel in one of the two passes. The first one, of all channels of a file, precedes everything that is
/// decoded, so speed matters: the records of all three components are taken as one run.
/// keys  not used in the first pass; in the second one all members are replaced
inline void Read(const io::Pass& pass, unsigned short keyCount, unsigned char compressFlags,
                 vlTransKeysData* keys)
{
    // Three keyed bytes and the rotation order.
    constexpr std::uint64_t kHeadSize = 4;
    const unsigned char* const head = pass.in.Take(kHeadSize, 1);
    if (!head)
        return;
    const std::uint64_t start = pass.in.Offset();
    // Where the components begin and end. Counts have 16 bits and records at most 16 bytes, so no sum can overflow.
    std::array<std::uint64_t, 4> bounds{};
    const auto read = [&](std::size_t i, const KeyForm& form, Array<float> vlTransKeysData::*array) {
        const std::uint32_t count = ComponentKeys(head[i], keyCount);
        const auto slot = pass.plan.Plan<float>(std::uint64_t{count} * form.width);
        bounds[i + 1] = bounds[i] + std::uint64_t{count} * form.recordSize;
        if (!pass.arrays)
            return;
        keys->*array = count != 0 ? pass.arrays->Array(slot) : nullptr;
        if (count != 0)
            form.decode(head + kHeadSize + bounds[i], count, (keys->*array).data());
    };
    read(0, PositionForm(), &vlTransKeysData::m_pos);
    read(1, RotationForm(head[3], compressFlags), &vlTransKeysData::m_rot);
    read(2, ScaleForm(compressFlags), &vlTransKeysData::m_scale);
    pass.in.Take(bounds[3], 1);
    if (pass.in.IsTraced()) {
        constexpr io::Block kBlocks[] = {io::Block::PositionKeys, io::Block::RotationKeys,
                                         io::Block::ScaleKeys};
        for (std::size_t i = 0; i < 3; ++i)
            if (bounds[i] != bounds[i + 1])
                pass.in.Note(kBlocks[i], start + bounds[i], start + bounds[i + 1]);
    }
    if (!pass.arrays)
        return;
    keys->m_posKeyed = head[0];
    keys->m_rotKeyed = head[1];
    keys->m_scaleKeyed = head[2];
    keys->m_rotOrder = head[3];
    keys->m_keyCount = keyCount;
    keys->m_compressFlags = 0;
    keys->m_packedRot = nullptr;
    keys->m_packedScale = nullptr;
}

/// Number of floats of one rotation in memory.
inline std::uint32_t RotationWidth(const vlTransKeysData& keys)
{
    return keys.m_rotOrder != 0 ? 3 : 4;
}

/// Calls visit(name, array, keyed, width) for the positions, rotations and scales.
template <class Keys, class Visit>
void VisitComponents(Keys& keys, Visit visit)
{
    visit("positions", keys.m_pos, keys.m_posKeyed, std::uint32_t{3});
    visit("rotations", keys.m_rot, keys.m_rotKeyed, RotationWidth(keys));
    visit("scales", keys.m_scale, keys.m_scaleKeyed, std::uint32_t{3});
}

/// Returns why a channel can't be written with as many keys as its container has times: a component's array is too
/// short, or has another number of keys than there are times. Call it before a file is opened.
Error WhyUnwritable(const vlTransKeysData& keys, unsigned short keyCount);

/// Writes a channel for which WhyUnwritable returned success, and changes it as vlTransKeysData::WriteData does.
void Write(io::BlockWriter& out, vlTransKeysData& keys);

}  // namespace vela::vlgim::keys
