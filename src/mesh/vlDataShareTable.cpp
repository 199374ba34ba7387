#include <vlgim/vlDataShareTable.h>

#include "MeshBlocks.h"

#include <io/Errors.h>
#include <io/SaveFile.h>

#include <algorithm>

namespace vela::vlgim {

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
    io::BlockReader in(data, end);
    const auto scope = in.Enter(io::Block::ShareTable);
    mesh::Read(in, *this);
    return in.Position();
}

void vlDataShareTable::WriteData(std::FILE* stream) const
{
    Error why;
    if (std::max(m_blocks.size(), m_pairs.size()) > mesh::kMostTableEntries)
        why = io::Unwritable("it has " + std::to_string(m_blocks.size()) + " blocks and " +
                             std::to_string(m_pairs.size()) + " pairs, which exceeds the limit of 32767");
    io::WriteStream(stream, "share table can't be written", why,
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

namespace mesh {

void Read(io::BlockReader& in, vlDataShareTable& table)
{
    const auto blockCount = in.Count<std::uint16_t>(kMostTableEntries);
    const unsigned char* blocks = in.Take(io::Block::Indices, blockCount, sizeof(std::uint32_t));
    const auto pairCount = in.Count<std::uint16_t>(kMostTableEntries);
    const unsigned char* pairs = in.Take(pairCount, sizeof(DataPair));
    if (in.Failed())
        return;

    vlDataShareTable read;
    read.m_blocks.resize(blockCount);
    io::CopyRun(read.m_blocks.data(), blocks, blockCount);
    read.m_pairs.resize(pairCount);
    io::CopyRun(read.m_pairs.data(), pairs, pairCount);
    table = std::move(read);
}

void Write(io::BlockWriter& out, const vlDataShareTable& table)
{
    out.Value(static_cast<std::uint16_t>(table.m_blocks.size()));
    out.Run(table.m_blocks.data(), table.m_blocks.size());
    out.Value(static_cast<std::uint16_t>(table.m_pairs.size()));
    for (const DataPair& pair : table.m_pairs) {
        const DataPair clean{pair.type, pair.index};
        out.Run(&clean, 1);
    }
}

}  // namespace mesh

}  // namespace vela::vlgim
