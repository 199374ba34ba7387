#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/GimData.h>
#include <vlgim/GisData.h>

namespace vela::vlgim::test {

namespace {

const LoadOptions kTwo{.base = {}, .submeshCount = 2},
    kSmall{.base = {}, .submeshCount = 2, .memoryLimit = 9};

class ErrorTest : public FolderTest {
protected:
    // An object of a default value and files of its kind: one cut short, none, one that needs more memory than is
    // allowed, and one that would be written. A model's are those of its mesh.
    template <class Object>
    void ExpectErrors(const std::string& extension, const std::string& cut, const std::string& large) const
    {
        const bool isModel = extension == ".gim";
        const std::string inner = isModel ? ".mesh: " : extension + ": ", target = Path("b" + extension);
        Object object, good;
        const auto load = [&](const char* stem, const LoadOptions& options) {
            return Load(object, Path(stem + extension).c_str(), options);
        };
        const auto save = [&] {
            if constexpr (requires { object.m_channelCount; })
                object.m_channelCount = 1;  // an empty track can be written, and an empty skeleton
            else if constexpr (requires { object.m_anim; })
                object.m_anim.m_boneCount = 1;
            return Save(object, target.c_str());
        };
        const std::tuple<Error, ErrorKind, std::string> cases[] = {
            {load("cut", kTwo), ErrorKind::Bytes, "cut" + inner + cut + ":"},
            {load("none", kTwo), ErrorKind::NotFound, "none" + inner},
            {load("a", kSmall), ErrorKind::MemoryLimit, "a" + inner + large + ":"},
            {save(), ErrorKind::Unwritable, (isModel ? "a" : "b") + inner}};
        for (const auto& [error, kind, message] : cases) {
            EXPECT_EQ(error.kind, kind) << error.Message();
            EXPECT_TRUE(error.Message().starts_with(Path(message))) << error.Message();
        }
        EXPECT_FALSE(std::filesystem::exists(target));
        EXPECT_FALSE(Load(good, Path("a" + extension).c_str(), kTwo));
        EXPECT_FALSE(Save(good, target.c_str()));
        EXPECT_TRUE(std::filesystem::remove(target));
    }
};

}  // namespace

TEST_F(ErrorTest, EachContainerSaysWhatAndWhereAndLogsNothing)
{
    const std::tuple<const char*, Bytes, std::size_t> files[] = {
        {".mesh", MeshOf(0x50004, {1, true, true, true}, true), 40},
        {".gis", SmallGis(false), 150},
        {".track", ByteBuilder().Raw({'V', 'T', 'R', 'K'}).U32(0x10001).U16(256).Raw(TrackBlock()), 118}};
    for (const auto& [extension, file, cut] : files) {
        Write(std::string("a") + extension, AsString(file));
        Write(std::string("cut") + extension, AsString(Prefix(file, cut)));
    }
    for (const char* name : {"a.gim", "cut.gim", "none.gim"})
        Write(name, "<Vela><SubMesh><a Name='x' MtlIdx='0'/><b Name='y' MtlIdx='0'/></SubMesh></Vela>");
    const LogCapture log;
    ExpectErrors<vlMeshData>(".mesh", "track 0 at byte 31", "morph data at byte 26");
    ExpectErrors<GimData>(".gim", "track 0 at byte 31", "morph data at byte 26");
    ExpectErrors<vlAnimData>(".gis", "clip 0 at byte 90", "clip count at byte 10");
    ExpectErrors<GisData>(".gis", "clip 0 at byte 90", "clip count at byte 10");
    ExpectErrors<vlTrackData>(".track", "track 0 / channel 1 at byte 116", "track 0 at byte 172");
    Write("bad.gim", "<Vela><a></Vela>");
    GimData gim;
    const Error bad = Load(gim, Path("bad.gim").c_str());
    EXPECT_EQ(std::tuple(bad.kind, bad.file, bad.offset),
              std::tuple(ErrorKind::Document, Path("bad.gim"), 16U));
    EXPECT_EQ(log.lines, Lines{});
}

}  // namespace vela::vlgim::test
