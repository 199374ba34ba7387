#include <vlgim/vlMorphData.h>

#include "io/BlockReader.h"
#include "io/BlockWriter.h"

namespace vela::vlgim {

namespace {

constexpr unsigned int kFloatTimesVersion = 0x20005;  // times were integers before
constexpr unsigned int kModeVersion = 0x20011;        // the morph mode arrived
constexpr unsigned int kNewestVersion = 0x20013;      // the single-frame word went

}  // namespace

const unsigned char* vlMorphData::ReadDataNew(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end, "morph data");
    Read(in);
    return in.Position();
}

void vlMorphData::Read(io::BlockReader& in)
{
    const auto mode = in.Value<unsigned char>();
    const auto keyCount = in.Value<unsigned short>();
    const auto times = in.Array<float>(keyCount);
    if (in.Failed())
        return;

    m_times.SetKeyTimes(times.get(), keyCount);  // may throw, so it goes first
    m_morphMode = mode;
}

const unsigned char* vlMorphData::ReadData(const unsigned char* data, unsigned int version,
                                           const unsigned char* end)
{
    io::BlockReader in(data, end, "morph data");
    const auto mode = version >= kModeVersion ? in.Value<unsigned char>() : m_morphMode;
    const auto singleFrame =
        version < kNewestVersion ? in.Value<unsigned short>() : static_cast<unsigned short>(0);
    const auto keyCount = in.Value<unsigned short>();
    const bool hasFloats = version >= kFloatTimesVersion;
    const auto floats = in.Array<float>(hasFloats ? keyCount : 0);
    const auto integers = in.Array<unsigned int>(hasFloats ? 0 : keyCount);
    if (in.Failed())
        return nullptr;

    if (hasFloats)
        m_times.SetKeyTimes(floats.get(), keyCount);
    else
        m_times.SetKeyTimes(integers.get(), keyCount);
    m_morphMode = mode;
    m_singleFrame = singleFrame;
    return in.Position();
}

void vlMorphData::WriteData(std::FILE* stream) const
{
    io::BlockWriter out(stream);
    Write(out);
}

void vlMorphData::Write(io::BlockWriter& out) const
{
    const unsigned short keyCount =
        m_times.GetKeyTimes() ? m_times.GetKeyCount() : static_cast<unsigned short>(0);
    out.Value(m_morphMode);
    out.Value(keyCount);
    out.Run(m_times.GetKeyTimes(), keyCount);
}

}  // namespace vela::vlgim
