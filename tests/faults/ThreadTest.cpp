#include "ModelFolder.h"

#include <corecommon/Log.h>

#include <atomic>
#include <thread>

namespace vela::vlgim::test {

using ThreadTest = ModelFolder;

TEST_F(ThreadTest, DifferentObjectsSideBySide)
{
    // Loads, converts and saves the model to files of its own, over and over.
    const auto work = [this](const std::string& own) {
        std::filesystem::create_directories(own + "_gis");
        for (int round = 0; round < 20; ++round) {
            Model model;
            EXPECT_TRUE(model.Load(Path("m/a")));
            EXPECT_FALSE(Model().Load(Path("missing")));  // which is logged
            model.gis.m_anim.ConvertToDelta();
            model.gis.m_anim.ConvertFromDelta();
            EXPECT_TRUE(model.Save(own));
        }
    };
    std::atomic<int> lines = 0;
    const auto count = [](LogLevel, const char*, void* user) { ++*static_cast<std::atomic<int>*>(user); };
    SetLogSink(count, &lines);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(work, Path("n/" + std::to_string(i)));
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

}  // namespace vela::vlgim::test
