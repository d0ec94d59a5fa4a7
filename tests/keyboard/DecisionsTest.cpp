#include "keyboard/Decisions.h"

#include "AllocationCounter.h"
#include "KeyboardTestSupport.h"
#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "base/Text.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
using Type = KeyboardEvent::Type;

/// A keyboard of which the test also says which panic keys a hand holds.
class HandKeyboard : public KeyboardEventTapSessionCreating {
public:
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override {
        send = std::move(callback);
        return std::make_unique<Session>(*this);
    }
    KeyboardTapCallback send;
    std::optional<PanicKeySet> held = PanicKeySet{};
    int questions = 0;

private:
    struct Session : KeyboardEventTapSession {
        explicit Session(HandKeyboard& owner)
            : keyboard(owner) {}
        void enable() override {}
        void invalidate() override {}
        void setInterest(const KeyInterest&) override {}
        [[nodiscard]] std::optional<PanicKeySet> panicKeysHeldByHand() const override {
            ++keyboard.questions;
            return keyboard.held;
        }
        HandKeyboard& keyboard;
    };
};

class SilentExecutor : public CommandExecuting {
public:
    void execute(const ConfigItem& item, const std::string&, const PluginSettings&, Report report) override {
        if (item.name == "Broken")
            report("The plugin exited with an error.");
        if (item.name == "Lost")
            report("Failed to launch application: Lost");
    }
};

/// The real monitor and engine.
class DecisionsTest : public testing::Test {
protected:
    DecisionsTest() {
        auto off = action("Off", {"ctrl+j", "o"});
        off.isEnabled = false;
        manager.updateConfiguration(
            share({action("Mail", {"ctrl+j", "m"}), action("Twin", {"ctrl+j", "m"}),
                   action("Short", {"ctrl+j", "s"}), action("Long", {"ctrl+j", "s", "x"}), off,
                   action("Broken", {"ctrl+j", "b"}), action("Lost", {"ctrl+j", "l"}),
                   action("Tap", {"cmd", "t"}), group("Pass", {"p"}, true), action("P", {"p", "2"}),
                   group("Ctrl", {"ctrl+x"}, true), action("C", {"ctrl+x", "2"})}));
        manager.startGlobalMonitoring();
        start = manager.decisions().total();
    }
    TapVerdict press(const std::string& token, Type type = Type::keyDown) {
        const auto key = KeyTokenCodec::parse(token);
        return keyboard.send(
            {.type = type, .keyCode = key->keyCode, .flags = key->flags, .time = loop.now()});
    }
    void tap(Modifier modifier, Duration held) {
        for (const KeyFlags flags : {modifierFlag(modifier), KeyFlags{0}}) {
            keyboard.send({.type = Type::flagsChanged,
                           .keyCode = modifierKeyCode(modifier),
                           .flags = flags,
                           .time = loop.now()});
            loop.advance(flags ? held : Duration::zero());
        }
    }
    /// Words of a script: tokens, "cmd:312" taps, "1500ms" waits, "own:ctrl+j", "+reason" and "-reason".
    void play(const std::string& script) {
        for (const std::string_view part : split(script, ' ')) {
            const std::string word(part);
            if (word.starts_with("own:"))
                press(word.substr(4), Type::postedByUs);
            else if (word.starts_with("cmd:"))
                tap(Modifier::cmd, std::chrono::milliseconds(std::stoi(word.substr(4))));
            else if (word.ends_with("ms"))
                loop.advance(std::chrono::milliseconds(std::stoi(word)));
            else if (word[0] == '+')
                manager.suspend(word.substr(1));
            else if (word[0] == '-')
                manager.resume(word.substr(1));
            else if (!word.empty())
                press(word);
        }
    }
    /// The sentences since the start, with the other keys before and after them.
    std::string told() {
        std::string text;
        for (const Decision& decision : manager.decisions().since(start)) {
            if (decision.otherKeysBefore > 0)
                text += "(" + std::to_string(decision.otherKeysBefore) + ") ";
            text += describe(decision, manager.decisionContext()) + "; ";
        }
        const auto rest = manager.decisions().otherKeys();
        return rest > 0 ? text + "(" + std::to_string(rest) + ")" : text;
    }

    ManualEventLoop loop;
    MemoryPreferenceStore preferences;
    HandKeyboard keyboard;
    KeyboardMonitorFactory monitors{loop, keyboard, [] { return 250ms; }};
    SilentExecutor executor;
    WallTime wall{std::chrono::milliseconds(1'795'256'430'123)};
    HotkeyManager manager{{.loop = loop,
                           .keyboardMonitorFactory = monitors,
                           .timings = sequenceTimings(preferences),
                           .commandExecutor = executor,
                           .currentConfigPath = {},
                           .pluginSettings = {},
                           .isAccessibilityTrusted = [] { return true; },
                           .writeDiagnostic = {},
                           .applicationStatusResolver = {},
                           .actionAvailability = {},
                           .obstacle = [](const ConfigItem&) { return "it is not there"; },
                           .wallClock = [this] { return wall; }}};
    std::uint64_t start = 0;
};

