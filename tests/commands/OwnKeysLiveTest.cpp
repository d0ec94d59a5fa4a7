#include "base/MemoryPreferenceStore.h"
#include "base/PollEventLoop.h"
#include "base/SerialQueue.h"
#include "commands/CommandExecutor.h"
#include "commands/x11/XcbShortcutPosting.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/TimingPreferences.h"
#include "keyboard/x11/XcbKeyboardEventTapSession.h"
#include "tests/commands/CommandDoubles.h"
#include "tests/support/x11/X11Desktop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

namespace varnel {
namespace {

using namespace std::chrono_literals;
namespace key = test::key;

/// Counts what is asked of plugins, which the tests bind to triggers that must not or must run.
struct CountingPlugins : PluginCommandMaking {
    struct Nothing : Command {
        std::optional<std::string> execute() override { return "counted"; }
    };
    std::unique_ptr<Command> makePluginCommand(const std::string& displayName, const ConfigAction&,
                                               const std::string&, const PluginSettings&) override {
        runs.push_back(displayName);
        return std::make_unique<Nothing>();
    }
    std::vector<std::string> runs;
};

struct NoApplications : ApplicationActivating {
    bool open(const FileURL&) override { return false; }
    std::optional<FileURL> applicationURL(const std::string&) override { return std::nullopt; }
};

ConfigItem item(const std::vector<std::string>& keys, const std::string& shortcut) {
    ConfigItem made;
    made.id = Uuid::random();
    made.name = keys.front();
    made.keys = keys;
    made.action = shortcut.empty() ? ConfigAction{"org.example", "count", {}}
                                   : ConfigAction{core::shortcut, "press", {{"shortcut", shortcut}}};
    return made;
}

/// Tap, engine, queue and posting as in the running program, on a desktop with a window in front.
class OwnKeysLive : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        desktop = std::make_unique<test::X11Desktop>();
        std::this_thread::sleep_for(300ms);
        const test::ProbeWindow first(desktop->display());
    }
    static void TearDownTestSuite() { desktop.reset(); }

    void TearDown() override {
        engine.stopGlobalMonitoring();
        window.readAvailable();
        EXPECT_EQ(window.keysDown(), std::set<int>{});
        EXPECT_EQ(window.held(), std::set<int>{});
        EXPECT_EQ(log.take(), std::vector<std::string>{});
    }

    void bind(const std::vector<ConfigItem>& items) {
        engine.updateConfiguration(std::make_shared<const std::vector<ConfigItem>>(items));
        ASSERT_TRUE(engine.startGlobalMonitoring());
    }

    /// Runs the loop while `work` types in a thread of its own, until `isDone`, and a little longer.
    void runWhile(const std::function<void()>& work, const std::function<bool()>& isDone) {
        std::atomic<bool> hasTyped = false;
        std::thread typing([&] {
            work();
            hasTyped = true;
        });
        const TimePoint giveUp = loop.now() + 20s;
        const std::function<void()> look = [&] {
            window.readAvailable();
            if ((hasTyped && isDone()) || loop.now() > giveUp)
                timer = loop.after(50ms, [&] { loop.quit(); });
            else
                timer = loop.after(2ms, look);
        };
        timer = loop.after(0ms, look);
        loop.run();
        typing.join();
        window.readAvailable();
    }

    int presses(std::uint8_t wanted, unsigned state) const {
        return static_cast<int>(std::ranges::count_if(window.events(), [&](const auto& event) {
            return event.isPress && event.key == wanted && event.state == state;
        }));
    }

    static inline std::unique_ptr<test::X11Desktop> desktop;
    test::ProbeWindow window{desktop->display()};
    test::Typist typist{desktop->display()};
    RecordingLog log;
    PollEventLoop loop;
    Subscription timer;
    PostedKeyLedger ledger;
    XcbShortcutPosting posting{{.displayName = desktop->display(),
                                .ledger = &ledger,
                                .windows = nullptr,
                                .frontmostProcess = [] { return std::nullopt; }},
                               log};
    NoApplications applications;
    CountingPlugins plugins;
    CommandFactory factory{
        plugins,
        {.applicationActivator = applications,
         .bundleIdentifier = [](const FileURL&) { return std::nullopt; },
         .eventPoster = [this](const auto& events, const auto& route) { return posting.post(events, route); },
         .frontmostProcessIdentifier = [] { return std::nullopt; },
         .log = log}};
    SerialQueue queue{kCommandQueueLabel};
    CommandExecutor executor{factory, queue, loop};
    MemoryPreferenceStore preferences;
    PluginSettings settings;
    XcbKeyboardEventTapSessionFactory taps{loop,
                                           {.displayName = desktop->display(),
                                            .ledger = &ledger,
                                            .guardProgram = {},
                                            .onConnectionLost = {},
                                            .onTroubleChanged = {}}};
    KeyboardMonitorFactory monitors{loop, taps, [this] { return modifierTapThreshold(preferences); }};
    HotkeyManager engine{{.loop = loop,
                          .keyboardMonitorFactory = monitors,
                          .timings = sequenceTimings(preferences),
                          .commandExecutor = executor,
                          .currentConfigPath = [] { return std::string(); },
                          .pluginSettings = [this]() -> const PluginSettings& { return settings; },
                          .isAccessibilityTrusted = [] { return true; },
                          .writeDiagnostic = {},
                          .applicationStatusResolver = {}}};
};

