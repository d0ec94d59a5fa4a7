#include "config/ConfigManager.h"

#include "base/MemoryPreferenceStore.h"
#include "base/PollEventLoop.h"
#include "base/linux/InotifyFileEventSource.h"
#include "config/LocalConfigStorageProvider.h"
#include "tests/config/ConfigTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
namespace fs = std::filesystem;

/// A manager over the kernel's file events, with a debounce short enough for tests.
class ConfigWatching : public testing::Test {
protected:
    static constexpr Duration kDebounce = 60ms;
    static constexpr Duration kSettled = 4 * kDebounce;

    void SetUp() override {
        fs::create_directories(folder);
        writeText(active, documentNamed("start"));
        start();
    }
    void start() {
        manager.reset();
        auto provider =
            LocalConfigStorageProvider::locate({files, preferences, home.path(), temporary.path()}, active);
        manager = std::make_unique<ConfigManager>(
            ConfigManager::Environment{
                .fileManager = files,
                .loop = loop,
                .fileEvents = &events,
                .defaultConfigURL = active,
                .printLine = [this](std::string_view line) { lines.emplace_back(line); },
                .configDidReload = [this](const std::string&, const PluginSettings&) { ++reloads; },
                .startProgram = {},
                .reloadDelay = kDebounce},
            std::move(*provider));
        wait(kSettled);
        reloads = 0;
        lines.clear();
    }
    void wait(Duration duration) {
        const Subscription end = loop.after(duration, [this] { loop.quit(); });
        loop.run();
    }
    /// Lets everything come to rest and tells what was loaded how often: "2x name".
    std::string settled() {
        wait(kSettled);
        const std::string name = manager->rootItems().empty() ? "-" : manager->rootItems()[0].name;
        return std::to_string(std::exchange(reloads, 0)) + "x " + name;
    }

    TemporaryFolder home, temporary;
    const std::string folder = home / "config";
    const std::string active = folder + "/config.json";
    PosixFileSystem files;
    MemoryPreferenceStore preferences;
    PollEventLoop loop;
    InotifyFileEventSource events{loop};
    std::vector<std::string> lines;
    int reloads = 0;
    std::unique_ptr<ConfigManager> manager;
};

TEST_F(ConfigWatching, ReloadsOnceHoweverAnEditorWrites) {
    const std::string next = folder + "/next";
    const struct {
        const char* name;
        std::function<void(const std::string& text)> write;
    } rows[] = {
        {"in place", [&](const std::string& text) { writeText(active, text); }},
        {"written and renamed",
         [&](const std::string& text) {
             writeText(next, text);
             fs::rename(next, active);
         }},
        {"renamed away and created",
         [&](const std::string& text) {
             fs::rename(active, active + "~");
             writeText(active, text);
         }},
        {"truncated, a pause, written",
         [&](const std::string& text) {
             writeText(active, "");
             wait(kDebounce * 2);
             writeText(active, text);
         }},
        {"in pieces",
         [&](const std::string& text) {
             std::ofstream out(active);
             for (char c : text) {
                 out << c << std::flush;
                 if (c == ',')
                     wait(kDebounce / 3);
             }
         }},
        {"deleted and returned",
         [&](const std::string& text) {
             fs::remove(active);
             wait(kDebounce * 2);
             writeText(active, text);
         }},
        {"folder deleted and back",
         [&](const std::string& text) {
             fs::remove_all(folder);
             wait(kDebounce * 2);
             fs::create_directories(folder);
             wait(kDebounce * 2);
             writeText(active, text);
         }},
        {"folder replaced by another",
         [&](const std::string& text) {
             fs::create_directories(home / "other");
             writeText(home / "other/config.json", text);
             fs::rename(folder, home / "away");
             fs::rename(home / "other", folder);
         }},
    };
    for (const auto& row : rows)
        for (const std::string round : {" first", " second"}) { // the watches have to survive each of them
            const std::string name = row.name + round;
            fs::remove_all(home / "away");
            row.write(documentNamed(name));
            EXPECT_EQ(settled(), "1x " + name);
        }
}

TEST_F(ConfigWatching, ReloadsOnceWhateverHappensToALink) {
    for (const char* name : {"a", "b"}) {
        fs::create_directories(home / name);
        writeText(home / name + "/real.json", documentNamed(name));
    }
    const auto retarget = [&](const std::string& target) {
        fs::create_symlink(target, folder + "/link");
        fs::rename(folder + "/link", active);
    };
    retarget("../a/real.json");
    EXPECT_EQ(settled(), "1x a");
    retarget("../b/real.json");
    EXPECT_EQ(settled(), "1x b");
    writeText(home / "b/real.json", documentNamed("in place"));
    EXPECT_EQ(settled(), "1x in place");
    writeText(home / "b/next", documentNamed("renamed"));
    fs::rename(home / "b/next", home / "b/real.json");
    EXPECT_EQ(settled(), "1x renamed");
    fs::remove(home / "b/real.json");
    EXPECT_EQ(settled(), "0x renamed");
    writeText(home / "b/real.json", documentNamed("back"));
    EXPECT_EQ(settled(), "1x back");
}

TEST_F(ConfigWatching, IgnoresNeighboursAndItsOwnEchoes) {
    const std::string neighbour = folder + "/notes";
    writeText(neighbour, "1");
    EXPECT_EQ(settled(), "0x start");
    std::ofstream(neighbour, std::ios::app) << "2" << std::flush;
    EXPECT_EQ(settled(), "0x start");
    writeText(active, documentNamed("start"));
    EXPECT_EQ(settled(), "0x start");
    EXPECT_TRUE(lines.empty()) << lines.front();
    ASSERT_FALSE(manager->save(decodeDocument(documentNamed("saved"))->items, {}));
    EXPECT_EQ(settled(), "1x saved");
    EXPECT_EQ(settled(), "0x saved");
}

TEST_F(ConfigWatching, ComesToRestAfterEveryReload) {
    writeText(active, documentNamed("next"));
    EXPECT_EQ(settled(), "1x next");
    int wakes = 0;
    const Subscription counting = loop.observe(EventLoop::Phase::afterWake, [&] { ++wakes; });
    wait(kSettled);
    EXPECT_LE(wakes, 2); // the end of this wait
}

} // namespace
} // namespace varnel