TEST_F(DecisionsTest, AreToldInPlainSentences) {
    const struct {
        const char* script;
        const char* told;
    } rows[] = {
        {"ctrl+j g", "ctrl+j opened a sequence; g ended the sequence: nothing is bound under ctrl+j; "},
        {"cmd:312", "cmd held 312 ms, the tap limit is 250 ms; "},
        {"cmd:50 x", "cmd opened a sequence; x ended the sequence: nothing is bound under cmd; "},
        {"cmd:50 1000ms", "cmd opened a sequence; The sequence cmd ended: no next key within 1000 ms; "},
        {"ctrl+j 30000ms", "ctrl+j opened a sequence; The sequence ctrl+j ended: no key for 30 seconds; "},
        {"ctrl+j m", "ctrl+j opened a sequence; ctrl+j m ran “Mail”; it keeps “Twin” (ctrl+j m) from ever "
                     "being reached; "},
        {"ctrl+j s", "ctrl+j opened a sequence; ctrl+j s ran “Short”; it keeps “Long” (ctrl+j s x) from ever "
                     "being reached; "},
        {"ctrl+j o",
         "ctrl+j opened a sequence; o ended the sequence: “Off”, bound under ctrl+j, is disabled; "},
        {"ctrl+j b",
         "ctrl+j opened a sequence; ctrl+j b ran “Broken”; “Broken” ended: The plugin exited with "
         "an error.; "},
        {"ctrl+j l",
         "ctrl+j opened a sequence; ctrl+j l ran “Lost”; “Lost” ended: Failed to launch application: "
         "Lost (it is not there); "},
        {"ctrl+j escape", "ctrl+j opened a sequence; escape ended the sequence ctrl+j; "},
        {"own:ctrl+j own:a", "ctrl+j opened nothing: Varnel itself had posted it; "},
        {"ctrl+j +game ctrl+j h i -game", "ctrl+j opened a sequence; The sequence ctrl+j was interrupted; "
                                          "Paused: game; (3) No longer paused: game; "},
        {"+pause -pause", "Paused; No longer paused; "},
        {"ctrl+x 1000ms", "ctrl+x opened a sequence and reached the application all the same; The sequence "
                          "ctrl+x ended: no next key within 1000 ms; "},
        {"p 2", "(1) p 2 ran “P”; "},
    };
    for (const auto& row : rows) {
        start = manager.decisions().total();
        play(row.script);
        EXPECT_EQ(told(), row.told) << row.script;
        loop.advance(10s);
        manager.reset("test");
    }
    EXPECT_EQ(manager.decisions().since(start - 1).front().time, wall);
}

TEST_F(DecisionsTest, LookNothingUpInAConfigurationThatIsGone) {
    play("ctrl+j o ctrl+j m");
    manager.updateConfiguration(share({action("New", {"ctrl+j", "m", "x"})}));
    EXPECT_EQ(told(), "ctrl+j opened a sequence; o ended the sequence: nothing is bound under ctrl+j; ctrl+j "
                      "opened a sequence; ctrl+j m ran “Mail”; The configuration was loaded: 1 item; ");
}

TEST_F(DecisionsTest, KeepNoKeyThatBelongsToNoSequence) {
    const KeyboardEvent q{.keyCode = 12, .time = loop.now()};
    const std::size_t before = allocationCount();
    for (int i = 0; i < 1204; ++i)
        EXPECT_EQ(keyboard.send(q), TapVerdict::pass);
    EXPECT_EQ(allocationCount(), before);
    // First keys that are let through and come to nothing are typing, too, and so is what ends them.
    play("p a p p escape p 1000ms p ctrl+j escape +x p q -x");
    EXPECT_EQ(told(), "(1210) ctrl+j opened a sequence; escape ended the sequence ctrl+j; Paused: x; (2) No "
                      "longer paused: x; ");
    for (const Decision& decision : manager.decisions().since(0))
        for (const std::string_view text : {decision.token.view(), decision.sequence.view()})
            for (const std::string_view key : {"q", "a", "p"})
                EXPECT_NE(text, key);
    EXPECT_EQ(describeOtherKeys(1), "1 other key");
    EXPECT_EQ(describeOtherKeys(1'234'567), "1,234,567 other keys");
}

