#include <vlgim/vlMorphData.h>

#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>

namespace vela::vlgim {

const unsigned char* vlMorphData::ReadDataNew(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this);
    return in.Position();
}

const unsigned char* vlMorphData::ReadData(const unsigned char* data, unsigned int version,
                                           const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this, version);
    if (!in.Failed() && version >= kNewestMorphVersion)
        m_singleFrame = 0;
    return in.Position();
}

void vlMorphData::WriteData(std::FILE* stream) const
{
    io::WriteStream(stream, "morph data can't be written", keys::WhyUnwritable(m_times),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

namespace mesh {

void Read(io::BlockReader& in, vlMorphData& morph, unsigned int version)
{
    const auto scope = in.Enter(io::Block::MorphData);
    const auto mode = version >= kModeVersion ? in.Value<unsigned char>() : morph.m_morphMode;
    const auto singleFrame = version < kNewestMorphVersion ? in.Value<unsigned short>() : morph.m_singleFrame;
    const auto keyCount = in.Value<unsigned short>();
    const unsigned char* times = in.Take(io::Block::Times, keyCount, sizeof(float));
    if (!in.Spend(keys::TimesSize(keyCount)))
        return;

    if (version >= kFloatTimesVersion) {
        morph.m_times = keys::TimesFrom(times, keyCount);  // may throw, so it goes first
    } else {
        std::vector<unsigned int> integers(keyCount);
        io::CopyRun(integers.data(), times, keyCount);
        morph.m_times.SetKeyTimes(integers.data(), keyCount);
    }
    morph.m_morphMode = mode;
    morph.m_singleFrame = singleFrame;
}

void Write(io::BlockWriter& out, const vlMorphData& morph)
{
    const unsigned short keyCount = keys::WrittenKeyCount(morph.m_times);
    out.Value(morph.m_morphMode);
    out.Value(keyCount);
    out.Run(morph.m_times.GetKeyTimes(), keyCount);
}

}  // namespace mesh

}  // namespace vela::vlgim
