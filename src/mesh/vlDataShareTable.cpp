#include <vlgim/vlDataShareTable.h>

#include <corecommon/Log.h>

#include "io/BlockReader.h"
#include "io/BlockWriter.h"

#include <limits>

namespace vela::vlgim {

namespace {

constexpr std::uint16_t kMostEntries = std::numeric_limits<std::int16_t>::max();

std::uint16_t ReadCount(io::BlockReader& in)
{
    const std::uint64_t at = in.Offset();
    const auto count = in.Value<std::uint16_t>();
    if (count > kMostEntries)
        in.RefuseAt(at, count, kMostEntries);
    return count;
}

}  // namespace

short vlDataShareTable::PushBlockInfo(unsigned int offset)
{
    m_blocks.push_back(offset);
    return static_cast<short>(m_blocks.size() - 1);
}

void vlDataShareTable::PushDataPair(MESH_DATA_TYPE type, short index)
{
    m_pairs.push_back({type, index});
}

const unsigned char* vlDataShareTable::ReadData(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end, "share table");
    Read(in);
    return in.Position();
}

void vlDataShareTable::Read(io::BlockReader& in)
{
    const std::uint16_t blockCount = ReadCount(in);
    const unsigned char* blocks = in.Take(blockCount, sizeof(std::uint32_t));
    const std::uint16_t pairCount = ReadCount(in);
    const unsigned char* pairs = in.Take(pairCount, sizeof(DataPair));
    if (in.Failed())
        return;

    vlDataShareTable table;
    table.m_blocks.resize(blockCount);
    io::CopyRun(table.m_blocks.data(), blocks, blockCount);
    table.m_pairs.resize(pairCount);
    io::CopyRun(table.m_pairs.data(), pairs, pairCount);
    *this = std::move(table);
}

void vlDataShareTable::WriteData(std::FILE* stream) const
{
    if (m_blocks.size() > kMostEntries || m_pairs.size() > kMostEntries) {
        LogError("share table can't be written: it has %zu blocks and %zu pairs, and %d is the most",
                 m_blocks.size(), m_pairs.size(), kMostEntries);
        return;
    }
    io::BlockWriter out(stream);
    Write(out);
}

void vlDataShareTable::Write(io::BlockWriter& out) const
{
    out.Value(static_cast<std::uint16_t>(m_blocks.size()));
    out.Run(m_blocks.data(), m_blocks.size());
    out.Value(static_cast<std::uint16_t>(m_pairs.size()));
    for (const DataPair& pair : m_pairs) {
        const DataPair clean{pair.type, pair.index};
        out.Run(&clean, 1);
    }
}

}  // namespace vela::vlgim
