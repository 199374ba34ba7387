#pragma once

#include "KeyForms.h"

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <vlgim/vlTransKeysData.h>

#include <string>

// Transform channels as containers read and write them: many from one file, into one allocation.
namespace vela::vlgim::keys {

/// One component of a block that has been measured.
struct MeasuredComponent {
    const KeyForm* form;
    const unsigned char* records;  ///< in the file image
    std::uint32_t count;           ///< records, and keys
    io::ArrayBlock::Slot<float> slot;
};

/// A block that has been measured: it lies in the file image, whole, and its arrays are planned.
struct MeasuredKeys {
    unsigned char posKeyed, rotKeyed, scaleKeyed, rotOrder;
    unsigned short keyCount;
    MeasuredComponent pos, rot, scale;
};

/// Passes over a block. What it gives is of use only where `in` has not failed.
MeasuredKeys MeasureKeys(io::BlockReader& in, io::ArrayBlock& arrays, unsigned short keyCount,
                         unsigned char compressFlags);

/// Fills a channel from the measured block and the arrays, which have been allocated meanwhile. Nothing else
/// of the channel's earlier content stays.
void FillKeys(const MeasuredKeys& block, const io::ArrayBlock& arrays, vlTransKeysData& keys);

/// Why a channel can't be written with as many keys as its container has times; empty: it can. An m_keyCount
/// of 0 counts as not set. To be asked before a file is opened.
std::string WhyUnwritable(const vlTransKeysData& keys, unsigned short keyCount);

}  // namespace vela::vlgim::keys
