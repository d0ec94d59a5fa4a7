#include "commands/x11/DesktopApplicationWindows.h"
#include "commands/x11/XcbShortcutPosting.h"
#include "commands/x11/XcbTyping.h"
#include "tests/commands/CommandDoubles.h"
#include "tests/support/x11/X11Desktop.h"

#include <gtest/gtest.h>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <filesystem>
#include <set>
#include <thread>

namespace varnel {
namespace {

using namespace std::chrono_literals;
namespace key = test::key;

constexpr KeyCode kK = 40, kA = 0;

/// Presses keys as a keyboard made of plastic does: on its own device, not on the one of XTEST.
class KeyboardOfPlastic : public test::X11Client {
public:
    explicit KeyboardOfPlastic(const std::string& display)
        : X11Client(display) {
        events_ = xcb_get_extension_data(connection(), &xcb_input_id)->first_event;
        const std::unique_ptr<xcb_input_list_input_devices_reply_t, decltype(&std::free)> reply(
            xcb_input_list_input_devices_reply(connection(), xcb_input_list_input_devices(connection()),
                                               nullptr),
            &std::free);
        auto names = xcb_input_list_input_devices_names_iterator(reply.get());
        for (const auto* device = xcb_input_list_input_devices_devices(reply.get()); names.rem > 0;
             ++device) {
            const std::string name(xcb_str_name(names.data),
                                   static_cast<std::size_t>(xcb_str_name_length(names.data)));
            if (name == "Xvfb keyboard")
                device_ = device->device_id;
            xcb_str_next(&names);
        }
    }
    void set(std::uint8_t key, bool isPress) {
        post(key, isPress);
        sync();
    }
    void post(std::uint8_t key, bool isPress) {
        xcb_test_fake_input(connection(), static_cast<std::uint8_t>(events_ + (isPress ? 1 : 2)), key, 0,
                            XCB_NONE, 0, 0, device_);
        xcb_flush(connection());
    }

private:
    std::uint8_t events_ = 0, device_ = 0;
};

class ShortcutLive : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        desktop = std::make_unique<test::X11Desktop>();
        // A window manager that has only just started may not give its first window the focus.
        std::this_thread::sleep_for(300ms);
        const test::ProbeWindow first(desktop->display());
    }
    static void TearDownTestSuite() { desktop.reset(); }

    void TearDown() override {
        EXPECT_EQ(window.keysDown(), std::set<int>{});
        EXPECT_EQ(log.take(), std::vector<std::string>{});
        EXPECT_EQ(ledger.size(), 0U);
    }

    bool send(const std::string& token, KeyCode main, KeyboardShortcutDeliveryRoute route = GlobalRoute{}) {
        return posting.post(makeShortcutEvents(token, main), route);
    }

    /// What the window was told, as "+37/0 -37/4", modifiers and key with the state before.
    std::string told() {
        window.sync();
        window.readAvailable();
        std::string text;
        for (const auto& event : window.events())
            text += (text.empty() ? "" : " ") + std::string(event.isPress ? "+" : "-") +
                    std::to_string(event.key) + "/" + std::to_string(event.state);
        window.forget();
        return text;
    }

    static inline std::unique_ptr<test::X11Desktop> desktop;
    test::ProbeWindow window{desktop->display()};
    test::Typist typist{desktop->display()};
    KeyboardOfPlastic plastic{desktop->display()};
    RecordingLog log;
    PostedKeyLedger ledger;
    ScriptedWindows windows;
    XcbShortcutPosting posting{{.displayName = desktop->display(),
                                .ledger = &ledger,
                                .windows = &windows,
                                .frontmostProcess = [] { return 77; }},
                               log};
};

