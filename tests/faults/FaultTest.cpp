#include "ModelFolder.h"

#include <corecommon/Log.h>

#include <tinyxml2.h>

#include <functional>
#include <malloc.h>
#include <new>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

// How many allocations of this thread succeed before one fails; negative: all do.
thread_local long allowance = -1;
thread_local bool hasFailed = false;

// Bytes that this thread has allocated and not freed, and the most there were.
thread_local std::ptrdiff_t held = 0, mostHeld = 0;

}  // namespace

// Not inlined, or g++ takes the pairs for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* const memory = allowance == 0 ? nullptr : std::malloc(size);
    hasFailed = hasFailed || !memory;
    if (allowance >= 0)
        --allowance;
    if (!memory)
        throw std::bad_alloc();
    held += static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
    mostHeld = std::max(mostHeld, held);
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    held -= static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace vela::vlgim::test {

namespace {

using Work = std::function<bool()>;

// Does the work once for each of its allocations, of which that one fails, until none does; true is expected then.
// check is called behind each failure.
void FailEachAllocation(const Work& work, const std::function<void()>& check)
{
    for (long count = 0;; ++count) {
        SCOPED_TRACE(count);
        bool done = false;
        hasFailed = false;
        allowance = count;
        try {
            done = work();
        } catch (const std::bad_alloc&) {
        }
        allowance = -1;
        if (!hasFailed) {
            EXPECT_TRUE(done);
            return;
        }
        check();
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

class FaultTest : public ModelFolder {
protected:
    FaultTest()
    {
        SetLogSink(
            [](LogLevel, const char* text, void* user) {
                auto& line = static_cast<FaultTest*>(user)->lastLine;  // without an allocation
                std::snprintf(line, sizeof line, "%s", text);
            },
            this);
    }
    ~FaultTest() override { SetLogSink(nullptr, nullptr); }

    // The folder holds the model's files and nothing else.
    void ExpectUntouched() const
    {
        std::size_t files = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "m"))
            files += entry.is_regular_file();
        EXPECT_EQ(files, std::size(kFiles)) << "no stray";
        for (const auto& [name, content] : kFiles)
            EXPECT_TRUE(Read(Path("m/" + name)) == content) << name;
    }

    const std::string stem = Path("m/a");
    char lastLine[600] = {};
    Model model;
    GimData& gim = model.gim;
    GisData& gis = model.gis;
};

}  // namespace

// A load into objects that hold something, and one into new ones.
TEST_F(FaultTest, EveryAllocationOfALoad)
{
    FailEachAllocation([&] { return model.Load(stem); },
                       [&] {
                           const std::tuple copies(gim.m_mesh, gis.m_anim, model.track);
                           model.Save(Path("n/a"));  // of which some may hold too little
                           ExpectUntouched();
                       });
    FailEachAllocation([&] { return Model().Load(stem); }, [] {});
}

TEST_F(FaultTest, AReadThatRunsOutOfMemoryLeavesMeshAndAnimation)
{
    ASSERT_TRUE(model.Load(stem));
    const Bytes mesh = MeshOf(0x50004, {1, true, true, true}), animation = SmallGis(false);
    const auto size = static_cast<std::uint32_t>(animation.size());
    const auto vertices = gim.m_mesh.m_vertexData;
    const auto clip = gis.m_anim.m_clips[0];
    FailEachAllocation([&] { return gim.m_mesh.ReadMeshFile(mesh.data(), mesh.size()); },
                       [&] { EXPECT_EQ(gim.m_mesh.m_vertexData, vertices); });
    FailEachAllocation([&] { return gis.m_anim.ReadAnimationFile(animation.data(), size, "a.gis"); },
                       [&] { EXPECT_EQ(gis.m_anim.m_clips[0], clip); });

    auto& skin = dynamic_cast<vlMeshSkelVertexData&>(*vertices);
    const vlMeshSkelVertexData before = skin;
    ByteBuilder block;
    block.Raw(SmallVertexBlock(0x50004, 3)).Raw(SkinSlots(0x50004)).Raw(SkinMask(0x50004));
    const auto state = [](const vlMeshSkelVertexData& object) {
        return std::tuple(object.m_positions, object.m_boneWeights, object.m_usedBones);
    };
    FailEachAllocation([&] { return skin.ReadDataNew(block.Bytes().data(), 0x50004, 0) != nullptr; },
                       [&] { EXPECT_EQ(state(skin), state(before)); });
}

TEST_F(FaultTest, EveryAllocationOfASave)
{
    ASSERT_TRUE(model.Load(stem));
    FailEachAllocation([&] { return model.Save(stem); }, [&] { ExpectUntouched(); });
    ExpectUntouched();
    gim.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    gim.m_mesh.m_vertexData->m_positions[0].x = 9;
    FailEachAllocation([&] { return gim.Save((stem + ".gim").c_str()) == 0; }, [&] { ExpectUntouched(); });
    EXPECT_TRUE(Read(Path("m/a.mesh")) != kFiles[1].second);
}

TEST_F(FaultTest, EveryAllocationOfAnEdit)
{
    ASSERT_TRUE(model.Load(stem));
    vlKeyTimes times;
    times.SetKeyTimes(3, 2);
    const Work edits[] = {[&] { return times.AddKeyTime(0.5F); },
                          [&] { return times.RemoveKeyTime(1); },
                          [&] { return times.SetKeyTimes(5, 4), times.GetKeyCount() == 5; },
                          [&] { return vlKeyTimes(times) == times; },
                          [&] { return gis.m_anim.ConvertToDelta(), gis.m_anim.m_isDelta; },
                          [&] { return gis.m_anim.ConvertFromDelta(), !gis.m_anim.m_isDelta; },
                          [&] { return gim.m_mtgXml.Parse("<a><b/></a>", 11) == 0; }};
    for (const Work& edit : edits) {
        SCOPED_TRACE(&edit - edits);
        FailEachAllocation(edit, [&] {
            EXPECT_EQ(vlKeyTimes(times).GetKeyTimes() != nullptr, times.GetKeyCount() != 0);
            EXPECT_TRUE(model.Save(Path("n/a")));
        });
    }
}

namespace {

// Vertices without data, and as many blocks of original data as a table can name, all in one place.
Bytes ManyBlocks(std::uint32_t vertices)
{
    ByteBuilder file;
    file.U32(0xBBC88034).U32(0x50004).U16(0).U16(0).U32(26 + 87);
    file.U16(0).U32s({vertices, 0}).Raw(OriginalBlock());
    file.U16(32767).U32(16);
    for (int i = 0; i < 32766; ++i)
        file.U32(26);
    return file.U16(0);
}

}  // namespace

// Counts for which there are hardly any bytes, up to where they are refused.
TEST_F(FaultTest, CountsThatLieTakeNoMemory)
{
    int read = 0, refused = 0;
    const auto expectBound = [&](const Bytes& file, const Work& load) {
        const std::ptrdiff_t before = mostHeld = held;
        ++(load() ? read : refused);
        EXPECT_LE(mostHeld - before, 64 * static_cast<std::ptrdiff_t>(file.size()) + (16 << 20));
    };
    for (std::uint32_t vertices = 0; vertices < 1'000'000; vertices += 50'000)
        for (const Bytes& file : {ManyBlocks(vertices), StaticMesh(ByteBuilder().U16(0).U32s({vertices, 0}))})
            expectBound(file, [&] { return vlMeshData().ReadMeshFile(file.data(), file.size()); });
    for (std::uint16_t clips = 0; clips < 20'000; clips += 500) {
        const Bytes file =
            ByteBuilder().Raw({'R', 'G', 'I', 'S'}).U32(0x60000).U16(clips).U32(0).U32(1).Fill(30, 0);
        const auto size = static_cast<std::uint32_t>(file.size());
        expectBound(file, [&] { return vlAnimData().ReadAnimationFile(file.data(), size, "a.gis"); });
    }
    EXPECT_GT(read, 10);
    EXPECT_GT(refused, 10);
}

TEST_F(FaultTest, EveryByteOfAFileFails)
{
    ASSERT_TRUE(model.Load(stem));
    gim.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    gim.m_mtgXml.Document().RootElement()->SetAttribute("Edited", 1);
    const std::pair<std::string, Work> saves[] = {
        {"m/a.mesh", [&] { return gim.Save((stem + ".gim").c_str()) == 0; }},
        {"m/a_gis/walk.gis", [&] { return gis.Save((stem + ".gis").c_str()) == 0; }},
        {"m/a.track", [&] { return model.track.Save((stem + ".track").c_str()), false; }}};
    for (const auto& [largest, save] : saves) {
        const std::size_t size = std::filesystem::file_size(Path(largest));
        for (std::size_t room = 0; room < size; ++room) {
            const bool isSaved = (ShortDisk(room), save());  // the disk is short up to the semicolon
            const std::string line = lastLine;
            EXPECT_FALSE(isSaved || !line.starts_with("failed to write " + Path("m/a")) ||
                         !line.ends_with(": File too large"))
                << room << ": " << line;
            ExpectUntouched();
        }
    }
}

TEST_F(FaultTest, AProcessThatIsKilledLeavesTheOldOrTheNewFile)
{
    ASSERT_TRUE(model.Load(stem));
    const std::string path = Path("k/a.mesh"), old = kFiles[1].second;
    std::string edited = old;
    int strays = 0;
    edited[11] = 3;  // the morph mode
    for (int i = 0; i < 200; ++i) {
        Write("k/a.mesh", old);
        int saved[2];
        ASSERT_EQ(::pipe(saved), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (bool edit = false;; edit = !edit) {
                gim.m_mesh.m_morph->m_morphMode = edit ? 3 : 2;
                if (gim.m_mesh.WriteMeshFile(path.c_str()) != 0)
                    ::_exit(1);
                [[maybe_unused]] const auto told = ::write(saved[1], "", 1);
            }
        }
        char byte = 0;
        ASSERT_EQ(::read(saved[0], &byte, 1), 1);
        ::close(saved[0]);
        ::usleep(static_cast<useconds_t>(5 * i));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(saved[1]);
        const std::string content = Read(path);
        EXPECT_TRUE(content == old || content == edited);
        EXPECT_EQ(gim.m_mesh.WriteMeshFile(path.c_str()), 0) << "with a stray beside it";
        EXPECT_TRUE(Read(path) == old);
        const auto files = std::distance(std::filesystem::directory_iterator(Path("k")), {});
        EXPECT_LE(files, 2);
        strays += files > 1;
        std::filesystem::remove_all(Path("k"));
    }
    EXPECT_GT(strays, 0) << "else no save was met in its middle";
}

}  // namespace vela::vlgim::test
