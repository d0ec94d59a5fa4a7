#include "tests/activation/DesktopFixture.h"
#include "tests/activation/PrintRectangle.h"
#include "tests/capabilities/CapabilityRun.h"

namespace varnel {
namespace {

/// The packages' own programs against a real desktop.
class WindowCapabilitiesTest : public DesktopFixture {
protected:
    void SetUp() override {
        DesktopFixture::SetUp();
        setenv("DISPLAY", server.display().c_str(), 1);
    }
    CapabilityAnswer arrange(const char* arrangement) {
        return arranging.act("arrange", {{"arrangement", arrangement}});
    }
    bool isAt(WindowNumber window, const Rectangle& frame) {
        return eventually([&] { return desktop->geometry(window)->frame == frame; }, std::chrono::seconds(2));
    }
    CapabilityRun arranging{"core.window", "core-window"};
    CapabilityRun switching{"core.running-apps", "core-running-apps"};
};

TEST_F(WindowCapabilitiesTest, ArrangeTheWindowInFrontAndPutItBack) {
    EXPECT_EQ(arrange("left-half").message, "There is no window in front to arrange.");
    show({{.title = "w"}});
    const WindowNumber w = window("w").id;
    ASSERT_TRUE(desktop->activate(w));
    const Rectangle before = desktop->geometry(w)->frame;
    EXPECT_TRUE(arrange("left-half").success);
    EXPECT_TRUE(isAt(w, {0, 0, 640, 800}));
    EXPECT_TRUE(arrange("Bottom Right Quarter").success);
    EXPECT_TRUE(isAt(w, {640, 400, 640, 400}));
    EXPECT_TRUE(arrange("maximize").success);
    EXPECT_TRUE(desktop->geometry(w)->isMaximized);
    EXPECT_TRUE(arrange("restore").success);
    EXPECT_TRUE(isAt(w, before));
    EXPECT_EQ(arrange("restore").message, "The window has no earlier place to go back to.");
    EXPECT_EQ(arrange("next-display").message, "There is only one display.");
    EXPECT_EQ(arrange("sideways").message, "There is no window arrangement 'sideways'.");
    EXPECT_FALSE(arranging.act("explode", {}).success);
}

/// A wide display on the left with a panel at its top, a narrower and lower one on the right.
class TwoDisplaysTest : public WindowCapabilitiesTest {
protected:
    void prepareServer() override {
        for (const char* monitor :
             {"left 800/200x800/200+0+0 screen", "right 480/120x600/150+800+200 none"}) {
            const std::string command =
                "xrandr -d " + server.display() + " --setmonitor " + monitor + " > /dev/null 2>&1";
            ASSERT_EQ(std::system(command.c_str()), 0);
        }
    }
};

TEST_F(TwoDisplaysTest, ArrangeTheWindowOnTheDisplayThatShowsIt) {
    show({{.title = "panel", .type = "_NET_WM_WINDOW_TYPE_DOCK"}});
    const std::array<std::uint32_t, 12> strut{0, 0, 40, 0, 0, 0, 0, 0, 0, 799, 0, 0};
    xcb_change_property(probe->get(), XCB_PROP_MODE_REPLACE, window("panel").id,
                        probe->atom(XcbAtom::wmStrutPartial), XCB_ATOM_CARDINAL, 32, 12, strut.data());
    xcb_flush(probe->get());
    show({{.title = "w"}});
    const WindowNumber w = window("w").id;
    ASSERT_TRUE(desktop->activate(w));
    const Rectangle left{0, 40, 800, 760}, right{800, 200, 480, 600};
    ASSERT_TRUE(eventually([&] {
        return desktop->geometry(w)->displays == std::vector<Rectangle>{left, right};
    }));
    const Rectangle before = desktop->geometry(w)->frame;
    struct Row {
        const char* arrangement;
        Rectangle frame;
    };
    const Row rows[] = {
        {"right-half", {400, 40, 400, 760}},
        {"next-display", {880, 200, 400, 600}},
        {"left-half", {800, 200, 240, 600}},
        {"maximize", right},
        {"next-display", left},
        {"next-display", right},
        {"bottom-half", {800, 500, 480, 300}},
        {"restore", before},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(arrange(row.arrangement).message, "") << row.arrangement;
        EXPECT_TRUE(isAt(w, row.frame))
            << row.arrangement << ": " << ::testing::PrintToString(desktop->geometry(w)->frame);
        EXPECT_EQ(desktop->geometry(w)->isMaximized, row.frame == left || row.frame == right);
    }
}

TEST_F(WindowCapabilitiesTest, ListAndActivateRunningApplications) {
    EXPECT_EQ(switching.act("list", {}).message, "No application has a window.");
    show({{.title = "inbox", .className = "Mail"}});
    show({{.title = "page", .className = "Web", .count = 2}});
    ASSERT_TRUE(desktop->activate(window("page 0").id));
    EXPECT_EQ(switching.act("list", {}).message, "Web (2), Mail");
    EXPECT_TRUE(switching.act("activate", {{"application", "mail"}}).success);
    EXPECT_TRUE(hasKeyboard(window("inbox").id));
    EXPECT_TRUE(
        switching.act("activate", {{"choice", "window " + std::to_string(window("page 1").id)}}).success);
    EXPECT_TRUE(hasKeyboard(window("page 1").id));
    EXPECT_TRUE(switching.act("activate", {{"choice", "Mail"}}).success);
    EXPECT_TRUE(hasKeyboard(window("inbox").id));
    EXPECT_EQ(switching.act("activate", {{"choice", "window 1"}}).message, "The window no longer exists.");
    EXPECT_EQ(switching.act("activate", {{"application", "Notes"}}).message, "'Notes' is not running.");
    EXPECT_EQ(switching.act("activate", {}).message, "No application was chosen.");
    server.process().stop();
    EXPECT_EQ(switching.act("list", {}).message, "The X display cannot be reached.");
}

} // namespace
} // namespace varnel
