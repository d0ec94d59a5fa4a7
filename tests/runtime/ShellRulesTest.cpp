// What the shell shows and does, apart from any toolkit: health, pause, session, launch at login.
#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "base/PosixFileSystem.h"
#include "runtime/HealthMonitor.h"
#include "runtime/LaunchAtLogin.h"
#include "runtime/Pause.h"
#include "runtime/SessionWatch.h"
#include "runtime/linux/AutostartEntry.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace varnel {
namespace {

namespace fs = std::filesystem;

TEST(Health, HasOneSentenceForEachState) {
    const Problem trouble{Problem::Kind::capture, "another program holds ctrl+j", {}};
    const Problem broken{Problem::Kind::configuration, "items: expected an array", "/c.json:3:1"};
    HealthFacts listening{.isCapturing = true,
                          .isSafe = false,
                          .captureError = {},
                          .suspensionReasons = {},
                          .pauseLeft = std::nullopt,
                          .actionCount = 4,
                          .problems = {}};
    const auto with = [&](auto change) {
        HealthFacts facts = listening;
        change(facts);
        return facts;
    };
    using State = HealthState;
    const struct {
        HealthFacts facts;
        State state;
        std::string sentence;
    } rows[] = {
        {listening, State::listening, "Listening for 4 shortcuts."},
        {with([](auto& f) { f.isSafe = true; }), State::listening,
         "Safe start: listening for the built-in shortcuts only."},
        {with([](auto& f) { f.actionCount = 0; }), State::listening,
         "Listening, but the configuration has no shortcuts yet."},
        {with([&](auto& f) {
             f.problems = {trouble, broken};
         }),
         State::attention, "Listening, but another program holds ctrl+j."},
        {with([&](auto& f) { f.problems = {broken}; }), State::attention,
         "Listening with the earlier shortcuts: the configuration has an error."},
        {with([](auto& f) {
             f.suspensionReasons = {"panic keys", "pause"};
         }),
         State::paused, "Paused by the panic keys until you resume."},
        {with([&](auto& f) {
             f.suspensionReasons = {"pause"};
             f.problems = {broken};
         }),
         State::paused, "Paused until you resume."},
        {with([](auto& f) {
             f.suspensionReasons = {"pause"};
             f.pauseLeft = 241s;
         }),
         State::paused, "Paused for another 5 minutes."},
        {with([](auto& f) {
             f.suspensionReasons = {"game", "lunch"};
         }),
         State::paused, "Paused: game, lunch."},
        {with([](auto& f) {
             f.suspensionReasons = {"pause", "session locked"};
         }),
         State::paused, "Not listening while the screen is locked."},
        {with([](auto& f) {
             f.isCapturing = false;
             f.captureError = "No display.";
             f.suspensionReasons = {"x"};
         }),
         State::notCapturing, "Keys are not captured: No display."},
    };
    for (const auto& row : rows) {
        const Health health = assessHealth(row.facts);
        EXPECT_EQ(health.sentence, row.sentence);
        EXPECT_EQ(name(health.state), name(row.state)) << row.sentence;
    }
}

TEST(Health, NeverRoundsWhatIsLeftToNothing) {
    const std::pair<Duration, const char*> rows[] = {{0ns, "1 second"},   {1ns, "1 second"},
                                                     {59s, "59 seconds"}, {59001ms, "1 minute"},
                                                     {61s, "2 minutes"},  {30min, "30 minutes"}};
    for (const auto& [left, text] : rows)
        EXPECT_EQ(remainingTime(left), text);
}

TEST(Health, NamesTheFileLineAndColumnOfAnError) {
    const ConfigDecodingError decoding{{{}, "expected an array of items", {1, 1}},
                                       ConfigFault{{std::string("items")}, "expected an array", {3, 12}}};
    const Problem wanted{Problem::Kind::configuration, "items: expected an array", "/home/config.json:3:12"};
    EXPECT_EQ(configurationProblem(decoding, "/home/config.json"), wanted);
    EXPECT_EQ(configurationProblem(ConfigFileSelectionError{"/home/config.json", decoding}, "/other"),
              wanted);
    EXPECT_EQ(configurationProblem(FileError{"read", "/c", 13}, "/c").place, "/c");
}

TEST(Health, ReportsOnlyCapabilitiesThatAreMissed) {
    using Kind = PluginStatus::Kind;
    PluginRegistry registry;
    const auto add = [&](const char* id, Kind kind, bool enabled = true) {
        PluginDescriptor plugin;
        plugin.manifest.id = plugin.manifest.name = id;
        plugin.pluginURL = std::string("/p/") + id;
        plugin.isEnabled = enabled;
        plugin.status = {kind, "broken"};
        registry.descriptors.push_back(std::make_shared<const PluginDescriptor>(plugin));
    };
    add("fine", Kind::active);
    add("damaged", Kind::invalid);
    add("off", Kind::invalid, false);
    add("unused", Kind::untrusted);
    add("used", Kind::untrusted);
    std::vector<std::string> places;
    for (const Problem& problem : capabilityProblems(registry, {"used", "fine"}))
        places.push_back(problem.place);
    EXPECT_EQ(places, (std::vector<std::string>{"/p/damaged", "/p/used"}));
}

TEST(Health, PutsTheLatestProblemFirst) {
    const Problem a{Problem::Kind::capture, "a", {}}, b{Problem::Kind::capture, "b", {}},
        c{Problem::Kind::capture, "c", {}};
    EXPECT_EQ(latestFirst({a, b, c}, {b, a}), (std::vector<Problem>{c, b, a}));
}

struct PauseTest : ::testing::Test {
    ManualEventLoop loop;
    Duration slept{};
    bool suspended = false;
    int changes = 0;
    Pause pause{{.loop = loop,
                 .suspend = [this](bool on) { suspended = on; },
                 .elapsed = [this] { return loop.now().time_since_epoch() + slept; }}};
    Subscription observation = pause.observe([this] { ++changes; });
};

TEST_F(PauseTest, EndsByItselfAndCountsDown) {
    pause.begin(5min);
    loop.advance(4min);
    EXPECT_TRUE(suspended);
    EXPECT_EQ(pause.left(), 1min);
    pause.begin(30min); // takes the first one's place
    loop.advance(2min);
    EXPECT_TRUE(suspended);
    loop.advance(28min);
    EXPECT_FALSE(suspended || pause.isOn());
    EXPECT_EQ(changes, 3);
}

TEST_F(PauseTest, CountsTheTimeThatTheComputerSleeps) {
    pause.begin(30min);
    slept = 29min;
    pause.noticeTime();
    EXPECT_TRUE(suspended);
    loop.advance(1min);
    EXPECT_FALSE(suspended);
}

TEST_F(PauseTest, FollowsWhatOthersDoToItsReason) {
    pause.begin(5min);
    pause.noticeReasons({"game"}); // resumed from the command line
    EXPECT_FALSE(pause.isOn());
    pause.noticeReasons({"pause"});
    loop.advance(1h);
    EXPECT_TRUE(pause.isOn());
    EXPECT_EQ(pause.left(), std::nullopt);
    pause.end();
    EXPECT_FALSE(pause.isOn());
}

struct SessionGuardTest : ::testing::Test {
    ManualEventLoop loop;
    std::map<std::string, bool> reasons;
    bool isHeld = false;
    int cameBack = 0;
    SessionGuard guard{{.loop = loop,
                        .suspend = [this](const std::string& reason, bool on) { reasons[reason] = on; },
                        .isKeyboardHeldElsewhere = [this] { return isHeld; },
                        .cameBack = [this] { ++cameBack; }}};
    [[nodiscard]] bool isLocked() { return reasons["session locked"]; }
};

TEST_F(SessionGuardTest, StaysAwayWhileTheSessionIsKnownToBeLocked) {
    guard.handle(SessionEvent::lockRequested);
    EXPECT_TRUE(isLocked()); // before any locker has drawn anything
    guard.handle(SessionEvent::locked);
    loop.advance(8h);
    EXPECT_TRUE(isLocked());
    guard.handle(SessionEvent::unlocked);
    EXPECT_FALSE(isLocked());
    EXPECT_EQ(cameBack, 1);
}

TEST_F(SessionGuardTest, ComesBackAfterALockerThatNeverSaysThatItIsDone) {
    guard.handle(SessionEvent::lockRequested);
    isHeld = true;
    loop.advance(1h);
    EXPECT_TRUE(isLocked());
    isHeld = false;
    loop.advance(3s);
    EXPECT_FALSE(isLocked());
    EXPECT_FALSE(guard.isLocked());
}

TEST_F(SessionGuardTest, ComesBackWhenNothingLocksAtAll) {
    guard.handle(SessionEvent::lockRequested);
    loop.advance(4s);
    EXPECT_FALSE(isLocked());
}

TEST_F(SessionGuardTest, TellsTheScreenSaverFromTheLock) {
    guard.handle(SessionEvent::screenSaverOn);
    EXPECT_TRUE(isLocked());
    guard.handle(SessionEvent::screenSaverOff);
    EXPECT_FALSE(isLocked());
    guard.handle(SessionEvent::locked);
    guard.handle(SessionEvent::screenSaverOn);
    guard.handle(SessionEvent::screenSaverOff); // the mouse was moved; the locker still asks for the password
    EXPECT_TRUE(isLocked());
    guard.handle(SessionEvent::unlocked);
    EXPECT_FALSE(isLocked());
}

TEST_F(SessionGuardTest, SleepsAndWakesWhileLocked) {
    guard.handle(SessionEvent::locked);
    guard.handle(SessionEvent::fallingAsleep);
    EXPECT_TRUE(reasons["computer asleep"]);
    guard.handle(SessionEvent::awake);
    EXPECT_FALSE(reasons["computer asleep"]);
    EXPECT_TRUE(isLocked());
    guard.handle(SessionEvent::unlocked);
    EXPECT_FALSE(isLocked());
}

struct AutostartTest : ::testing::Test {
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "varnel-autostart-XXXXXX";
        root = ::mkdtemp(pattern.data());
        program = root + "/my programs/$100%\"q\\x`/varnel-app";
        fs::create_directories(fs::path(program).parent_path());
        std::ofstream(program) << "x";
        fs::create_directories(root + "/system");
        entry = std::make_unique<AutostartEntry>(
            files, AutostartEntry::Places{root + "/user/autostart", {root + "/system"}, program});
    }
    void TearDown() override { fs::remove_all(root); }
    void write(const std::string& folder, const std::string& text) {
        fs::create_directories(root + folder);
        std::ofstream(root + folder + "/varnel.desktop") << "[Desktop Entry]\nType=Application\nName=V\n"
                                                         << text;
    }
    [[nodiscard]] LaunchAtLoginState::Kind kind() { return entry->state().kind; }

