#include "activation/x11/XcbDesktop.h"

#include "activation/x11/XcbWindowActivation.h"
#include "base/PollEventLoop.h"
#include "tests/activation/DesktopFixture.h"
#include "tests/activation/WindowDoubles.h"

#include <thread>

namespace varnel {
namespace {

using std::chrono::steady_clock;

class XcbWindowActivationTest : public DesktopFixture {
protected:
    std::expected<void, WindowError> activate(const RunningWindow& window) {
        log.lines.clear();
        return activation->activate(window);
    }
    void SetUp() override {
        DesktopFixture::SetUp();
        activation = std::make_unique<XcbWindowActivation>(*desktop, log);
    }
    std::string traces() const {
        std::string text;
        for (const std::string& line : log.lines)
            text += line + "\n";
        return text;
    }
    RecordingLog log;
    std::unique_ptr<XcbWindowActivation> activation;
};

/// Programs as people use them.
class RealProgramActivationTest : public XcbWindowActivationTest,
                                  public ::testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(RealProgramActivationTest, BringsItToTheFrontWhateverStateItIsIn) {
    start(GetParam(), "target");
    startTerminal("other");
    const RunningWindow target = window("target"), other = window("other");
    struct Row {
        const char* name;
        bool isMinimized;
        std::uint32_t desktop;
    };
    for (const Row& row :
         {Row{"behind another", false, 0}, Row{"minimised", true, 0}, Row{"on another desktop", false, 2},
          Row{"minimised on another desktop", true, 3}}) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(desktop->activate(other.id));
        if (row.isMinimized) { // which the window manager does on the desktop in view only
            ASSERT_TRUE(desktop->activate(target.id));
            ASSERT_TRUE(desktop->minimize(target.id));
        }
        moveToDesktop(target.id, row.desktop);
        moveToDesktop(other.id, 0);
        tell(probe->root(), XcbAtom::currentDesktop, {0, 0, 0, 0, 0});
        ASSERT_TRUE(desktop->activate(other.id));
        ASSERT_TRUE(eventually([&] { return hasKeyboard(other.id) && topmost() == other.id; }));
        const auto before = steady_clock::now();
        const auto result = activate(target);
        EXPECT_LT(steady_clock::now() - before, XcbDesktop::kPatience) << "nothing was waited for in vain";
        ASSERT_TRUE(result) << result.error().message << "\n" << traces();
        EXPECT_EQ(rootWord(XcbAtom::activeWindow), target.id);
        EXPECT_EQ(rootWord(XcbAtom::currentDesktop), row.desktop);
        EXPECT_EQ(topmost(), target.id);
        EXPECT_TRUE(hasKeyboard(target.id));
        EXPECT_TRUE(isViewable(target.id));
        EXPECT_FALSE(hasState(target.id, XcbAtom::wmStateHidden));
    }
}

INSTANTIATE_TEST_SUITE_P(Terminal, RealProgramActivationTest,
                         ::testing::Values(std::vector<std::string>{"xterm", "-T", "target", "-e", "sleep",
                                                                    "1000"}));
#ifdef VARNEL_HAS_QT
INSTANTIATE_TEST_SUITE_P(Qt, RealProgramActivationTest,
                         ::testing::Values(std::vector<std::string>{VARNEL_BINARY_DIR "/menu_window",
                                                                    "target"}));
#endif
#ifdef VARNEL_HAS_GTK
INSTANTIATE_TEST_SUITE_P(Gtk, RealProgramActivationTest,
                         ::testing::Values(std::vector<std::string>{VARNEL_BINARY_DIR "/gtk_menu_window",
                                                                    "target"}));
#endif

TEST_F(XcbWindowActivationTest, ChoosesAmongTheWindowsOfTheApplicationInFront) {
    TestProcess& process = show({{.title = "one"}, {.title = "two"}});
    const RunningWindow one = window("one"), two = window("two");
    // The manager gives each new window the keyboard, the last one in the end.
    ASSERT_TRUE(eventually([&] { return hasKeyboard(two.id); }));
    ASSERT_TRUE(desktop->activate(one.id));
    ASSERT_TRUE(eventually([&] { return hasKeyboard(one.id); }));
    ASSERT_TRUE(eventually([&] { return desktop->frontmostProcess() == process.id(); }));
    ASSERT_TRUE(activate(two)) << traces();
    EXPECT_EQ(topmost(), two.id);
    EXPECT_TRUE(hasKeyboard(two.id));
    EXPECT_NE(traces().find("windowFocus.activateApplication.skippedAlreadyFrontmost=true"),
              std::string::npos)
        << traces();
}

TEST_F(XcbWindowActivationTest, CountsAWindowBehindItsOwnDialogOrAnAlwaysVisibleOneAsInFront) {
    show({{.title = "document"}, {.title = "question", .isDialogOfFirst = true}});
    show({{.title = "clock"}});
    const RunningWindow document = window("document"), clock = window("clock");
    tell(clock.id, XcbAtom::wmState, {1, probe->atom(XcbAtom::wmStateAbove), 0, 2, 0});
    ASSERT_TRUE(eventually([&] { return hasState(clock.id, XcbAtom::wmStateAbove); }));
    ASSERT_TRUE(desktop->activate(clock.id));
    ASSERT_TRUE(activate(document)) << traces();
    EXPECT_TRUE(hasKeyboard(document.id) || hasKeyboard(window("question").id));
    EXPECT_EQ(topmost(), clock.id);
}

TEST_F(XcbWindowActivationTest, DoesNotNeedTheApplicationToAnswer) {
    TestProcess& hung = startTerminal("hung");
    startTerminal("other");
    const RunningWindow target = window("hung");
    ASSERT_TRUE(desktop->minimize(target.id));
    hung.suspend();
    EXPECT_TRUE(activate(target)) << traces();
    EXPECT_EQ(topmost(), target.id);
    EXPECT_TRUE(hasKeyboard(target.id));
    hung.resume();
}

TEST_F(XcbWindowActivationTest, GivesUpInTimeAndSaysWhy) {
    startTerminal("target");
    startTerminal("other");
    const RunningWindow target = window("target");
    ASSERT_TRUE(desktop->activate(window("other").id));
    manager->suspend();
    const auto before = steady_clock::now();
    const auto result = activate(target);
    EXPECT_LT(steady_clock::now() - before, std::chrono::milliseconds(1500));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().message, "XTerm could not be brought to the front.");
    manager->resume();
    RunningWindow gone = target;
    gone.id = 0x7fffff;
    EXPECT_EQ(activate(gone).error().message, "The window no longer exists.");
}

