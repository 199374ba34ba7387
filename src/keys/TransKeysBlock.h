#pragma once

#include "KeyForms.h"

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlTransKeysData.h>

#include <unordered_map>

// Transform channels as containers read and write them: many from one file, into one allocation.
namespace vela::vlgim::keys {

/// One component of a block that has been measured.
struct MeasuredComponent {
    const KeyForm* form;
    std::uint32_t count;  ///< records, and keys
    io::ArrayBlock::Slot<float> slot;
};

/// A block that has been measured: it lies in the file image, whole, and its arrays are planned.
struct MeasuredKeys {
    unsigned char posKeyed, rotKeyed, scaleKeyed, rotOrder;
    unsigned short keyCount;
    MeasuredComponent pos, rot, scale;
    const unsigned char* records;  ///< in the file image, of all three
};

/// Passes over a block. What it gives is of use only where `in` has not failed. Its runs are taken as one, and nothing
/// is set twice: a file is measured channel by channel before anything of it is read, and half of that time is saved.
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
    // Counts of 16 bits and records of 16 bytes: no sum can wrap.
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

/// Fills a channel from the measured block and the arrays, which have been allocated meanwhile. Nothing else
/// of the channel's earlier content stays.
void FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys);

/// Floats of a key in memory.
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

/// The key counts that containers of one file give to channels whose own is not set. The first write sets it, so
/// containers that share a channel have to agree, or all but one would be refused in the middle of the file.
class UnsetCounts {
public:
    bool Agree(const vlTransKeysData& keys, unsigned short keyCount)
    {
        return keys.m_keyCount != 0 || m_counts.emplace(&keys, keyCount).first->second == keyCount;
    }

private:
    std::unordered_map<const vlTransKeysData*, unsigned short> m_counts;
};

/// Why a channel can't be written with as many keys as its container has times. An m_keyCount
/// of 0 counts as not set. To be asked before a file is opened, with the `counts` of all its containers.
Error WhyUnwritable(const vlTransKeysData& keys, unsigned short keyCount, UnsetCounts* counts = nullptr);

/// Makes the packed arrays of the components whose form has some. Rotations whose sign a packed form turns are turned
/// in a new array, since copies may show the old one.
void PackTransData(vlTransKeysData& keys);

/// Reduces each component whose keys are all alike to one key, in a new array.
void PackKeys(vlTransKeysData& keys);

/// Writes a channel that WhyUnwritable has nothing against, and changes it as vlTransKeysData::WriteData says.
void Write(io::BlockWriter& out, vlTransKeysData& keys);

}  // namespace vela::vlgim::keys
