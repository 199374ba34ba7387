#include "ModelFolder.h"

#include <corecommon/Log.h>
#include <vlgim/GimData.h>
#include <vlgim/GisData.h>
#include <vlgim/vlTrackData.h>

#include <atomic>
#include <thread>

namespace vela::vlgim {

namespace {

class ThreadTest : public test::ModelFolder {
protected:
    // Loads, converts and saves the model to files of its own, over and over.
    void Work(int thread) const
    {
        const std::string own = Path("n/" + std::to_string(thread));
        std::filesystem::create_directories(own + "_gis");
        for (int round = 0; round < 20; ++round) {
            GimData gim;
            GisData gis;
            vlTrackData track;
            EXPECT_EQ(gim.Load(Path("m/a.gim").c_str()), 0);
            EXPECT_EQ(gis.Load(Path("m/a.gis").c_str()), 0);
            EXPECT_TRUE(track.Load(Path("m/a.track").c_str()));
            EXPECT_NE(GimData().Load(Path("missing.gim").c_str()), 0);  // which is logged
            gis.m_anim.ConvertToDelta();
            gis.m_anim.ConvertFromDelta();
            gim.m_meshPath = own + ".mesh";
            gis.m_anim.m_path = own + ".gis";
            EXPECT_EQ(gim.Save((own + ".gim").c_str()), 0);
            EXPECT_EQ(gis.Save((own + ".gis").c_str()), 0);
            track.Save((own + ".track").c_str());
        }
    }
};

}  // namespace

TEST_F(ThreadTest, DifferentObjectsSideBySide)
{
    std::atomic<int> lines = 0;
    const auto count = [](LogLevel, const char*, void* user) { ++*static_cast<std::atomic<int>*>(user); };
    SetLogSink(count, &lines);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([this, i] { Work(i); });
    for (int i = 0; i < 100; ++i)
        SetLogSink(count, &lines);  // while the others log
    for (std::thread& thread : threads)
        thread.join();
    SetLogSink(nullptr, nullptr);
    EXPECT_GE(lines, 8 * 20);
    for (int i = 0; i < 8; ++i)
        for (const char* extension : {".gim", ".mesh", ".mtg", "_music.ags", ".track", ".ags"})
            EXPECT_EQ(Read(Path("n/" + std::to_string(i) + extension)), Read(Path("m/a") + extension))
                << extension;
}

}  // namespace vela::vlgim