TEST_F(OwnKeysLive, SendsItsOwnTriggerExactlyOnce) {
    bind({item({"ctrl+k"}, "ctrl+k")});
    for (int times = 1; times <= 20; ++times) {
        runWhile([&] { typist.chord(key::ctrl, key::k); },
                 [&] { return window.presses(key::k) >= times && ledger.size() == 0; });
        ASSERT_EQ(presses(key::k, 4), times);
        ASSERT_EQ(window.presses(key::k), times);
    }
}

TEST_F(OwnKeysLive, SendsItWhileTheTriggerIsStillHeld) {
    bind({item({"ctrl+k"}, "ctrl+k")});
    runWhile(
        [&] {
            typist.press(key::ctrl);
            typist.press(key::k);
            std::this_thread::sleep_for(200ms);
            typist.release(key::k);
            typist.release(key::ctrl);
            typist.sync();
        },
        [&] { return window.presses(key::k) >= 1; });
    EXPECT_EQ(presses(key::k, 4), 1);
    EXPECT_EQ(window.presses(key::k), 1);
}

TEST_F(OwnKeysLive, SetsOffNoOtherTriggerWhileTheUsersOwnKeysDo) {
    bind({item({"ctrl+j", "s"}, "ctrl+k"), item({"ctrl+k"}, "")});
    constexpr int kTimes = 200;
    runWhile(
        [&] {
            for (int i = 0; i < kTimes; ++i) {
                typist.chord(key::ctrl, key::j);
                typist.tap(key::s);
                typist.sync();
                std::this_thread::sleep_for(8ms);
            }
        },
        [&] { return window.presses(key::k) >= kTimes; });
    EXPECT_EQ(presses(key::k, 4), kTimes);
    EXPECT_EQ(window.presses(key::j) + window.presses(key::s), 0);
    EXPECT_EQ(plugins.runs.size(), 0U);
    runWhile([&] { typist.chord(key::ctrl, key::k); }, [&] { return !plugins.runs.empty(); });
    EXPECT_EQ(plugins.runs, std::vector<std::string>{"ctrl+k"});
    EXPECT_EQ(window.presses(key::k), kTimes);
}

TEST_F(OwnKeysLive, TellsItsKeysFromATypistsWhileASequenceIsOpen) {
    constexpr KeyCode kX = 7, kK = 40;
    constexpr int kPosts = 300, kKeysOfOne = 10;
    std::map<KeyCode, int> captured, own;
    const auto session = taps.createSession([&](const KeyboardEvent& event) {
        if (event.type == KeyboardEvent::Type::postedByUs)
            ++own[event.keyCode];
        else
            captured[event.keyCode] += event.isRepeat ? 0 : 1;
        return TapVerdict::swallow;
    });
    ASSERT_TRUE(session);
    session->enable();
    session->setInterest({KeyInterest::Mode::capture, nullptr});
    std::vector<KeyboardShortcutEvent> events;
    for (int i = 0; i < kKeysOfOne; ++i)
        std::ranges::copy(makeShortcutEvents("ctrl+k", kK), std::back_inserter(events));

    int typed = 0;
    runWhile(
        [&] {
            std::atomic<bool> hasPosted = false;
            std::thread typing([&] {
                for (; !hasPosted; ++typed) {
                    typist.tap(key::x);
                    std::this_thread::sleep_for(500us);
                }
                typist.sync();
            });
            for (int i = 0; i < kPosts; ++i)
                EXPECT_TRUE(posting.post(events, GlobalRoute{}));
            hasPosted = true;
            typing.join();
        },
        [&] { return window.presses(key::k) >= kPosts * kKeysOfOne && captured[kX] >= typed; });
    EXPECT_EQ(presses(key::k, 4), kPosts * kKeysOfOne);
    EXPECT_EQ(window.releases(key::k), kPosts * kKeysOfOne);
    EXPECT_EQ(window.presses(key::x), 0);
    EXPECT_EQ(captured, (std::map<KeyCode, int>{{kX, typed}}));
    EXPECT_EQ(own, (std::map<KeyCode, int>{{kK, kPosts * kKeysOfOne}}));
    EXPECT_GT(typed, kPosts);
    session->invalidate();
}

} // namespace
} // namespace varnel