class XcbDesktopTest : public DesktopFixture {};

TEST_F(XcbDesktopTest, TellsWhatWindowsThereAre) {
    TestProcess& process = show({{.title = "Grüße ✓", .className = "Mail"}});
    show({{.title = "claims a process", .tellsProcess = true},
          {.title = "far away", .machine = "elsewhere.example"},
          {.title = "panel", .type = "_NET_WM_WINDOW_TYPE_DOCK"},
          {.title = "tools", .type = "_NET_WM_WINDOW_TYPE_UTILITY"}});
    const RunningWindow mail = window("Grüße ✓");
    ASSERT_NE(mail.id, 0u);
    EXPECT_EQ(mail.process, process.id()) << "the server's word where the program says nothing";
    EXPECT_EQ(mail.applicationID, "Mail");
    EXPECT_EQ(mail.instanceName, "tester");
    EXPECT_EQ(mail.desktop, 0u);
    EXPECT_EQ(mail.layer, 0);
    EXPECT_EQ(window("claims a process").process, 4242);
    EXPECT_EQ(window("far away").process, 0);
    EXPECT_GT(window("panel").layer, 0);
    EXPECT_GT(window("tools").layer, 0);
    ASSERT_TRUE(desktop->minimize(mail.id));
    moveToDesktop(mail.id, 2);
    const RunningWindow moved = window("Grüße ✓");
    EXPECT_TRUE(moved.isMinimized);
    EXPECT_EQ(moved.desktop, 2u);
    EXPECT_FALSE(moved.isOnCurrentDesktop);
    for (const OrderedWindow& each : desktop->windowsFrontToBack())
        EXPECT_NE(each.number, mail.id) << "neither visible nor here";
}

TEST_F(XcbDesktopTest, ListsFrontToBack) {
    show({{.title = "w", .count = 3}});
    const WindowNumber a = window("w 0").id, b = window("w 1").id, c = window("w 2").id;
    for (WindowNumber each : {c, a, b})
        ASSERT_TRUE(desktop->activate(each));
    std::vector<WindowNumber> order;
    for (const DesktopWindow& each : desktop->clientWindows())
        order.push_back(each.id);
    EXPECT_EQ(order, (std::vector{b, a, c}));
    EXPECT_EQ(desktop->activeWindow(), b);
    EXPECT_TRUE(window("w 1").isActive);
}

TEST_F(XcbDesktopTest, AnswersFromItsCacheWhileTheServerIsSilent) {
    TestProcess& process = show({{.title = "w", .count = 5}});
    const WindowNumber second = window("w 1").id;
    PollEventLoop loop;
    const Subscription attached = desktop->attach(loop);
    tell(second, XcbAtom::activeWindow, {2, 0, 0, 0, 0});
    ASSERT_TRUE(eventually([&] { return rootWord(XcbAtom::activeWindow) == second; }));
    const Subscription end = loop.after(50ms, [&] { loop.quit(); });
    loop.run();
    server.process().suspend(); // whoever asks it now waits for ever
    std::optional<ProcessIdentifier> front;
    std::vector<DesktopWindow> windows;
    for (int i = 0; i < 1000; ++i) {
        windows = desktop->clientWindows();
        front = desktop->frontmostProcess();
    }
    server.process().resume();
    EXPECT_EQ(front, process.id());
    ASSERT_EQ(windows.size(), 5u);
    EXPECT_EQ(windows.front().id, second);
}

