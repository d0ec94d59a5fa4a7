#include "tests/live/LiveTest.h"

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace varnel::test {
namespace {

using Clock = std::chrono::steady_clock;

class ResilienceLive : public LiveTest {
protected:
    /// Leaves a sequence open, so that the tap holds the keyboard.
    void openSequence() {
        typist->chord(key::ctrl, key::j);
        typist->sync();
        std::this_thread::sleep_for(20ms);
    }

    void expectSequencesWork() {
        typist->chord(key::ctrl, key::j);
        typist->tap(key::w);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    }

    /// ctrl+j is a shortcut of the manager too, which takes it again after a change, in its own time; so do
    /// we.
    void expectSequencesWorkSoon(std::uint8_t controlKey) {
        std::map<std::string, int> ran;
        for (int attempt = 0; attempt < 8 && ran.empty(); ++attempt) {
            std::this_thread::sleep_for(250ms);
            typist->chord(controlKey, key::j);
            typist->tap(key::w);
            ran = runs(1, 100ms);
        }
        EXPECT_EQ(ran, (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    }

    void grabKeyboard(bool on) {
        if (on) {
            const auto cookie = xcb_grab_keyboard(other().connection(), 0, other().screen()->root,
                                                  XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            auto* const reply = xcb_grab_keyboard_reply(other().connection(), cookie, nullptr);
            ASSERT_NE(reply, nullptr);
            EXPECT_EQ(reply->status, XCB_GRAB_STATUS_SUCCESS);
            std::free(reply);
        } else {
            xcb_ungrab_keyboard(other().connection(), XCB_CURRENT_TIME);
            other().sync();
        }
    }

    X11Client& other() {
        if (!other_)
            other_ = std::make_unique<X11Client>(desktop->display());
        return *other_;
    }

    std::string trouble() {
        tap->write("trouble");
        return tap->readLine().value_or("nothing");
    }

private:
    std::unique_ptr<X11Client> other_;
};

TEST_F(ResilienceLive, AKilledProgramFreesTheKeyboardAtOnce) {
    for (const bool keyIsHeld : {false, true}) {
        start({"--bind", "ctrl+j w"});
        openSequence();
        if (keyIsHeld)
            typist->press(key::a);
        tap->signal(SIGKILL);
        EXPECT_TRUE(keysReachTheWindow(500ms));
        if (keyIsHeld)
            typist->release(key::a);
    }
}

TEST_F(ResilienceLive, QuittingInTheMiddleOfASequenceGivesEverythingBack) {
    start({"--bind", "ctrl+j w"});
    openSequence();
    typist->press(key::a);
    tap->write("quit");
    EXPECT_EQ(tap->wait(), 0);
    typist->release(key::a);
    typist->tap(key::w);
    EXPECT_TRUE(keysReachTheWindow());
    EXPECT_EQ(window->presses(key::w), 1);
}

TEST_F(ResilienceLive, AStoppedProgramIsRelievedOfTheKeyboard) {
    start({"--bind", "ctrl+j w", "--guard", kGuardProgram});
    openSequence();
    std::this_thread::sleep_for(50ms); // the guard starts behind the first sequence
    tap->signal(SIGSTOP);
    EXPECT_TRUE(keysReachTheWindow(2s));
    tap->signal(SIGCONT);
    std::this_thread::sleep_for(100ms);
    // It takes up again where it was: with a sequence open.
    typist->tap(key::escape);
    expectSequencesWork();
    EXPECT_TRUE(keysReachTheWindow());
}

TEST_F(ResilienceLive, AMainThreadThatStandsStillFreesTheKeyboardWithinASecond) {
    start({"--bind", "ctrl+j w"});
    struct Row {
        const char* name;
        bool inSequence;
    };
    for (const Row& row : {Row{"idle", false}, Row{"in a sequence", true}}) {
        SCOPED_TRACE(row.name);
        window->forget();
        if (row.inSequence)
            openSequence();
        tap->write("block 2500");
        std::this_thread::sleep_for(300ms);
        if (!row.inSequence)
            typist->chord(key::ctrl, key::j); // freezes the keyboard
        EXPECT_TRUE(keysReachTheWindow(1s));
        std::this_thread::sleep_for(2400ms);
        typist->tap(key::escape);
        expectSequencesWork();
        EXPECT_TRUE(keysReachTheWindow());
    }
}

TEST_F(ResilienceLive, WhatAnotherProgramHeldIsTakenOnceItIsGone) {
    start({"--bind", "ctrl+j w"});
    auto holder = std::move(tap);
    start({"--bind", "ctrl+j w"});
    EXPECT_EQ(trouble(), "trouble: another program holds ctrl+j");
    holder.reset();
    expectSequencesWorkSoon(key::ctrl);
    EXPECT_EQ(trouble(), "trouble: ");
}

TEST_F(ResilienceLive, AnotherHolderOfTheKeyboardIsNamedAndSurvived) {
    start({"--bind", "ctrl+j w"});
    EXPECT_EQ(trouble(), "trouble: ");
    grabKeyboard(true);
    EXPECT_EQ(trouble(), "trouble: another program holds the keyboard");
    typist->chord(key::ctrl, key::j);
    typist->tap(key::w);
    typist->sync();
    grabKeyboard(false);
    EXPECT_EQ(trouble(), "trouble: ");
    expectSequencesWork();
    // Between two steps of a sequence others may take the keyboard, as a screen lock does.
    openSequence();
    grabKeyboard(true);
    typist->tap(key::a);
    typist->sync();
    grabKeyboard(false);
    typist->tap(key::w);
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    EXPECT_TRUE(keysReachTheWindow());
}

TEST_F(ResilienceLive, ChangesOfKeymapAndManagerCostNothingForLong) {
    start({"--bind", "ctrl+j w", "--bind", "cmd g"});
    const auto works = [&] {
        expectSequencesWorkSoon(key::ctrl);
        typist->tap(key::super);
        typist->tap(key::g);
        EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran cmd g", 1}}));
    };
    EXPECT_EQ(desktop->run({"setxkbmap", "de"}), 0);
    works();
    EXPECT_EQ(desktop->run({"setxkbmap", "us"}), 0);
    works();
    // A change in mid-sequence.
    openSequence();
    EXPECT_EQ(desktop->run({"setxkbmap", "us"}), 0);
    std::this_thread::sleep_for(150ms);
    typist->tap(key::w);
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    desktop->reconfigureManager();
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(desktop->run({"setxkbmap", "us"}), 0);
    works();
    EXPECT_TRUE(keysReachTheWindow());
}

TEST_F(ResilienceLive, SwappedModifiersWorkAsSwapped) {
    start({"--bind", "ctrl+j w"});
    EXPECT_EQ(desktop->run({"setxkbmap", "us", "-option", "ctrl:swapcaps"}), 0);
    expectSequencesWorkSoon(key::capsLock);
    EXPECT_EQ(desktop->run({"setxkbmap", "us", "-option", ""}), 0);
    expectSequencesWorkSoon(key::ctrl);
    EXPECT_TRUE(keysReachTheWindow());
    EXPECT_EQ(typist->modifiers(), 0u);
}

TEST_F(ResilienceLive, KeysThatWePostReachTheApplicationAndMatchNothing) {
    start({"--bind", "ctrl+j w", "--bind", "ctrl+l"});
    for (const bool inSequence : {false, true}) {
        SCOPED_TRACE(inSequence);
        window->forget();
        if (inSequence)
            openSequence();
        tap->write("post " + std::to_string(int(key::l)));
        EXPECT_TRUE(window->readUntil([&] { return window->releases(105) == 1; }));
        EXPECT_EQ(window->presses(key::l), 1);
        if (inSequence)
            typist->tap(key::w);
        else
            expectSequencesWork();
    }
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+j w", 1}}));
    // A foreign one of the same kind is a trigger as ever.
    typist->chord(key::ctrl, key::l);
    EXPECT_EQ(runs(1), (std::map<std::string, int>{{"ran ctrl+l", 1}}));
}

/// A window manager that uses XInput for its own shortcuts, as some do: it refuses us two things.
TEST_F(ResilienceLive, ShortcutsOfAnotherXInputClientLeaveSequencesWorking) {
    X11Client manager(desktop->display());
    constexpr std::uint16_t keyboard = 3;
    const std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS, modifiers = 4;
    const auto cookie = xcb_input_xi_query_version(manager.connection(), 2, 2);
    std::free(xcb_input_xi_query_version_reply(manager.connection(), cookie, nullptr));
    for (const std::uint32_t taken : {key::l, key::k})
        xcb_discard_reply(manager.connection(),
                          xcb_input_xi_passive_grab_device(
                              manager.connection(), XCB_CURRENT_TIME, manager.screen()->root, XCB_NONE, taken,
                              keyboard, 1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC,
                              XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, &mask, &modifiers)
                              .sequence);
    manager.sync();
    start({"--bind", "ctrl+l", "--bind", "ctrl+j w l", "--bind", "cmd g"});
    std::this_thread::sleep_for(100ms); // the refusals come, and the second way is gone
    for (int i = 0; i < 20; ++i) {
        typist->chord(key::ctrl, key::l); // refused to us once, granted by the other protocol
        typist->chord(key::ctrl, key::j);
        typist->tap(key::w);
        typist->tap(key::l);
        typist->tap(key::super);
        typist->tap(key::g);
        ASSERT_EQ(runs(3),
                  (std::map<std::string, int>{{"ran ctrl+l", 1}, {"ran ctrl+j w l", 1}, {"ran cmd g", 1}}))
            << i;
    }
    EXPECT_TRUE(keysReachTheWindow());
    for (const std::uint8_t swallowed : {key::j, key::w, key::l, key::g})
        EXPECT_EQ(window->presses(swallowed), 0) << int(swallowed);
    EXPECT_EQ(trouble(), "trouble: ");
}

TEST(ServerLossLive, LosingTheServerEndsTheProgram) {
    X11Desktop desktop;
    ChildProcess tap({kTapProgram, "--display", desktop.display(), "--bind", "ctrl+j w"});
    ASSERT_TRUE(tap.readUntil("ready"));
    desktop.server().signal(SIGKILL);
    EXPECT_TRUE(tap.readUntil("lost"));
    EXPECT_EQ(tap.wait(), 4);
}

} // namespace
} // namespace varnel::test
