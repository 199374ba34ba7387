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

/// One component of a block that has been measured.
struct MeasuredComponent {
    const KeyForm* form;
    std::uint32_t count;  ///< number of records and of keys
    io::ArrayBlock::Slot<float> slot;
};

/// A measured block: it is completely in the file image, and its arrays are planned.
struct MeasuredKeys {
    const unsigned char*
        head;  ///< in the file image: three keyed bytes and the rotation order, then the records
    unsigned short keyCount;
    std::array<MeasuredComponent, 3> components;  ///< positions, rotations, scales
};
constexpr std::uint64_t kHeadSize = 4;

/// Measures a block and moves past it. The result is valid only if `in` has not failed. A file is measured channel by
/// channel before anything is read, so speed matters: the records of all three components are taken as one run, and
/// each member is set once. This halves the time.
inline MeasuredKeys MeasureKeys(io::BlockReader& in, io::ArrayBlock& arrays, unsigned short keyCount,
                                unsigned char compressFlags)
{
    MeasuredKeys block;
    block.head = in.Take(kHeadSize, 1);
    if (!block.head)
        return {};
    block.keyCount = keyCount;
    std::uint64_t size = 0;  // counts have 16 bits and records at most 16 bytes, so no sum can overflow
    const auto measure = [&](std::size_t i, const KeyForm& form) {
        const std::uint32_t count = ComponentKeys(block.head[i], keyCount);
        block.components[i] = {&form, count, arrays.Plan<float>(std::uint64_t{count} * form.width)};
        size += std::uint64_t{count} * form.recordSize;
    };
    measure(0, PositionForm());
    measure(1, RotationForm(block.head[3], compressFlags));
    measure(2, ScaleForm(compressFlags));
    std::uint64_t start = in.Offset();
    in.Take(size, 1);
    if (!in.IsTraced())
        return block;
    const auto note = [&](io::Block name, const MeasuredComponent& keys) {
        const std::uint64_t end = start + std::uint64_t{keys.count} * keys.form->recordSize;
        if (start != end)
            in.Note(name, start, end);
        start = end;
    };
    note(io::Block::PositionKeys, block.components[0]);
    note(io::Block::RotationKeys, block.components[1]);
    note(io::Block::ScaleKeys, block.components[2]);
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

/// Writes a channel for which WhyUnwritable returned success, and changes it as vlTransKeysData::WriteData does.
void Write(io::BlockWriter& out, vlTransKeysData& keys);

}  // namespace vela::vlgim::keys
