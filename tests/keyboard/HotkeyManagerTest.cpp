#include "keyboard/HotkeyManager.h"

#include "AllocationCounter.h"
#include "KeyboardTestSupport.h"
#include "base/Localized.h"
#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"

#include <gtest/gtest.h>

#include <deque>

namespace varnel {
namespace {

using namespace test;

/// Monitors that note what the engine asks of them.
class FakeMonitors : public KeyboardMonitorCreating {
public:
    std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler handler) override {
        offer = std::move(handler);
        return std::make_unique<Monitor>(*this);
    }
    bool starts = true;
    KeyTokenHandler offer;
    std::string log;
    KeyInterest interest;
    int interestChanges = 0;

private:
    struct Monitor : KeyboardMonitoring {
        explicit Monitor(FakeMonitors& owner)
            : monitors(owner) {}
        bool start() override { return monitors.starts; }
        void stop() override { monitors.log += "stop "; }
        void suppress(std::optional<Duration> d) override {
            monitors.log += d ? std::to_string(d->count() / 1'000'000) + "ms " : "endless ";
        }
        void endSuppression() override { monitors.log += "end "; }
        void setInterest(const KeyInterest& interest) override {
            monitors.interest = interest;
            ++monitors.interestChanges;
        }
        FakeMonitors& monitors;
    };
};

/// Keeps what was to be run until the test reports it done.
class FakeExecutor : public CommandExecuting {
public:
    void execute(const ConfigItem& item, const std::string& path, const PluginSettings&,
                 Report report) override {
        ran += item.name + "(" + path + ") ";
        reports.push_back(std::move(report));
    }
    void finish(const std::string& message) {
        reports.front()(message);
        reports.pop_front();
    }
    std::string ran;
    std::deque<Report> reports;
};

/// Answers later, with what the test says.
class FakeResolver : public DynamicChoiceResolver {
public:
    [[nodiscard]] bool asksFor(const ConfigItem& item) const override { return item.name == "Ask"; }
    [[nodiscard]] Subscription resolve(const ConfigItem&, Answer a) override {
        answer = std::move(a);
        return Subscription([this] { isCancelled = true; });
    }
    Answer answer;
    bool isCancelled = false;
};

class HotkeyManagerTest : public testing::Test {
protected:
    HotkeyManagerTest() {
        registry.add("test", resolver);
        manager = std::make_unique<HotkeyManager>(HotkeyManagerDependencies{
            .loop = loop,
            .keyboardMonitorFactory = monitors,
            .timings = sequenceTimings(preferences),
            .commandExecutor = executor,
            .currentConfigPath = [] { return "c.json"; },
            .pluginSettings = {},
            .isAccessibilityTrusted = [this] { return isTrusted; },
            .writeDiagnostic = [this](std::string_view line) { diagnostics += line; },
            .applicationStatusResolver = [](const std::string& path) { return path == "/a"; },
            .dynamicChoiceRegistry = &registry,
            .localMonitorFactory = &localMonitors});
        manager->updateConfiguration(
            share({group("Group", {"g"}), action("One", {"g", "1"}), windowChooser("Win", {"g", "w"}),
                   group("Inner", {"g", "i"}), action("Deep", {"g", "i", "d"}), group("Pass", {"p"}, true),
                   action("Two", {"p", "2"}), action("Ask", {"a"})}));
    }
    void start() {
        ASSERT_TRUE(manager->startGlobalMonitoring());
        monitors.log.clear();
    }
    bool type(const std::string& token) { return monitors.offer(token, loop.now()); }
    std::string rows() {
        std::string text;
        for (const HintRow& row : manager->hintState().rows)
            text += row.token + ":" + row.metadata.name.value_or("-") + (row.isGroup ? ">" : "") +
                    (row.isChosen ? "*" : "") + (row.metadata.isRunningApplication ? "o" : "") + " ";
        return text;
    }

