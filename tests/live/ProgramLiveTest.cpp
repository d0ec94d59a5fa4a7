#include "tests/live/LiveTest.h"

#include <filesystem>
#include <fstream>

namespace varnel::test {
namespace {

/// `varnel run --headless` as a user starts it, with a home of its own.
class ProgramLive : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        char pattern[] = "/tmp/varnel-live-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        folder = pattern;
        std::ofstream(folder + "/mark") << "#!/bin/sh\necho ran >> " << folder << "/log\n";
        std::filesystem::permissions(folder + "/mark", std::filesystem::perms::owner_all);
        std::ofstream(folder + "/config.json")
            << R"({"items":[{"name":"Mark","keys":["ctrl+j","w","g"],"type":"action",)"
            << R"("action":{"pluginID":"core.application","actionID":"open","params":{"path":")" << folder
            << R"(/mark"}}}],"pluginSettings":{}})";
        std::filesystem::create_directory(folder + "/run");
        std::filesystem::permissions(folder + "/run", std::filesystem::perms::owner_all);
        program = std::make_unique<ChildProcess>(
            std::vector<std::string>{VARNEL_BINARY_DIR "/varnel", "run", "--headless", "--config",
                                     folder + "/config.json"},
            std::vector<std::string>{"DISPLAY=" + desktop->display(), "HOME=" + folder,
                                     "XDG_RUNTIME_DIR=" + folder + "/run", "XDG_STATE_HOME=" + folder,
                                     "XDG_CONFIG_HOME=" + folder, "XDG_DATA_HOME=" + folder});
    }

    void TearDown() override {
        LiveTest::TearDown();
        program.reset();
        std::filesystem::remove_all(folder);
    }

    void typeSequence() {
        typist->chord(key::ctrl, key::j);
        typist->tap(key::w);
        typist->tap(key::g);
        typist->sync();
    }

    [[nodiscard]] int runsSoFar() const {
        std::ifstream file(folder + "/log");
        int lines = 0;
        for (std::string line; std::getline(file, line);)
            ++lines;
        return lines;
    }

    bool runsReach(int count, milliseconds patience = 5s) const {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (runsSoFar() < count && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(5ms);
        return runsSoFar() == count;
    }

    std::string folder;
    std::unique_ptr<ChildProcess> program;
};

TEST_F(ProgramLive, RunsProgramsFromTypedSequencesAndLeavesNothingBehind) {
    for (int attempt = 0; attempt < 50 && runsSoFar() == 0; ++attempt) {
        typeSequence();
        (void)runsReach(1, 100ms);
    }
    const int before = runsSoFar();
    ASSERT_EQ(before, 1) << "the program does not capture";
    window->forget();
    for (int i = 1; i <= 50; ++i)
        typeSequence();
    EXPECT_TRUE(runsReach(before + 50));
    EXPECT_TRUE(keysReachTheWindow());
    for (const std::uint8_t swallowed : {key::j, key::w, key::g})
        EXPECT_EQ(window->presses(swallowed), 0) << int(swallowed);
    typist->chord(key::ctrl, key::j); // ended in the middle of a sequence
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
    EXPECT_TRUE(keysReachTheWindow());
}

} // namespace
} // namespace varnel::test