TEST_F(DecisionsTest, AreTheLastHundred) {
    for (int i = 0; i < 80; ++i)
        play("ctrl+j escape");
    const auto kept = manager.decisions().since(0);
    ASSERT_EQ(kept.size(), DecisionLog::kCapacity);
    EXPECT_EQ(kept.front().number, manager.decisions().total() - 99);
    for (std::size_t i = 1; i < kept.size(); ++i)
        EXPECT_EQ(kept[i].number, kept[i - 1].number + 1);
    EXPECT_EQ(manager.decisions().since(manager.decisions().total()).size(), 0u);
    int notified = 0;
    const auto subscription = manager.observe(HotkeyManager::Topic::decisions, [&] { ++notified; });
    play("q ctrl+j escape");
    loop.runPending();
    EXPECT_EQ(notified, 1) << "once a turn, and never for keys that are only counted";
}

TEST_F(DecisionsTest, HoldNoMoreTextThanTheyHaveRoomFor) {
    const struct {
        const char* text;
        const char* kept;
    } rows[] = {{"12345678", "12345678"}, {"123456789", "12345…"}, {"1234ä789", "1234…"}, {"äöüäö", "äö…"}};
    for (const auto& row : rows)
        EXPECT_EQ(FixedText<8>(row.text).view(), row.kept);
    FixedText<8> text("123456");
    text.append("789");
    text.append("0");
    EXPECT_EQ(text.view(), "12345…");
    manager.updateConfiguration(share({action("Two\nlines \x1b[31m", {"ctrl+k"})}));
    start = manager.decisions().total();
    play("ctrl+k");
    EXPECT_EQ(told(), "ctrl+k ran “Two lines”; ");
}

TEST_F(DecisionsTest, PanicKeysPauseBeforeAnyRule) {
    constexpr PanicKeySet kAll{true, true, true};
    const struct {
        const char* name;
        const char* before;
        KeyboardEvent event;
        std::optional<PanicKeySet> held;
        bool pauses;
    } rows[] = {
        {"a repeat, ctrl last", "", {.keyCode = 53, .flags = kControlFlag, .isRepeat = true}, kAll, true},
        {"escape last", "", {.keyCode = 53, .flags = kControlFlag}, kAll, true},
        {"space last, in a sequence", "ctrl+j", {.keyCode = 49, .flags = kControlFlag}, kAll, true},
        {"ctrl last", "", {.type = Type::flagsChanged, .keyCode = 59, .flags = kControlFlag}, kAll, true},
        {"the key itself not yet in it",
         "",
         {.keyCode = 53, .flags = kControlFlag},
         PanicKeySet{true, true, false},
         true},
        {"with shift", "", {.keyCode = 53, .flags = kControlFlag | kShiftFlag}, kAll, true},
        {"posted", "", {.keyCode = 53, .flags = kControlFlag, .isSynthetic = true}, kAll, false},
        {"one missing", "", {.keyCode = 53, .flags = kControlFlag}, PanicKeySet{true, false, true}, false},
        {"the other ctrl",
         "",
         {.type = Type::flagsChanged, .keyCode = 62, .flags = kControlFlag},
         kAll,
         false},
        {"nobody can tell", "", {.keyCode = 53, .flags = kControlFlag}, std::nullopt, false},
        {"another key", "", {.keyCode = 40, .flags = kControlFlag}, kAll, false},
        {"a release", "", {.type = Type::flagsChanged, .keyCode = 59, .flags = 0}, kAll, false},
    };
    for (const auto& row : rows) {
        play(row.before);
        keyboard.held = row.held;
        const TapVerdict verdict = keyboard.send(row.event);
        EXPECT_EQ(manager.isSuspended(), row.pauses) << row.name;
        EXPECT_EQ(manager.suspensionReasons().contains(kPanicReason), row.pauses) << row.name;
        EXPECT_EQ(verdict == TapVerdict::swallow, row.pauses) << row.name;
        EXPECT_EQ(manager.interaction(), Interaction::idle) << row.name;
        manager.resume(kPanicReason);
    }
    keyboard.questions = 0;
    play("escape space q ctrl+q");
    EXPECT_EQ(keyboard.questions, 0) << "the server is asked only where it can matter";
}

TEST_F(DecisionsTest, PanicKeysPauseOnceEachTimeTheyAreHeld) {
    keyboard.held = PanicKeySet{true, true, true};
    const KeyboardEvent escape{.keyCode = 53, .flags = kControlFlag};
    keyboard.send(escape);
    manager.resume(kPanicReason);
    KeyboardEvent repeat = escape;
    repeat.isRepeat = true;
    EXPECT_EQ(keyboard.send(repeat), TapVerdict::swallow) << "the fate of its press";
    EXPECT_FALSE(manager.isSuspended()) << "still the same time";
    EXPECT_EQ(told(), "Paused by the panic keys (left ctrl, space and escape together); No longer paused; ");
}

} // namespace
} // namespace varnel
