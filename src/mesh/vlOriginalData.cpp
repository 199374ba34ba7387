#include <vlgim/vlOriginalData.h>

#include <corecommon/Log.h>

#include "io/ArrayBlock.h"
#include "io/BlockReader.h"
#include "io/BlockWriter.h"

namespace vela::vlgim {

namespace {

constexpr unsigned int kSkinVersion = 0x30017;  // the skin rows arrived

// An array and the run of the file that fills it; null for a count of 0.
template <class T>
struct Run {
    const unsigned char* bytes = nullptr;
    io::ArrayBlock::Slot<T> slot;

    void Measure(io::BlockReader& in, io::ArrayBlock& block, std::uint64_t count)
    {
        bytes = in.Take(count, sizeof(T));
        slot = block.Plan<T>(count);
    }

    std::shared_ptr<T[]> Read(const io::ArrayBlock& block) const
    {
        if (slot.count == 0)
            return nullptr;
        auto array = block.Array(slot);
        io::CopyRun(array.get(), bytes, slot.count);
        return array;
    }
};

}  // namespace

const unsigned char* vlOriginalData::ReadDataNew(const unsigned char* data, const unsigned char* end)
{
    return ReadData(data, kSkinVersion, end);
}

const unsigned char* vlOriginalData::ReadData(const unsigned char* data, unsigned int version,
                                              const unsigned char* end)
{
    io::BlockReader in(data, end, "original data");
    Read(in, version >= kSkinVersion);
    return in.Position();
}

void vlOriginalData::Read(io::BlockReader& in, bool hasSkinRows)
{
    io::ArrayBlock block;
    Run<geomath::_Vector3<float>> positions;
    Run<std::uint16_t> indices;
    Run<std::uint32_t> extra;
    Run<unsigned char> bones;
    Run<float> weights;
    vlOriginalData read;
    read.m_origVertexCount = in.Value<std::uint32_t>();
    positions.Measure(in, block, read.m_origVertexCount);
    read.m_origIndexCount = in.Value<std::uint32_t>();
    indices.Measure(in, block, read.m_origIndexCount);
    read.m_origExtraCount = in.Value<std::uint32_t>();
    extra.Measure(in, block, read.m_origExtraCount);
    read.m_hasSkin = hasSkinRows ? in.Value<std::uint8_t>() : m_hasSkin;
    const std::uint64_t slots =
        hasSkinRows && read.m_hasSkin != 0 ? 4 * std::uint64_t{read.m_origVertexCount} : 0;
    bones.Measure(in, block, slots);
    weights.Measure(in, block, slots);
    if (!block.Allocate(in))
        return;

    read.m_type = m_type;
    read.m_origPositions = positions.Read(block);
    read.m_origIndices = indices.Read(block);
    read.m_origExtra = extra.Read(block);
    read.m_origBones = bones.Read(block);
    read.m_origWeights = weights.Read(block);
    *this = std::move(read);
}

std::string vlOriginalData::WriteObstacle() const
{
    if (m_origVertexCount != 0 && !m_origPositions)
        return "the positions of original data are missing";
    if (m_origIndexCount != 0 && !m_origIndices)
        return "the indices of original data are missing";
    if (m_origExtraCount != 0 && !m_origExtra)
        return "the extra values of original data are missing";
    return {};
}

std::uint64_t vlOriginalData::WrittenSize() const
{
    const unsigned perVertex = HasSkin() ? 32 : 12;
    return 13 + std::uint64_t{m_origVertexCount} * perVertex + std::uint64_t{m_origIndexCount} * 2 +
           std::uint64_t{m_origExtraCount} * 4;
}

void vlOriginalData::WriteData(std::FILE* stream, unsigned int)
{
    if (const std::string obstacle = WriteObstacle(); !obstacle.empty()) {
        LogError("original data can't be written: %s", obstacle.c_str());
        return;
    }
    io::BlockWriter out(stream);
    Write(out);
}

void vlOriginalData::Write(io::BlockWriter& out)
{
    m_hasSkin = HasSkin() ? 1 : 0;
    out.Value(m_origVertexCount);
    out.Run(m_origPositions.get(), m_origVertexCount);
    out.Value(m_origIndexCount);
    out.Run(m_origIndices.get(), m_origIndexCount);
    out.Value(m_origExtraCount);
    out.Run(m_origExtra.get(), m_origExtraCount);
    out.Value(m_hasSkin);
    if (m_hasSkin) {
        out.Run(m_origBones.get(), 4 * std::uint64_t{m_origVertexCount});
        out.Run(m_origWeights.get(), 4 * std::uint64_t{m_origVertexCount});
    }
}

}  // namespace vela::vlgim
