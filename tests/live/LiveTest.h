#pragma once

#include "tests/support/x11/X11Desktop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace varnel::test {

using namespace std::chrono_literals;

inline const std::string kTapProgram = VARNEL_BINARY_DIR "/live_tap";
inline const std::string kGuardProgram = VARNEL_BINARY_DIR "/varnel-keyguard";

/// A desktop with a window in front, a typist, and one run of the real tap and engine. The desktop serves all
/// tests of a program.
class LiveTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!desktop)
            desktop = std::make_unique<X11Desktop>(std::vector<std::string>{"W-e", "F12", "C-j"});
    }

    void SetUp() override {
        typist = std::make_unique<Typist>(desktop->display());
        window = std::make_unique<ProbeWindow>(desktop->display());
    }

    /// The tests' common promise: nothing is held any more, neither for the server nor for the window.
    void TearDown() override {
        if (!typist)
            return;
        typist->sync();
        window->sync();
        window->readAvailable();
        EXPECT_EQ(typist->keysDown(), std::set<int>{});
        EXPECT_EQ(window->held(), std::set<int>{});
    }

    void start(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{kTapProgram, "--display", desktop->display()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        tap.reset(); // the one before would have the keys
        tap = std::make_unique<ChildProcess>(command);
        ASSERT_TRUE(tap->readUntil("ready"));
    }

    /// How often `name` runs, once `total` runs were announced or nothing more comes.
    std::map<std::string, int> runs(int total, milliseconds patience = 3s) {
        std::map<std::string, int> counts;
        for (int i = 0; i < total; ++i) {
            const auto line = tap->readLine(patience);
            if (!line)
                break;
            ++counts[*line];
        }
        std::this_thread::sleep_for(20ms);
        for (const std::string& line : tap->readAvailable())
            ++counts[line];
        return counts;
    }

    /// Whether a plain key typed now reaches the window in time.
    bool keysReachTheWindow(milliseconds patience = 1s) {
        const int before = window->releases(key::x);
        typist->tap(key::x);
        return window->readUntil([&] { return window->releases(key::x) > before; }, patience);
    }

    static inline std::unique_ptr<X11Desktop> desktop;
    std::unique_ptr<Typist> typist;
    std::unique_ptr<ProbeWindow> window;
    std::unique_ptr<ChildProcess> tap;
};

} // namespace varnel::test
