#include "overlay/SuggestionOverlayController.h"

#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "tests/keyboard/KeyboardTestSupport.h"

#include <gtest/gtest.h>

#include <deque>

namespace varnel {
namespace {

using namespace test;

/// Writes down what would be seen: "G: *a b +3 !Z (message)".
class FakePresenter : public SuggestionOverlayPresenting {
public:
    void prepare(const OverlayAppearance&) override { seen = "prepared"; }
    int show(const SuggestionOverlayState& state, const OverlayAppearance& look) override {
        seen.clear();
        for (const KeyCaps& step : state.sequence)
            seen += step.back() + " ";
        for (const SuggestionRow& row : state.rows)
            seen += (row.isChosen ? "*" : "") + row.caps.back() + "=" + row.name + " ";
        if (!state.refused.empty())
            seen += "!" + state.refused.back() + " ";
        if (!state.message.empty())
            seen += "(" + state.message + ")";
        turns = state.pageTurns;
        appearance = look;
        ++shows;
        return pages;
    }
    void setTimeLeft(double fraction) override { bar.push_back(fraction); }
    void hide() override { seen = "nothing"; }

    std::string seen = "nothing";
    std::vector<double> bar;
    OverlayAppearance appearance;
    int turns = 0, pages = 1, shows = 0;
};

class FakeSurroundings : public OverlaySurroundings {
public:
    [[nodiscard]] bool prefersLessMotion() const override { return hasLessMotion; }
    [[nodiscard]] std::optional<bool> prefersDark() const override { return isDark; }
    bool hasLessMotion = false;
    std::optional<bool> isDark;
};

struct NoMonitors : KeyboardMonitorCreating {
    std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler) override { return nullptr; }
};

/// Keeps what was to be run until the test reports it done.
struct FakeExecutor : CommandExecuting {
    void execute(const ConfigItem&, const std::string&, const PluginSettings&, Report report) override {
        reports.push_back(std::move(report));
    }
    std::deque<Report> reports;
};

struct TwoChoices : DynamicChoiceResolver {
    [[nodiscard]] bool asksFor(const ConfigItem& item) const override { return item.name == "Ask"; }
    [[nodiscard]] Subscription resolve(const ConfigItem&, Answer answer) override {
        pending = std::move(answer);
        return {};
    }
    Answer pending;
};

class SuggestionOverlayControllerTest : public testing::Test {
protected:
    SuggestionOverlayControllerTest()
        : hotkeys(dependencies())
        , controller(hotkeys, preferences, loop, surroundings, presenter) {
        registry.add("test", resolver);
        hotkeys.updateConfiguration(
            share({group("Group", {"g"}), action("One", {"g", "a"}), group("In", {"g", "i"}),
                   action("Deep", {"g", "i", "d"}), action("Ask", {"q"})}));
        loop.runPending();
    }
    HotkeyManagerDependencies dependencies() {
        return {.loop = loop,
                .keyboardMonitorFactory = monitors,
                .timings = sequenceTimings(preferences),
                .commandExecutor = executor,
                .currentConfigPath = {},
                .pluginSettings = {},
                .isAccessibilityTrusted = {},
                .writeDiagnostic = {},
                .applicationStatusResolver = {},
                .dynamicChoiceRegistry = &registry};
    }
    /// Types a token and says what is seen after it.
    const std::string& type(const std::string& token) {
        hotkeys.handle(token, loop.now());
        loop.runPending();
        return presenter.seen;
    }
    const std::string& after(Duration time) {
        loop.advance(time);
        return presenter.seen;
    }
    const std::string& finish(const std::string& message) {
        executor.reports.front()(message);
        executor.reports.pop_front();
        loop.runPending();
        return presenter.seen;
    }
    void prefer(std::string_view key, JSONValue value) {
        ASSERT_TRUE(preferences.setValue(key, std::move(value)));
    }

