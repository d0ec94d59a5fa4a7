#include "tests/activation/DesktopFixture.h"
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
