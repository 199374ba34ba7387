#pragma once

#include "KeyForms.h"

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlTransKeysData.h>

// Transform channels as containers read and write them: many channels of one file share one allocation.
namespace vela::vlgim::keys {

/// One component of a block that has been measured.
struct MeasuredComponent {
    const KeyForm* form;
    std::uint32_t count;  ///< number of records and of keys
    io::ArrayBlock::Slot<float> slot;
};

/// A measured block: it is completely in the file image, and its arrays are planned.
struct MeasuredKeys {
    unsigned char posKeyed, rotKeyed, scaleKeyed, rotOrder;
    unsigned short keyCount;
    MeasuredComponent pos, rot, scale;
    const unsigned char* records;  ///< records of all three components, in the file image
};

/// Measures a block and moves past it. The result is valid only if `in` has not failed. A file is measured channel by
/// channel before anything is read, so speed matters: the records of all three components are taken as one run, and
/// each member is set once. This halves the time.
inline MeasuredKeys MeasureKeys(io::BlockReader& in, io::ArrayBlock& arrays, unsigned short keyCount,
                                unsigned char compressFlags)
{
    const unsigned char* const head = in.Take(4, 1);
    if (!head)
        return {};
    MeasuredKeys block;
    block.posKeyed = head[0];
    block.rotKeyed = head[1];
    block.scaleKeyed = head[2];
    block.rotOrder = head[3];
    block.keyCount = keyCount;
    const std::uint64_t start = in.Offset();
    const auto measure = [&](MeasuredComponent& component, const KeyForm& form, unsigned char keyed) {
        component.form = &form;
        component.count = ComponentKeys(keyed, keyCount);
        component.slot = arrays.Plan<float>(std::uint64_t{component.count} * form.width);
        return std::uint64_t{component.count} * form.recordSize;
    };
    // Counts have 16 bits and records at most 16 bytes, so no sum can overflow.
    const std::uint64_t rotations = measure(block.pos, PositionForm(), block.posKeyed);
    const std::uint64_t scales =
        rotations + measure(block.rot, RotationForm(block.rotOrder, compressFlags), block.rotKeyed);
    const std::uint64_t size = scales + measure(block.scale, ScaleForm(compressFlags), block.scaleKeyed);
    block.records = in.Take(size, 1);
    const auto note = [&](io::Block keys, std::uint64_t from, std::uint64_t to) {
        if (from != to)
            in.Note(keys, start + from, start + to);
    };
    if (in.IsTraced()) {
        note(io::Block::PositionKeys, 0, rotations);
        note(io::Block::RotationKeys, rotations, scales);
        note(io::Block::ScaleKeys, scales, size);
    }
    return block;
}

/// Fills a channel from a measured block and the arrays, which are allocated by now. All members of the channel are
/// replaced.
void FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys);

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

/// Makes the packed arrays of the components whose form has them. If a packed form changes the sign of any rotation,
/// m_rot becomes a new array, because copies may share the old one.
void PackTransData(vlTransKeysData& keys);

/// Reduces each component whose keys are all equal to one key, in a new array.
void PackKeys(vlTransKeysData& keys);

/// Writes a channel for which WhyUnwritable returned success, and changes it as vlTransKeysData::WriteData does.
void Write(io::BlockWriter& out, vlTransKeysData& keys);

}  // namespace vela::vlgim::keys