TEST_F(ShortcutLive, TypesTheShortcutWhateverIsHeld) {
    struct Row {
        std::string name, token;
        std::vector<std::uint8_t> held;
        std::string told;
    };
    // Shift 1, Control 4, Mod1 8, Mod4 64
    const Row rows[] = {
        {"plain key", "k", {}, "+45/0 -45/0"},
        {"two modifiers", "cmd+shift+k", {}, "+133/0 +50/64 +45/65 -45/65 -50/65 -133/64"},
        {"a modifier twice", "shift+shift+k", {}, "+50/0 +45/1 -45/1 -50/1"},
        {"another is held", "alt+k", {key::ctrl}, "-37/4 +64/0 +45/8 -45/8 -64/8 +37/0"},
        {"the same is held", "ctrl+k", {key::ctrl}, "-37/4 +37/0 +45/4 -45/4 -37/4 +37/0"},
        {"right keys are held", "ctrl+k", {105, 62}, "-62/5 -105/4 +37/0 +45/4 -45/4 -37/4 +62/0 +105/1"},
        {"the key itself is held", "ctrl+k", {key::k}, "+37/0 -45/4 +45/4 -45/4 -37/4"},
    };
    for (const bool isPlastic : {true, false}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name + (isPlastic ? ", physically" : ", by another program"));
            const auto set = [&](std::uint8_t key, bool isPress) {
                isPlastic ? plastic.set(key, isPress) : isPress ? typist.press(key) : typist.release(key);
            };
            for (const std::uint8_t key : row.held)
                set(key, true);
            typist.sync();
            told();
            EXPECT_TRUE(send(row.token, kK));
            EXPECT_EQ(told(), row.told);
            std::set<int> modifiersHeld(row.held.begin(), row.held.end());
            modifiersHeld.erase(key::k);
            EXPECT_EQ(window.keysDown(), modifiersHeld);
            for (const std::uint8_t key : row.held)
                set(key, false);
            typist.sync();
            EXPECT_EQ(window.keysDown(), std::set<int>{});
            told();
        }
    }
}

TEST_F(ShortcutLive, LeavesTheKeyboardOfXtestUsable) {
    for (const bool endsEarlier : {false, true}) {
        SCOPED_TRACE(endsEarlier);
        auto brief = std::make_unique<XcbShortcutPosting>(
            XcbShortcutPosting::Surroundings{.displayName = desktop->display(), .frontmostProcess = {}}, log);
        plastic.set(key::ctrl, true);
        EXPECT_TRUE(brief->post(makeShortcutEvents("k", kK), GlobalRoute{}));
        if (endsEarlier)
            brief.reset();
        plastic.set(key::ctrl, false);
        if (brief)
            brief->waitForRelease();
        EXPECT_EQ(window.keysDown(), std::set<int>{});
        told();
        typist.chord(key::ctrl, key::a);
        typist.sync();
        EXPECT_EQ(told(), "+37/0 +38/4 -38/4 -37/4");
    }
}

TEST_F(ShortcutLive, DoesNotPressAgainWhatTheUserLetGoMeanwhile) {
    XcbTyping typing(desktop->display(), &ledger);
    ASSERT_TRUE(typing.connect());
    plastic.set(key::ctrl, true);
    plastic.set(key::alt, true);
    ASSERT_TRUE(typing.begin());
    ASSERT_TRUE(typing.key(kK, true));
    ASSERT_TRUE(typing.key(kK, false));
    plastic.post(key::ctrl, false); // the server does not listen to others until the shortcut is out
    ASSERT_TRUE(typing.finish());
    plastic.sync();
    EXPECT_EQ(window.keysDown(), std::set<int>{key::alt});
    plastic.set(key::alt, false);
}

TEST_F(ShortcutLive, LeavesTheLocksAlone) {
    for (const std::uint8_t lock : {key::capsLock, key::numLock}) {
        typist.tap(lock);
        plastic.set(lock, true);
        const unsigned before = window.modifiers();
        EXPECT_TRUE(send("ctrl+k", kK));
        EXPECT_EQ(window.modifiers(), before);
        plastic.set(lock, false);
        typist.sync();
        if (window.modifiers() != 0)
            typist.tap(lock);
        typist.sync();
        EXPECT_EQ(window.modifiers(), 0U);
    }
}

TEST_F(ShortcutLive, FindsModifiersThatHaveChangedPlaces) {
    ASSERT_EQ(desktop->run({"setxkbmap", "-option", "ctrl:swapcaps", "us"}), 0);
    window.forget();
    EXPECT_TRUE(send("ctrl+k", kK));
    EXPECT_EQ(told(), "+66/0 +45/4 -45/4 -66/4");
    EXPECT_EQ(desktop->run({"setxkbmap", "-option", "", "us"}), 0);
    EXPECT_EQ(window.modifiers(), 0U);
}