TEST_F(XcbDesktopTest, ServesOtherThreadsWhileTheLoopKeepsItCurrent) {
    show({{.title = "w", .count = 6}});
    PollEventLoop loop;
    const Subscription attached = desktop->attach(loop);
    std::vector<WindowNumber> all;
    for (const DesktopWindow& each : desktop->clientWindows())
        all.push_back(each.id);
    int activated = 0;
    std::thread user([&] {
        for (int i = 0; i < 60; ++i)
            activated += desktop->activate(all[static_cast<std::size_t>(i) % all.size()]).has_value();
        loop.post([&] { loop.quit(); });
    });
    std::thread reader([&] {
        for (int i = 0; i < 200; ++i)
            EXPECT_EQ(desktop->runningWindows()->size(), all.size());
    });
    auto last = steady_clock::now();
    auto longest = last - last;
    const Subscription turns = loop.observe(EventLoop::Phase::afterWake, [&] { last = steady_clock::now(); });
    const Subscription sleeps = loop.observe(
        EventLoop::Phase::beforeSleep, [&] { longest = std::max(longest, steady_clock::now() - last); });
    loop.run();
    user.join();
    reader.join();
    EXPECT_EQ(activated, 60);
    EXPECT_EQ(topmost(), all[59 % all.size()]);
    EXPECT_LT(longest, std::chrono::milliseconds(300)) << "the main thread waited for another";
}

TEST_F(XcbDesktopTest, SurvivesTheEndOfTheServer) {
    show({{.title = "w"}});
    const RunningWindow w = window("w");
    PollEventLoop loop;
    const Subscription attached = desktop->attach(loop);
    server.process().stop();
    int turns = 0;
    const Subscription count = loop.observe(EventLoop::Phase::afterWake, [&] { ++turns; });
    const Subscription end = loop.after(100ms, [&] { loop.quit(); });
    loop.run();
    EXPECT_LT(turns, 20) << "a closed connection must not keep the loop busy";
    EXPECT_FALSE(desktop->runningWindows());
    EXPECT_EQ(desktop->activate(w.id).error().message, "The connection to the X server was lost.");
    EXPECT_FALSE(desktop->geometry(w.id));
    EXPECT_FALSE(XcbDesktop::connect(":4095"));
}

TEST_F(XcbDesktopTest, ArrangesWindowsWithTheirDecorations) {
    show({{.title = "w"}});
    show({{.title = "panel", .type = "_NET_WM_WINDOW_TYPE_DOCK"}});
    const std::array<std::uint32_t, 12> strut{0, 0, 30, 0, 0, 0, 0, 0, 0, 1279, 0, 0};
    xcb_change_property(probe->get(), XCB_PROP_MODE_REPLACE, window("panel").id,
                        probe->atom(XcbAtom::wmStrutPartial), XCB_ATOM_CARDINAL, 32, 12, strut.data());
    xcb_flush(probe->get());
    const WindowNumber w = window("w").id;
    const auto area = [&] { return desktop->geometry(w)->displays.front(); };
    ASSERT_TRUE(eventually([&] { return area() == Rectangle{0, 30, 1280, 770}; }));
    const Rectangle before = desktop->geometry(w)->frame;
    EXPECT_GT(before.height, 200) << "the frame has a title bar";
    const Rectangle half{640, 30, 640, 770};
    ASSERT_TRUE(desktop->setMaximized(w, true));
    EXPECT_TRUE(desktop->geometry(w)->isMaximized);
    ASSERT_TRUE(desktop->setFrame(w, half));
    EXPECT_TRUE(eventually([&] { return desktop->geometry(w)->frame == half; }))
        << desktop->geometry(w)->frame.x << ' ' << desktop->geometry(w)->frame.height;
    EXPECT_FALSE(desktop->geometry(w)->isMaximized);
    EXPECT_FALSE(desktop->rememberedFrame(w));
    desktop->rememberFrame(w, Rectangle{-5, 7, 300, 200});
    EXPECT_EQ(desktop->rememberedFrame(w), (Rectangle{-5, 7, 300, 200}));
    desktop->rememberFrame(w, std::nullopt);
    EXPECT_FALSE(desktop->rememberedFrame(w));
}

TEST_F(XcbDesktopTest, GoesOnWithoutItsWindowManager) {
    show({{.title = "one"}, {.title = "two"}});
    const WindowNumber one = window("one").id;
    manager->stop();
    EXPECT_TRUE(eventually([&] { return desktop->clientWindows().size() == 2; }));
    ASSERT_TRUE(desktop->activate(one));
    EXPECT_TRUE(hasKeyboard(one));
    EXPECT_EQ(desktop->clientWindows().front().id, one);
}

class BareXcbDesktopTest : public DesktopFixture {
    bool wantsManager() const override { return false; }
};

TEST_F(BareXcbDesktopTest, ListsAndRaisesTopLevelWindowsItself) {
    TestProcess& process = show({{.title = "one"}, {.title = "two"}});
    const WindowNumber one = window("one").id;
    EXPECT_EQ(desktop->clientWindows().front().id, window("two").id);
    ASSERT_TRUE(desktop->activate(one));
    EXPECT_TRUE(hasKeyboard(one));
    EXPECT_EQ(desktop->clientWindows().front().id, one);
    EXPECT_EQ(desktop->frontmostProcess(), process.id());
}

} // namespace
} // namespace varnel
