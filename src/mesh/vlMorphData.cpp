#include <vlgim/vlMorphData.h>

#include "MeshBlocks.h"

#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>

namespace vela::vlgim {

namespace {

constexpr unsigned int kFloatTimesVersion = 0x20005;  // times were integers before
constexpr unsigned int kModeVersion = 0x20011;        // the morph mode arrived
constexpr unsigned int kNewestVersion = 0x20013;      // the single-frame word went

}  // namespace

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
    const auto scope = in.Enter(io::Block::MorphData);
    const auto mode = version >= kModeVersion ? in.Value<unsigned char>() : m_morphMode;
    const auto singleFrame =
        version < kNewestVersion ? in.Value<unsigned short>() : static_cast<unsigned short>(0);
    const auto keyCount = in.Value<unsigned short>();
    const unsigned char* times = in.Take(keyCount, sizeof(float));
    if (!in.Spend(keys::TimesSize(keyCount)))
        return nullptr;

    if (version >= kFloatTimesVersion) {
        m_times = keys::TimesFrom(times, keyCount);
    } else {
        std::vector<unsigned int> integers(keyCount);
        io::CopyRun(integers.data(), times, keyCount);
        m_times.SetKeyTimes(integers.data(), keyCount);
    }
    m_morphMode = mode;
    m_singleFrame = singleFrame;
    return in.Position();
}

void vlMorphData::WriteData(std::FILE* stream) const
{
    io::WriteStream(stream, "morph data can't be written", keys::WhyUnwritable(m_times),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

namespace mesh {

void Read(io::BlockReader& in, vlMorphData& morph)
{
    const auto scope = in.Enter(io::Block::MorphData);
    const auto mode = in.Value<unsigned char>();
    const auto keyCount = in.Value<unsigned short>();
    const unsigned char* times = in.Take(io::Block::Times, keyCount, sizeof(float));
    if (!in.Spend(keys::TimesSize(keyCount)))
        return;

    morph.m_times = keys::TimesFrom(times, keyCount);  // may throw, so it goes first
    morph.m_morphMode = mode;
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