    ManualEventLoop loop;
    MemoryPreferenceStore preferences;
    NoMonitors monitors;
    FakeExecutor executor;
    DynamicChoiceRegistry registry;
    std::shared_ptr<TwoChoices> resolver = std::make_shared<TwoChoices>();
    FakeSurroundings surroundings;
    FakePresenter presenter;
    HotkeyManager hotkeys;
    SuggestionOverlayController controller;
};

TEST_F(SuggestionOverlayControllerTest, FollowsASequenceToTheChosenRow) {
    EXPECT_EQ(type("g"), "G A=One I=In ");
    EXPECT_EQ(type("i"), "G I D=Deep ");
    EXPECT_EQ(type("d"), "G I D *D=Deep ");
    EXPECT_EQ(after(250ms), "nothing");
    EXPECT_EQ(presenter.shows, 3);
    type("g");
    EXPECT_EQ(type("escape"), "nothing");
}

TEST_F(SuggestionOverlayControllerTest, WaitsForTheDelayBeforeTheFirstAppearanceOnly) {
    prefer(kOverlayDelay.key, JSONValue(300.0));
    EXPECT_EQ(type("g"), "nothing");
    EXPECT_EQ(after(299ms), "nothing");
    EXPECT_EQ(after(1ms), "G A=One I=In ");
    EXPECT_EQ(type("i"), "G I D=Deep ");
    type("escape");
    type("g");
    EXPECT_EQ(type("a"), "nothing") << "faster than the hints";
    EXPECT_EQ(after(1s), "nothing");
}

TEST_F(SuggestionOverlayControllerTest, ShowsARefusedKeyForAMoment) {
    type("g");
    EXPECT_EQ(type("x"), "G A=One I=In !X (Nothing is bound here.)");
    EXPECT_EQ(after(699ms), "G A=One I=In !X (Nothing is bound here.)");
    EXPECT_EQ(after(1ms), "nothing");
    type("g");
    type("x");
    EXPECT_EQ(type("g"), "G A=One I=In ") << "the next sequence does not wait";
    type("escape");
    prefer(kOverlayDelay.key, JSONValue(300.0));
    type("g");
    EXPECT_EQ(type("x"), "G !X (Nothing is bound here.)") << "without rows that were never seen";
    prefer(kOverlayShowsHints, JSONValue(false));
    after(5s);
    type("g");
    EXPECT_EQ(type("x"), "G !X (Nothing is bound here.)");
}

TEST_F(SuggestionOverlayControllerTest, KeepsFrozenHintsButNotTheirRefusal) {
    prefer(kKeepHintsOpenAfterInvalidInput, JSONValue(true));
    type("g");
    EXPECT_EQ(type("x"), "G A=One I=In !X (Keys reach the application again. Escape closes these hints.)");
    EXPECT_EQ(after(700ms), "G A=One I=In (Keys reach the application again. Escape closes these hints.)");
    EXPECT_EQ(type("escape"), "nothing");
}

TEST_F(SuggestionOverlayControllerTest, ShowsWhatACommandSaidForAMoment) {
    type("g");
    type("a");
    EXPECT_EQ(finish("Executed: One"), "G A *A=One I=In (Executed: One)");
    EXPECT_EQ(after(250ms), "(Executed: One)");
    EXPECT_EQ(after(949ms), "(Executed: One)");
    EXPECT_EQ(after(1ms), "nothing");
    for (int i = 0; i < 2; ++i) { // the same news twice
        type("g");
        type("a");
        after(250ms);
        EXPECT_EQ(finish("It failed"), "(It failed)");
        EXPECT_EQ(after(2800ms), "(It failed)");
        EXPECT_EQ(after(3s), "nothing");
    }
}

TEST_F(SuggestionOverlayControllerTest, ShowsOnlyTheMessagesThatAreWanted) {
    const struct {
        const char* wish;
        const char* routine;
        const char* failure;
    } cases[] = {{"noteworthy", "nothing", "(Failed)"}, {"none", "nothing", "nothing"}};
    for (const auto& c : cases) {
        prefer(kOverlayMessages.key, JSONValue(c.wish));
        for (const auto& [message, seen] :
             {std::pair("Launched: X", c.routine), std::pair("Failed", c.failure)}) {
            type("g");
            type("a");
            after(250ms);
            EXPECT_EQ(finish(message), seen) << c.wish;
            after(10s);
        }
    }
}

TEST_F(SuggestionOverlayControllerTest, ShrinksTheBarOfARunningTimeOutOnly) {
    prefer(kSequenceStepTimeout.key, JSONValue(1000.0));
    type("g");
    after(500ms);
    EXPECT_NEAR(presenter.bar.back(), 0.5, 0.05);
    EXPECT_LT(presenter.bar.size(), 32u);
    type("i");
    EXPECT_EQ(presenter.bar.back(), 1.0) << "the next step has its own time";
    after(1s);
    EXPECT_EQ(presenter.seen, "nothing");
    presenter.bar.clear();
    after(10s);
    prefer(kSequenceStepTimeout.key, JSONValue(0.0));
    type("g");
    after(10s);
    EXPECT_TRUE(presenter.bar.empty()) << "no end, no bar";
    type("escape");
    EXPECT_EQ(loop.nextDeadline(), std::nullopt) << "nothing moves while nothing is shown";
}

TEST_F(SuggestionOverlayControllerTest, MovesTheBarInFewStepsWhereMotionIsNotWanted) {
    surroundings.hasLessMotion = true;
    prefer(kSequenceStepTimeout.key, JSONValue(1000.0));
    type("g");
    after(999ms);
    EXPECT_EQ(presenter.bar, (std::vector{1.0, 0.75, 0.5, 0.25}));
}

TEST_F(SuggestionOverlayControllerTest, TurnsPagesWithKeysThatWouldBeRefused) {
    presenter.pages = 3;
    prefer(kSequenceStepTimeout.key, JSONValue(1000.0));
    type("g");
    after(900ms);
    type("tab");
    EXPECT_EQ(presenter.turns, 1);
    EXPECT_EQ(after(900ms), "G A=One I=In ") << "turning a page restarts the time-out";
    type("pageup");
    type("shift+tab");
    EXPECT_EQ(presenter.turns, -1);
    type("i");
    EXPECT_EQ(presenter.turns, 0);
    type("escape");
    presenter.pages = 1;
    type("g");
    EXPECT_EQ(type("tab"), "G A=One I=In !Tab (Nothing is bound here.)");
}

TEST_F(SuggestionOverlayControllerTest, ShowsChoicesAndKeepsThemAroundTheOneTaken) {
    EXPECT_EQ(type("q"), "Q (Loading…)");
    DynamicChoice first, second;
    first.title = "First";
    second.title = "Second";
    resolver->pending(DynamicChoiceList{"Which?", {first, second}});
    loop.runPending();
    EXPECT_EQ(presenter.seen, "Q J=First F=Second ");
    EXPECT_EQ(type("f"), "Q J=First *F=Second ");
    EXPECT_EQ(after(250ms), "nothing");
}

TEST_F(SuggestionOverlayControllerTest, TakesTheThemeFromTheDesktopUnlessThePreferenceSaysOtherwise) {
    const struct {
        std::optional<bool> isDark;
        const char* preference;
        OverlayTheme theme;
    } cases[] = {{true, "system", OverlayTheme::dark},
                 {false, "system", OverlayTheme::light},
                 {std::nullopt, "system", OverlayTheme::system},
                 {true, "light", OverlayTheme::light}};
    for (const auto& c : cases) {
        surroundings.isDark = c.isDark;
        prefer(kOverlayTheme.key, JSONValue(c.preference));
        type("g");
        EXPECT_EQ(presenter.appearance.theme, c.theme);
        type("escape");
    }
    controller.showSample();
    EXPECT_NE(presenter.seen, "nothing");
    EXPECT_EQ(after(3s), "nothing");
}

} // namespace
} // namespace varnel