    using Kind = LaunchAtLoginState::Kind;
    PosixFileSystem files;
    std::string root, program;
    std::unique_ptr<AutostartEntry> entry;
    MemoryPreferenceStore preferences;
};

TEST_F(AutostartTest, StartsAProgramWhateverItsPathLooksLike) {
    EXPECT_EQ(kind(), Kind::off);
    ASSERT_TRUE(setLaunchAtLogin(*entry, preferences, true));
    EXPECT_EQ(kind(), Kind::on); // reads back the very path
    ASSERT_TRUE(setLaunchAtLogin(*entry, preferences, false));
    EXPECT_EQ(kind(), Kind::off);
    EXPECT_FALSE(fs::exists(root + "/user/autostart/varnel.desktop"));
    EXPECT_FALSE(booleanPreference(preferences, kLaunchAtLoginDesired, true));
}

TEST_F(AutostartTest, TellsWhatWillReallyHappen) {
    const std::pair<const char*, Kind> rows[] = {
        {"Exec=/gone/varnel-app\n", Kind::gone},
        {"Exec=/bin/sh\n", Kind::otherProgram},
        {"Exec=/bin/sh\nHidden=true\n", Kind::switchedOff},
        {"Exec=/bin/sh\nX-GNOME-Autostart-enabled=false\n", Kind::switchedOff},
        {"Exec=\"/bin/sh\n", Kind::unknown},
        {"", Kind::unknown},
    };
    for (const auto& [text, expected] : rows) {
        write("/user/autostart", text);
        EXPECT_EQ(kind(), expected) << text << describe(entry->state());
    }
}

