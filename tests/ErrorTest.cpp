#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/GimData.h>
#include <vlgim/GisData.h>

namespace vela::vlgim::test {

namespace {

using ErrorTest = FolderTest;

const Bytes kMesh = MeshOf(0x50004, {1, true, true, true}, true);
const Bytes kTrack = ByteBuilder().Raw({'V', 'T', 'R', 'K'}).U32(0x10001).U16(256).Raw(TrackBlock());

}  // namespace

TEST_F(ErrorTest, EachContainerSaysWhatAndWhereAndLogsNothing)
{
    const std::string manifest =
        "<Vela><SubMesh><a Name='x' MtlIdx='0'/><b Name='y' MtlIdx='0'/></SubMesh></Vela>";
    const Bytes gis = SmallGis(false);
    for (const auto& [name, file] : {std::pair("a", kMesh), {"cut", Prefix(kMesh, 40)}}) {
        Write(std::string(name) + ".mesh", AsString(file));
        Write(std::string(name) + ".gim", manifest);
    }
    Write("none.gim", manifest);
    Write("bad.gim", "<Vela><a></Vela>");
    Write("a.gis", AsString(gis));
    Write("cut.gis", AsString(Prefix(gis, 150)));
    Write("a.track", AsString(kTrack));
    Write("cut.track", AsString(Prefix(kTrack, 118)));
    LogCapture log;
    vlMeshData mesh;
    GimData gim;
    vlAnimData anim;
    GisData skeleton;
    vlTrackData track;
    const LoadOptions two{.base = {}, .submeshCount = 2},
        small{.base = {}, .submeshCount = 2, .memoryLimit = 9};
    const auto path = [this](const char* name) { return Path(name); };
    const auto load = [&](auto& object, const char* name, const LoadOptions& options = {}) {
        return Load(object, path(name).c_str(), options);
    };
    const auto save = [&](auto& object, const char* name) { return Save(object, path(name).c_str()); };
    const struct {
        Error error;
        ErrorKind kind;
        const char *file, *block;
        std::optional<std::uint64_t> offset;
    } cases[] = {
        {load(mesh, "cut.mesh", two), ErrorKind::Bytes, "cut.mesh", "track 0", 31},
        {load(mesh, "none.mesh", two), ErrorKind::NotFound, "none.mesh", "", {}},
        {load(mesh, "a.mesh", small), ErrorKind::MemoryLimit, "a.mesh", "morph data", 26},
        {save(mesh, "b.mesh"), ErrorKind::Unwritable, "b.mesh", "", {}},
        {load(gim, "cut.gim"), ErrorKind::Bytes, "cut.mesh", "track 0", 31},
        {load(gim, "bad.gim"), ErrorKind::Document, "bad.gim", "", 16},
        {load(gim, "none.gim"), ErrorKind::NotFound, "none.mesh", "", {}},
        {load(gim, "a.gim", small), ErrorKind::MemoryLimit, "a.mesh", "morph data", 26},
        {save(gim, "b.gim"), ErrorKind::Unwritable, "a.mesh", "", {}},
        {load(anim, "cut.gis"), ErrorKind::Bytes, "cut.gis", "clip 0", 90},
        {load(anim, "none.gis"), ErrorKind::NotFound, "none.gis", "", {}},
        {load(anim, "a.gis", small), ErrorKind::MemoryLimit, "a.gis", "clip count", 10},
        {save(anim, "b.gis"), ErrorKind::Unwritable, "b.gis", "", {}},
        {load(skeleton, "cut.gis"), ErrorKind::Bytes, "cut.gis", "clip 0", 90},
        {load(skeleton, "none.gis"), ErrorKind::NotFound, "none.gis", "", {}},
        {load(skeleton, "a.gis", small), ErrorKind::MemoryLimit, "a.gis", "clip count", 10},
        {(skeleton.m_anim.m_boneCount = 1, save(skeleton, "b.gis")), ErrorKind::Unwritable, "b.gis", "", {}},
        {load(track, "cut.track"), ErrorKind::Bytes, "cut.track", "track 0 / channel 1", 116},
        {load(track, "none.track"), ErrorKind::NotFound, "none.track", "", {}},
        {load(track, "a.track", small), ErrorKind::MemoryLimit, "a.track", "track 0", 172},
        {(track.m_channelCount = 1, save(track, "b.track")), ErrorKind::Unwritable, "b.track", "", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error.Message());
        EXPECT_EQ(std::tuple(c.error.kind, c.error.file, c.error.block, c.error.offset),
                  std::tuple(c.kind, path(c.file), c.block, c.offset));
        EXPECT_FALSE(std::filesystem::exists(path("b") + c.error.file.substr(c.error.file.rfind('.'))));
    }
    for (const Error& good : {load(mesh, "a.mesh", two), load(gim, "a.gim"), load(anim, "a.gis"),
                              load(skeleton, "a.gis"), load(track, "a.track"), save(track, "b.track")})
        EXPECT_EQ(good.Message(), "");
    EXPECT_EQ(log.lines, Lines{});
}

}  // namespace vela::vlgim::test
