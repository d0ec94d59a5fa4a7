#include "tests/live/LiveTest.h"

#include <algorithm>

namespace varnel::test {
namespace {

/// Waits as a typist does, to the microsecond.
void pause(microseconds length) {
    const auto end = std::chrono::steady_clock::now() + length;
    if (length > 300us)
        std::this_thread::sleep_for(length - 200us);
    while (std::chrono::steady_clock::now() < end) {
    }
}

struct Speed {
    const char* name;
    microseconds pause;
    bool rollsOver; ///< each key is released only after the next one is pressed
};
void PrintTo(const Speed& speed, std::ostream* stream) {
    *stream << speed.name;
}

class SequencesAtSpeed : public LiveTest, public ::testing::WithParamInterface<Speed> {
protected:
    /// ctrl+j, w, g and then an x for the application.
    void typeOnce() {
        typist->press(key::ctrl);
        typeKey(key::j, 0us);
        typist->release(key::ctrl);
        typeKey(key::w);
        typeKey(key::g);
        typeKey(key::x);
        releaseLast();
    }

private:
    void typeKey(std::uint8_t key) { typeKey(key, GetParam().pause); }

    void typeKey(std::uint8_t key, microseconds before) {
        pause(before);
        typist->press(key);
        releaseLast();
        last_ = key;
        if (!GetParam().rollsOver)
            releaseLast();
    }

    void releaseLast() {
        if (last_ != 0)
            typist->release(last_);
        last_ = 0;
    }