TEST_F(AutostartTest, OverrulesAnEntryOfTheSystem) {
    write("/system", "Exec=/bin/sh\n");
    EXPECT_EQ(kind(), Kind::otherProgram);
    ASSERT_TRUE(entry->setEnabled(false));
    EXPECT_EQ(kind(), Kind::switchedOff);
    ASSERT_TRUE(entry->setEnabled(true));
    EXPECT_EQ(kind(), Kind::on);
}

TEST_F(AutostartTest, RestoresWhatWasLostAndNothingThatTheUserChanged) {
    ASSERT_TRUE(restoreLaunchAtLogin(*entry, preferences));
    EXPECT_EQ(kind(), Kind::off); // never asked for
    ASSERT_TRUE(preferences.setValue(kLaunchAtLoginDesired, JSONValue(true)));
    const std::pair<const char*, Kind> rows[] = {{"Exec=/gone/varnel-app\n", Kind::on},
                                                 {"Exec=/bin/sh\n", Kind::otherProgram},
                                                 {"Exec=/bin/sh\nHidden=true\n", Kind::switchedOff}};
    for (const auto& [text, after] : rows) {
        write("/user/autostart", text);
        ASSERT_TRUE(restoreLaunchAtLogin(*entry, preferences));
        EXPECT_EQ(kind(), after) << text;
    }
    fs::remove_all(root + "/user");
    ASSERT_TRUE(restoreLaunchAtLogin(*entry, preferences));
    EXPECT_EQ(kind(), Kind::on);
}

TEST_F(AutostartTest, SaysWhyItCannotBeChanged) {
    std::ofstream(root + "/user") << "a file where the folder should be";
    const auto changed = setLaunchAtLogin(*entry, preferences, true);
    ASSERT_FALSE(changed);
    EXPECT_TRUE(changed.error().contains(root + "/user")) << changed.error();
    EXPECT_FALSE(preferences.value(kLaunchAtLoginDesired));
}

} // namespace
} // namespace varnel