    ManualEventLoop loop;
    MemoryPreferenceStore preferences;
    FakeMonitors monitors, localMonitors;
    FakeExecutor executor;
    DynamicChoiceRegistry registry;
    std::shared_ptr<FakeResolver> resolver = std::make_shared<FakeResolver>();
    bool isTrusted = true;
    std::string diagnostics;
    std::unique_ptr<HotkeyManager> manager;
};

TEST_F(HotkeyManagerTest, ReportsWhetherItMonitors) {
    monitors.starts = isTrusted = false;
    EXPECT_FALSE(manager->startGlobalMonitoring());
    EXPECT_EQ(manager->statusLine(), "active local:off global:off AX:denied");
    monitors.starts = isTrusted = true;
    EXPECT_TRUE(manager->startGlobalMonitoring());
    EXPECT_TRUE(manager->startLocalMonitoring());
    manager->suspend("recorder");
    EXPECT_EQ(manager->statusLine(), "SUSPENDED local:on global:on AX:granted");
    EXPECT_EQ(diagnostics, "HotkeyManager: Global monitoring started: false, AX: false"
                           "HotkeyManager: Global monitoring started: true, AX: true");
}

TEST_F(HotkeyManagerTest, HandlesEachKeyOnceWhenBothMonitorsRun) {
    start();
    ASSERT_TRUE(manager->startLocalMonitoring());
    EXPECT_FALSE(localMonitors.offer("g", loop.now()));
    manager->stopGlobalMonitoring();
    EXPECT_TRUE(localMonitors.offer("g", loop.now()));
}

TEST_F(HotkeyManagerTest, HoldsTheKeyboardWhileASequenceIsOpen) {
    start();
    ASSERT_TRUE(preferences.setValue(kSequenceStepTimeout.key, 500));
    type("g");
    type("i");
    type("d");
    type("g");
    loop.advance(500ms);
    ASSERT_TRUE(preferences.setValue(kSequenceStepTimeout.key, std::nullopt));
    type("g");
    type("escape");
    type("g");
    manager->suspend("x");
    EXPECT_EQ(monitors.log, "500ms 500ms end 500ms end endless end endless end ");
}

TEST_F(HotkeyManagerTest, ExpiresBeforeAnEventOfTheSameTime) {
    start();
    ASSERT_TRUE(preferences.setValue(kSequenceStepTimeout.key, 500));
    type("g");
    EXPECT_FALSE(monitors.offer("1", loop.now() + 500ms));
    EXPECT_EQ(manager->interaction(), Interaction::idle);
}

TEST_F(HotkeyManagerTest, TellsTheMonitorWhichKeysMatter) {
    start();
    const auto watch = KeyInterest::Mode::watch;
    const Keys first{"a", "g", "p"};
    const auto expect = [&](KeyInterest::Mode mode, const Keys& tokens) {
        EXPECT_EQ(monitors.interest.mode, mode);
        EXPECT_EQ(monitors.interest.tokens ? *monitors.interest.tokens : Keys(), tokens);
    };
    expect(watch, first);
    type("g");
    EXPECT_EQ(monitors.interest.mode, KeyInterest::Mode::capture);
    type("1");
    expect(watch, first);
    const int changes = monitors.interestChanges;
    type("x");
    EXPECT_EQ(monitors.interestChanges, changes) << "nothing new, nothing said";
    manager->updateConfiguration(manager->rootItems());
    EXPECT_EQ(monitors.interestChanges, changes) << "the same first keys";
    type("p");
    expect(watch, {"a", "g", "p", "escape", "2"});
    manager->suspend("x");
    expect(watch, {});
    manager->resume("x");
    ASSERT_TRUE(preferences.setValue(kKeepHintsOpenAfterInvalidInput, true));
    type("g");
    type("z");
    expect(watch, {"escape"});
    for (const char* next : {"2", "3"}) {
        manager->updateConfiguration(share({group("Pass", {"p"}, true), action("Next", {"p", next})}));
        type("p");
        expect(watch, {"p", "escape", next});
    }
    manager->updateConfiguration(nullptr);
    expect(watch, {});
}

TEST_F(HotkeyManagerTest, ShowsWhatCommandsReport) {
    start();
    type("g");
    type("1");
    EXPECT_EQ(executor.ran, "One(c.json) ");
    EXPECT_EQ(manager->lastTriggerInfo(), "One (g 1)");
    EXPECT_TRUE(manager->trigger({"P", " 2"}));
    EXPECT_FALSE(manager->trigger({"g"}));
    executor.finish("Executed: One");
    EXPECT_EQ(manager->statusMessage(), "Executed: One");
    loop.advance(2s);
    executor.finish("Failed to launch application: Two");
    loop.advance(10s);
    EXPECT_EQ(manager->statusMessage(), "Failed to launch application: Two");
    manager->trigger({"g", "1"});
    executor.finish("Launched: x");
    loop.advance(2999ms);
    EXPECT_EQ(manager->statusMessage(), "Launched: x");
    loop.advance(1ms);
    EXPECT_EQ(manager->statusMessage(), "");
    manager->trigger({"g", "1"});
    manager.reset();
    executor.finish("too late");
}

TEST_F(HotkeyManagerTest, KnowsGoodNewsInTheUsersLanguage) {
    start();
    setLocalizer([](std::string_view english) -> std::optional<std::string_view> {
        return english == "Launched: %1"   ? "%1を起動しました"
               : english == "Executed: %1" ? "Fertig: %1"
                                           : english;
    });
    const struct {
        const char* message;
        bool stays;
    } rows[] = {{"Fertig: One", false},
                {"Mailを起動しました", false},
                {"Executed: One", false},
                {"Fertiges: One", true},
                {"Mailを終了しました", true}};
    for (const auto& row : rows) {
        manager->trigger({"g", "1"});
        executor.finish(row.message);
        loop.advance(4s);
        EXPECT_EQ(manager->statusMessage(), row.stays ? row.message : "");
    }
    setLocalizer(nullptr);
}

TEST_F(HotkeyManagerTest, PublishesHintsForTheOverlay) {
    start();
    int notified = 0;
    const auto subscription = manager->observe(HotkeyManager::Topic::hints, [&] { ++notified; });
    type("g");
    EXPECT_EQ(manager->hintState().title, "Group");
    EXPECT_EQ(rows(), "1:One i:Inner> w:Wino ");
    EXPECT_EQ(notified, 0) << "never inside the key's callback";
    type("1");
    EXPECT_EQ(rows(), "1:One* i:Inner> w:Wino ");
    loop.runPending();
    EXPECT_EQ(notified, 1);
    loop.advance(1s);
    EXPECT_EQ(notified, 2);
    EXPECT_EQ(manager->hintState(), HintState());
    EXPECT_EQ(manager->hintOptions(), Keys());
    type("p");
    EXPECT_FALSE(manager->hintState().isVisible());
    EXPECT_EQ(manager->hintOptions(), Keys{"2"});
}

TEST_F(HotkeyManagerTest, LoadsChoicesOffTheKeysWay) {
    start();
    EXPECT_TRUE(type("a"));
    EXPECT_TRUE(manager->hintState().isLoading);
    DynamicChoice x, y;
    x.id = x.title = "X";
    y.title = "Y";
    y.action = ConfigAction{"other", "do", {}};
    const DynamicChoiceList list{"Pick", {x, y}};
    const auto first = resolver->answer;
    first(list);
    EXPECT_EQ(manager->hintState().title, "Pick");
    EXPECT_EQ(rows(), "j:X f:Y ");
    EXPECT_FALSE(resolver->isCancelled);
    EXPECT_TRUE(type("f"));
    EXPECT_TRUE(resolver->isCancelled);
    EXPECT_EQ(executor.ran, "Ask(c.json) ");
    EXPECT_EQ(rows(), "f:Y* ");
    type("a");
    first(list);
    EXPECT_TRUE(manager->hintState().isLoading) << "an answer to an older question";
    resolver->answer(std::unexpected(std::string("No windows")));
    EXPECT_EQ(manager->statusMessage(), "No windows");
    EXPECT_EQ(manager->interaction(), Interaction::idle);
    EXPECT_EQ(itemForChoice(action("A", {}), x).action->params.at("choice"), JSONValue("X"));
    EXPECT_EQ(itemForChoice(action("A", {}), y).action->pluginID, "other");
}

TEST_F(HotkeyManagerTest, KeepsNoRecordOfPlainTyping) {
    start();
    for (const char* token : {"s", "shift+e", "cmd+c", "g", "1", "2", "p", "alt"})
        type(token);
    EXPECT_EQ(manager->debugTokens(), (Keys{"cmd+c", "g", "1", "alt"}));
    for (int i = 0; i < 40; ++i)
        type("ctrl+keycode" + std::to_string(i));
    EXPECT_EQ(manager->debugTokens().size(), 32u);
    EXPECT_EQ(manager->lastPressedKey(), "ctrl+keycode39");
}

TEST_F(HotkeyManagerTest, AllocatesNothingForAnUnboundKey) {
    start();
    const std::string chord = "cmd+ctrl+alt+shift+keycode4711";
    const std::size_t before = allocationCount();
    const bool swallowed = manager->handle("x", loop.now()) || manager->handle(chord, loop.now());
    EXPECT_EQ(allocationCount(), before);
    EXPECT_FALSE(swallowed);
}

TEST_F(HotkeyManagerTest, EndsAnOpenInteractionWhenMonitoringStops) {
    start();
    type("g");
    manager->stopGlobalMonitoring();
    EXPECT_EQ(monitors.log, "endless end stop ");
    EXPECT_EQ(manager->interaction(), Interaction::idle);
    EXPECT_EQ(loop.nextDeadline(), std::nullopt);
}

} // namespace
} // namespace varnel