    std::uint8_t last_ = 0;
};

TEST_P(SequencesAtSpeed, AreNeitherLostNorLeakedNorStuck) {
    constexpr int kCount = 1000;
    start({"--bind", "ctrl+j w g", "--bind", "ctrl+j w h"});
    for (int i = 0; i < kCount; ++i) {
        typeOnce();
        window->readAvailable();
    }
    EXPECT_TRUE(window->readUntil([&] { return window->releases(key::x) >= kCount; }));
    EXPECT_EQ(runs(kCount), (std::map<std::string, int>{{"ran ctrl+j w g", kCount}}));
    EXPECT_EQ(window->presses(key::x), kCount);
    EXPECT_EQ(window->presses(key::ctrl), kCount);
    for (const std::uint8_t swallowed : {key::j, key::w, key::g})
        EXPECT_EQ(window->presses(swallowed), 0) << int(swallowed);
    const auto& events = window->events();
    EXPECT_TRUE(std::all_of(events.begin(), events.end(), [](const ProbeWindow::Event& event) {
        return event.key != key::x || event.state == 0;
    })) << "an x with modifiers";
}

INSTANTIATE_TEST_SUITE_P(Typing, SequencesAtSpeed,
                         ::testing::Values(Speed{"flood", 0us, false}, Speed{"rolling flood", 0us, true},
                                           Speed{"1 ms", 1000us, false},
                                           Speed{"1 ms rolling over", 1000us, true},
                                           Speed{"5 ms", 5000us, false}));

class SequenceLive : public LiveTest {};

TEST_F(SequenceLive, OrdinaryTypingArrivesCompleteAndInOrder) {
    start({"--bind", "ctrl+j w g"});
    constexpr int kCount = 2000;
    const std::uint8_t letters[] = {key::a, key::s, key::j, key::w, key::g, key::x};
    std::vector<int> typed;
    for (int i = 0; i < kCount; ++i) {
        typed.push_back(letters[i % std::size(letters)]);
        typist->tap(static_cast<std::uint8_t>(typed.back()));
        pause(1ms);
        window->readAvailable();
    }
    EXPECT_TRUE(window->readUntil([&] { return window->pressedKeys().size() >= typed.size(); }));
    EXPECT_EQ(window->pressedKeys(), typed);
    EXPECT_EQ(window->focusChanges, 0);
}

TEST_F(SequenceLive, TheWindowManagersOwnShortcutsWorkWhileIdle) {
    start({"--bind", "ctrl+j w", "--bind", "cmd g"});
    const std::size_t before = desktop->managerLog().size();
    typist->chord(key::super, key::e);
    // Right after such a chord the first plain key may still be ours to decide, and passes the manager by.
    std::this_thread::sleep_for(10ms);
    typist->tap(key::f12);
    // Ours came later than the manager's and wins; an unfinished sequence costs no key afterwards.
    typist->chord(key::ctrl, key::j);
    typist->tap(key::w);
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    for (int i = 0; i < 100 && desktop->managerLog().size() < before + 2; ++i)
        std::this_thread::sleep_for(10ms);
    std::vector<std::string> log = desktop->managerLog();
    log.erase(log.begin(), log.begin() + static_cast<std::ptrdiff_t>(before));
    std::sort(log.begin(), log.end());
    EXPECT_EQ(log, (std::vector<std::string>{"F12", "W-e"}));
    // The manager keeps the key itself, and the window sees its release only.
    EXPECT_EQ(window->presses(key::e), 0);
}

TEST_F(SequenceLive, TapsOfAModifierOpenASequenceAtOnce) {
    start({"--bind", "cmd w g"});
    constexpr int kCount = 500;
    for (int i = 0; i < kCount; ++i) {
        typist->tap(key::super);
        typist->tap(key::w);
        typist->tap(key::g);
        typist->tap(key::x);
        ASSERT_TRUE(window->readUntil([&] { return window->releases(key::x) > i; })) << "after " << i;
    }
    EXPECT_EQ(runs(kCount), (std::map<std::string, int>{{"ran cmd w g", kCount}}));
    EXPECT_EQ(window->presses(key::super), kCount) << "the tap itself belongs to the application too";
    EXPECT_EQ(window->presses(key::w) + window->presses(key::g), 0);
}

TEST_F(SequenceLive, AModifierInAChordIsNoTap) {
    start({"--bind", "cmd w", "--bind", "shift g"});
    typist->chord(key::super, key::a); // a chord
    typist->tap(key::w);
    typist->press(key::super); // held too long
    std::this_thread::sleep_for(300ms);
    typist->release(key::super);
    typist->tap(key::w);
    typist->press(key::shift); // a click in between
    typist->click();
    typist->release(key::shift);
    std::this_thread::sleep_for(20ms);
    typist->tap(key::g);
    EXPECT_TRUE(window->readUntil([&] { return window->releases(key::g) >= 1; }));
    EXPECT_EQ(runs(0).size(), 0u);
    EXPECT_EQ(window->presses(key::w), 2);
    window->focus();
}

TEST_F(SequenceLive, TapsInsideASequenceAreCaptured) {
    start({"--bind", "ctrl+j cmd shift"});
    typist->chord(key::ctrl, key::j);
    typist->tap(key::super);
    typist->tap(key::shift);
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j cmd shift", 1}}));
    EXPECT_TRUE(keysReachTheWindow());
    EXPECT_EQ(window->presses(key::super) + window->presses(key::shift), 0);
}

TEST_F(SequenceLive, APassedFirstKeyActsInTheApplicationAndStillLeads) {
    start({"--group", "ctrl+k", "--bind", "ctrl+k w", "--bind", "ctrl+k g h"});
    typist->chord(key::ctrl, key::k);
    typist->tap(key::w);
    typist->chord(key::ctrl, key::k);
    typist->tap(key::g);
    typist->tap(key::h);
    typist->chord(key::ctrl, key::k);
    typist->tap(key::a); // not a continuation
    EXPECT_EQ(runs(2), (std::map<std::string, int>{{"ran ctrl+k w", 1}, {"ran ctrl+k g h", 1}}));
    EXPECT_TRUE(keysReachTheWindow());
    EXPECT_EQ(window->presses(key::k), 3);
    EXPECT_EQ(window->presses(key::a), 1);
    EXPECT_EQ(window->presses(key::w) + window->presses(key::g) + window->presses(key::h), 0);
}

struct InvalidKeyCase {
    const char* keepHints;
    int lettersSeen; ///< of an invalid key, and then two more letters of the sequence
};

TEST_F(SequenceLive, InvalidKeysEndASequenceOrFreezeItsHints) {
    for (const InvalidKeyCase& test : {InvalidKeyCase{"no", 2}, InvalidKeyCase{"yes", 3}}) {
        SCOPED_TRACE(test.keepHints);
        start({"--bind", "ctrl+j w g", "--keep-hints", test.keepHints});
        window->forget();
        typist->chord(key::ctrl, key::j);
        typist->tap(key::a);
        typist->tap(key::w);
        typist->tap(key::g);
        EXPECT_TRUE(keysReachTheWindow());
        EXPECT_EQ(window->presses(key::a) + window->presses(key::w) + window->presses(key::g),
                  test.lettersSeen);
        // Frozen hints take Escape and only that; afterwards, and without them, it is the application's.
        typist->tap(key::escape);
        EXPECT_TRUE(keysReachTheWindow());
        EXPECT_EQ(window->presses(key::escape), test.keepHints == std::string("no") ? 1 : 0);
        typist->chord(key::ctrl, key::j);
        typist->tap(key::w);
        typist->tap(key::g);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w g", 1}}));
    }
}

TEST_F(SequenceLive, EscapeAndTheStepTimeoutGiveTheKeyboardBack) {
    start({"--bind", "ctrl+j w g", "--timeout", "250"});
    for (int i = 0; i < 50; ++i) {
        typist->chord(key::ctrl, key::j);
        typist->tap(key::escape);
        typist->tap(key::w);
    }
    EXPECT_TRUE(window->readUntil([&] { return window->releases(key::w) >= 50; }));
    EXPECT_EQ(window->presses(key::escape), 0);
    window->forget();
    for (int i = 0; i < 8; ++i) {
        typist->chord(key::ctrl, key::j);
        std::this_thread::sleep_for(milliseconds(246 + i)); // around the very moment
        typist->tap(key::x);
    }
    std::this_thread::sleep_for(300ms);
    typist->tap(key::w);
    EXPECT_TRUE(window->readUntil([&] { return window->releases(key::w) == 1; }));
}

TEST_F(SequenceLive, AHeldKeyNeitherRepeatsIntoTheApplicationNorRunsTwice) {
    start({"--bind", "ctrl+j w", "--bind", "ctrl+l"});
    ASSERT_EQ(desktop->run({"xset", "r", "rate", "60", "100"}), 0);
    struct Row {
        const char* name;
        bool modifierFirst;
    };
    for (const Row& row :
         {Row{"the key is released first", false}, Row{"the modifier is released first", true}}) {
        SCOPED_TRACE(row.name);
        window->forget();
        typist->press(key::ctrl);
        typist->press(key::l);
        std::this_thread::sleep_for(30ms);
        if (row.modifierFirst)
            typist->release(key::ctrl);
        std::this_thread::sleep_for(200ms);
        typist->release(key::l);
        if (!row.modifierFirst)
            typist->release(key::ctrl);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+l", 1}}));
        typist->chord(key::ctrl, key::j);
        typist->press(key::w);
        std::this_thread::sleep_for(200ms);
        typist->release(key::w);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
        EXPECT_TRUE(keysReachTheWindow());
        EXPECT_EQ(window->presses(key::l) + window->presses(key::j) + window->presses(key::w), 0);
    }
    EXPECT_EQ(desktop->run({"xset", "r", "rate"}), 0);
}

TEST_F(SequenceLive, LocksChangeNothingAndStayAsTheyWere) {
    start({"--bind", "ctrl+j w", "--bind", "f6", "--bind", "cmd g"});
    for (int locks = 0; locks < 4; ++locks) {
        SCOPED_TRACE(locks);
        if ((locks & 1) != 0)
            typist->tap(key::capsLock);
        if ((locks & 2) != 0)
            typist->tap(key::numLock);
        const unsigned before = typist->modifiers();
        typist->chord(key::ctrl, key::j);
        typist->tap(key::w);
        typist->tap(72); // F6
        typist->tap(key::super);
        typist->tap(key::g);
        EXPECT_EQ(runs(3).size(), 3u);
        // Lock keys typed inside a sequence are swallowed, and so is what they do.
        typist->chord(key::ctrl, key::j);
        typist->tap(key::capsLock);
        typist->tap(key::w);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
        EXPECT_EQ(typist->modifiers(), before);
        if ((locks & 1) != 0)
            typist->tap(key::capsLock);
        if ((locks & 2) != 0)
            typist->tap(key::numLock);
        EXPECT_EQ(typist->modifiers(), 0u);
    }
}

} // namespace
} // namespace varnel::test