TEST_F(ShortcutLive, ForgetsKeysThatNobodyOfOursWillSee) {
    EXPECT_TRUE(send("ctrl+k", kK)); // TearDown: the ledger is empty
    // Another program holds the keyboard: the keys are its, and that must not last for ever.
    test::X11Client other(desktop->display());
    std::free(
        xcb_grab_keyboard_reply(other.connection(),
                                xcb_grab_keyboard(other.connection(), 0, other.screen()->root,
                                                  XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    EXPECT_TRUE(send("ctrl+k", kK));
    EXPECT_EQ(ledger.size(), 0U);
}

TEST_F(ShortcutLive, RefusesAKeyThatNoKeyboardHas) {
    EXPECT_FALSE(send("cmd+shift+x", 127));
    EXPECT_EQ(log.take(),
              logged("KeyboardShortcut", "error", {"hid post event failed result=-1 type=10 keyCode=127"}));
    EXPECT_EQ(told(), "+133/0 +50/64 -50/65 -133/64");
}

TEST_F(ShortcutLive, ReachesOneProcess) {
    const auto focused = [&] {
        xcb_get_input_focus_reply_t* reply =
            xcb_get_input_focus_reply(window.connection(), xcb_get_input_focus(window.connection()), nullptr);
        const xcb_window_t id = reply->focus;
        std::free(reply);
        return id;
    };
    windows.list = {{.id = focused(), .process = 88, .instanceName = "", .className = ""}};
    test::ProbeWindow front(desktop->display());
    window.forget();

    EXPECT_TRUE(send("ctrl+k", kK, LocalRoute{88})); // behind: events are sent to its window
    EXPECT_EQ(told(), "+37/0 +45/4 -45/4 -37/4");
    EXPECT_EQ(front.events().size(), 0U);
    EXPECT_TRUE(send("ctrl+k", kK, LocalRoute{77})); // in front: typed
    EXPECT_TRUE(front.readUntil([&] { return front.releases(key::ctrl) == 1; }));
    EXPECT_EQ(front.presses(key::k), 1);
    EXPECT_EQ(told(), "");

    windows.list.push_back({.id = 0x7FFFFFF, .process = 89, .instanceName = "", .className = ""});
    EXPECT_FALSE(send("ctrl+k", kK, LocalRoute{89}));
    EXPECT_EQ(log.take(), logged("KeyboardShortcut", "error", {"window of the process is gone"}));
    EXPECT_FALSE(send("ctrl+k", kK, LocalRoute{99}));
    EXPECT_EQ(log.take(), logged("KeyboardShortcut", "error", {"no window of process=99"}));
}

TEST_F(ShortcutLive, FailsWithoutAServerAndComesBackWithOne) {
    XcbShortcutPosting nowhere({.displayName = ":987", .frontmostProcess = [] { return 77; }}, log);
    EXPECT_FALSE(nowhere.post(makeShortcutEvents("k", kK), GlobalRoute{}));
    EXPECT_EQ(log.take(), logged("KeyboardShortcut", "error", {"hid post access denied access=1"}));
    auto brief = std::make_unique<test::X11Desktop>();
    XcbShortcutPosting there({.displayName = brief->display(), .frontmostProcess = [] { return 77; }}, log);
    EXPECT_TRUE(there.post(makeShortcutEvents("k", kK), GlobalRoute{}));
    brief.reset();
    EXPECT_FALSE(there.post(makeShortcutEvents("k", kK), GlobalRoute{}));
    log.take();
}

/// Real programs in front.
class ShortcutToProgram : public ShortcutLive {
protected:
    void SetUp() override {
        auto opened = XcbDesktop::connect(desktop->display());
        ASSERT_TRUE(opened);
        look = std::move(*opened);
        real = std::make_unique<DesktopApplicationWindows>(*look);
        toFront = std::make_unique<XcbShortcutPosting>(
            XcbShortcutPosting::Surroundings{.displayName = desktop->display(),
                                             .ledger = &ledger,
                                             .windows = real.get(),
                                             .frontmostProcess = [this] { return look->frontmostProcess(); }},
            log);
    }
    void TearDown() override {
        window.focus();
        ShortcutLive::TearDown();
    }

    bool comesToFront(const test::ChildProcess& program) {
        for (int i = 0; i < 1500 && look->frontmostProcess() != program.id(); ++i)
            std::this_thread::sleep_for(10ms);
        return look->frontmostProcess() == program.id();
    }
    bool sendToFront(const std::string& token, KeyCode main, const KeyboardShortcutDeliveryRoute& route) {
        return toFront->post(makeShortcutEvents(token, main), route);
    }

    std::unique_ptr<XcbDesktop> look;
    std::unique_ptr<DesktopApplicationWindows> real;
    std::unique_ptr<XcbShortcutPosting> toFront;
};

TEST_F(ShortcutToProgram, TypesIntoATerminalWithControlHeldAndNot) {
    TemporaryFolder folder;
    const std::string ready = folder.path("ready");
    test::ChildProcess terminal(
        {"xterm", "-e", "sh", "-c",
         "stty -echo; : >" + ready + "; read a; read b; echo \"$a|$b|\" >" + folder.path("typed")},
        {"DISPLAY=" + desktop->display()});
    ASSERT_TRUE(comesToFront(terminal));
    for (int i = 0; i < 1500 && !std::filesystem::exists(ready); ++i)
        std::this_thread::sleep_for(10ms);
    const auto type = [&](const KeyboardShortcutDeliveryRoute& route) {
        for (const auto& [token, main] :
             {std::pair{"a", kA}, {"shift+k", kK}, {"k", kK}, {"return", KeyCode(36)}})
            EXPECT_TRUE(sendToFront(token, main, route));
    };
    type(GlobalRoute{});
    plastic.set(key::ctrl, true);
    type(LocalRoute{terminal.id()});
    EXPECT_EQ(window.keysDown(), std::set<int>{key::ctrl});
    plastic.set(key::ctrl, false);
    EXPECT_TRUE(terminal.wait(15s));
    std::string typed;
    std::getline(std::ifstream(folder.path("typed")), typed);
    EXPECT_EQ(typed, "aKk|aKk|");
}

/// Programs made with toolkits; a shortcut reaches their menus.
class ShortcutToMenu : public ShortcutToProgram, public ::testing::WithParamInterface<const char*> {};

TEST_P(ShortcutToMenu, OpensItWithControlHeldAndNot) {
    constexpr KeyCode kF = 3, kEscape = 53;
    test::ChildProcess program({std::string(VARNEL_BINARY_DIR "/") + GetParam()},
                               {"DISPLAY=" + desktop->display(), "QT_QPA_PLATFORM=xcb"});
    ASSERT_TRUE(program.readUntil("active", 15s));
    ASSERT_TRUE(comesToFront(program));
    for (const bool isHeld : {false, true}) {
        SCOPED_TRACE(isHeld);
        plastic.set(key::ctrl, isHeld);
        EXPECT_TRUE(sendToFront("ctrl+k", kK, GlobalRoute{}));
        EXPECT_EQ(program.readLine(), "ctrl+k");
        EXPECT_TRUE(sendToFront("alt+f", kF, LocalRoute{program.id()}));
        EXPECT_EQ(program.readLine(), "menu opened");
        EXPECT_TRUE(sendToFront("escape", kEscape, GlobalRoute{}));
        EXPECT_EQ(program.readLine(), "menu closed");
        EXPECT_EQ(window.keysDown(), isHeld ? std::set<int>{key::ctrl} : std::set<int>{});
    }
    plastic.set(key::ctrl, false);
}

#ifdef VARNEL_HAS_QT
INSTANTIATE_TEST_SUITE_P(Qt, ShortcutToMenu, ::testing::Values("menu_window"));
#endif
#ifdef VARNEL_HAS_GTK
INSTANTIATE_TEST_SUITE_P(Gtk, ShortcutToMenu, ::testing::Values("gtk_menu_window"));
#endif
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ShortcutToMenu);

} // namespace
} // namespace varnel
