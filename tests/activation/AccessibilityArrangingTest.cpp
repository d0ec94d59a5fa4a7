#include "activation/AccessibilityArranging.h"

#include "base/PosixFileSystem.h"
#include "tests/activation/PrintRectangle.h"
#include "tests/base/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace varnel {
namespace {

constexpr ProcessIdentifier kEditor = 50, kOwn = 99;
constexpr WindowNumber kWindow = 7;

/// A Mac with a screen of 1000 × 800 with menu bar and Dock, a smaller one to its right and higher up, and
/// one window on them. What is set is recorded.
class Mac {
public:
    Mac() {
        table.isProcessTrusted = [this] { return isTrusted; };
        table.frontmostProcess = [this] { return front; };
        table.screens = [this] { return screens; };
        table.onScreenWindows = table.allWindows = [this] {
            return std::vector<WindowListEntry>{{.number = 3, .process = kEditor, .bounds = {5, 5, 5, 5}},
                                                {.number = number, .process = kEditor, .bounds = frame}};
        };
        table.windowNumber = [this](const AccessibilityElement&) {
            return knowsNumbers ? std::optional(number) : std::nullopt;
        };
        table.applicationElement = [](ProcessIdentifier process) {
            return AccessibilityElement{.handle = static_cast<std::uintptr_t>(process)};
        };
        table.copyElement = [this](const AccessibilityElement& application, std::string_view name) {
            EXPECT_EQ(application.handle, static_cast<std::uintptr_t>(kEditor));
            return name == "AXMainWindow" && focusedWindow == AccessibilityResult::noValue && hasMainWindow
                       ? answer(AccessibilityElement{.handle = 1}, AccessibilityResult::success)
                       : answer(AccessibilityElement{.handle = 1}, focusedWindow);
        };
        table.copyBoolean = [this](const AccessibilityElement&, std::string_view name) {
            return answer(booleans[std::string(name)], AccessibilityResult::success);
        };
        table.copyPoint = [this](const AccessibilityElement&, std::string_view) {
            return answer(ScreenPoint{double(frame.x), double(frame.y)}, AccessibilityResult::success);
        };
        table.copySize = [this](const AccessibilityElement&, std::string_view) {
            return answer(ScreenSize{double(frame.width), double(frame.height)},
                          AccessibilityResult::success);
        };
        table.setBoolean = [this](const AccessibilityElement&, std::string_view name, bool value) {
            calls += std::string(name) + (value ? "=1 " : "=0 ");
            if (name != "AXFullScreen")
                booleans[std::string(name)] = value;
            return AccessibilityResult::success;
        };
        table.setPoint = [this](const AccessibilityElement&, std::string_view, ScreenPoint point) {
            calls += "point ";
            if (moves == AccessibilityResult::success)
                frame.x = static_cast<int>(point.x), frame.y = static_cast<int>(point.y);
            return moves;
        };
        table.setSize = [this](const AccessibilityElement&, std::string_view, ScreenSize size) {
            calls += "size ";
            frame.width = std::max(leastWidth, static_cast<int>(size.width));
            frame.height = static_cast<int>(size.height);
            return AccessibilityResult::success;
        };
        table.pause = [this] {
            ++pauses;
            if (pauses == fullScreenEnds)
                booleans["AXFullScreen"] = false, frame = {0, 25, 1000, 700};
            else if (pauses == fullScreenEnds + 3)
                frame = {100, 100, 400, 300};
        };
    }

    /// The sentence of the failure; empty when all went well.
    std::string arrange(WindowArrangement arrangement) {
        PosixFileSystem files;
        WindowFrameStore store(files, path);
        calls.clear();
        const auto done = AccessibilityArranging(table, store, kOwn).arrange(arrangement);
        return done ? "" : done.error().message;
    }

    template <typename Value>
    static std::expected<Value, AccessibilityResult> answer(Value value, AccessibilityResult result) {
        if (result != AccessibilityResult::success)
            return std::unexpected(result);
        return value;
    }

    TemporaryFolder folder;
    std::string path = folder.path() + "/frames.json";
    WindowArrangingTable table;
    std::vector<ScreenFrames> screens{{{{0, 0}, {1000, 800}}, {{0, 70}, {1000, 705}}},
                                      {{{1000, 300}, {600, 600}}, {{1000, 300}, {600, 575}}}};
    std::optional<ProcessIdentifier> front = kEditor;
    Rectangle frame{100, 100, 400, 300};
    WindowNumber number = kWindow;
    int leastWidth = 0, pauses = 0, fullScreenEnds = -1;
    bool isTrusted = true, knowsNumbers = true, hasMainWindow = true;
    AccessibilityResult focusedWindow = AccessibilityResult::success, moves = AccessibilityResult::success;
    std::map<std::string, bool> booleans;
    std::string calls;
};

using enum WindowArrangement;

TEST(AccessibilityArranging, CountsScreensDownwardsFromTheMainOne) {
    Mac mac;
    EXPECT_EQ(displaysOf(mac.screens), (std::vector<Rectangle>{{0, 25, 1000, 705}, {1000, -75, 600, 575}}));
    const ScreenFrames below{{{-200, -400}, {1280, 400}}, {{-200, -400}, {1280, 375.5}}};
    EXPECT_EQ(displaysOf({mac.screens[0], below})[1], (Rectangle{-200, 825, 1280, 376}));
    EXPECT_TRUE(displaysOf({}).empty());
}

TEST(AccessibilityArranging, FillsPartsOfTheScreenAndGoesBack) {
    struct Row {
        WindowArrangement arrangement;
        Rectangle frame;
    };
    const Row rows[] = {{leftHalf, {0, 25, 500, 705}},
                        {maximize, {0, 25, 1000, 705}},
                        {nextDisplay, {1000, -75, 600, 575}}, // still filling its screen
                        {topHalf, {1000, -75, 600, 287}},
                        {restore, {100, 100, 400, 300}}};
    Mac mac;
    for (const Row& row : rows) {
        SCOPED_TRACE(arrangementName(row.arrangement));
        EXPECT_EQ(mac.arrange(row.arrangement), "");
        EXPECT_EQ(mac.frame, row.frame);
        EXPECT_EQ(mac.calls, "size point size ");
    }
    EXPECT_EQ(mac.arrange(restore), "The window has no earlier place to go back to.");
    EXPECT_EQ(mac.arrange(nextDisplay), "");
    EXPECT_EQ(mac.frame.width, 400) << "what did not fill its screen is not made to";
    mac.frame = {-50, 100, 400, 300};
    mac.arrange(rightHalf);
    mac.arrange(restore);
    EXPECT_EQ(mac.frame.x, -50) << "where the user had left it";
}

TEST(AccessibilityArranging, SaysWhyItCannot) {
    struct Row {
        const char* name;
        std::function<void(Mac&)> spoil;
        std::string error;
    };
    const std::string none = "There is no window in front to arrange.";
    const Row rows[] = {
        {"no permission", [](Mac& m) { m.isTrusted = false; },
         "Windows cannot be arranged. Allow Varnel under Privacy & Security, Accessibility in the system's "
         "settings."},
        {"nobody in front", [](Mac& m) { m.front.reset(); }, none},
        {"our own window", [](Mac& m) { m.front = kOwn; }, none},
        {"no window", [](Mac& m) { m.focusedWindow = AccessibilityResult::noValue, m.hasMainWindow = false; },
         none},
        {"only a main window", [](Mac& m) { m.focusedWindow = AccessibilityResult::noValue; }, ""},
        {"minimised", [](Mac& m) { m.booleans["AXMinimized"] = true; }, none},
        {"hung", [](Mac& m) { m.focusedWindow = AccessibilityResult::cannotComplete; },
         "The application in front does not answer."},
        {"hangs while moving", [](Mac& m) { m.moves = AccessibilityResult::cannotComplete; },
         "The application in front does not answer."},
        {"fixed", [](Mac& m) { m.moves = AccessibilityResult::failure; },
         "The window in front cannot be moved."},
        {"no screen", [](Mac& m) { m.screens.clear(); }, "There is no display."},
        {"stays in full screen", [](Mac& m) { m.booleans["AXFullScreen"] = true; },
         "The window did not leave full screen."},
        {"no place for files", [](Mac& m) { m.path = "/nowhere/at/all.json"; }, ""},
        {"no folder for files", [](Mac& m) { m.path = ""; }, ""},
    };
    for (const Row& row : rows) {
        Mac mac;
        row.spoil(mac);
        EXPECT_EQ(mac.arrange(leftHalf), row.error) << row.name;
        EXPECT_EQ(mac.frame.x, row.error.empty() ? 0 : 100) << row.name;
    }
}

TEST(AccessibilityArranging, LeavesFullScreenBeforeItMeasures) {
    Mac mac;
    mac.frame = {0, 0, 1000, 800};
    mac.booleans["AXFullScreen"] = true;
    mac.fullScreenEnds = 4;
    EXPECT_EQ(mac.arrange(leftHalf), "");
    EXPECT_EQ(mac.frame, (Rectangle{0, 25, 500, 705}));
    EXPECT_EQ(mac.arrange(restore), "");
    EXPECT_EQ(mac.frame, (Rectangle{100, 100, 400, 300})) << "where it came to rest";
}

TEST(AccessibilityArranging, CopesWithProgramsOfTheirOwnMind) {
    Mac mac;
    mac.leastWidth = 600;
    EXPECT_EQ(mac.arrange(rightHalf), "");
    EXPECT_EQ(mac.frame, (Rectangle{400, 25, 600, 705})) << "too wide for a half, moved until it can be seen";
    mac.booleans["AXEnhancedUserInterface"] = true;
    mac.arrange(topHalf);
    EXPECT_EQ(mac.calls, "AXEnhancedUserInterface=0 size point size AXEnhancedUserInterface=1 ");
}

TEST(AccessibilityArranging, KnowsAWindowByItsPlaceWhereNumbersAreUnknown) {
    Mac mac;
    mac.knowsNumbers = false;
    mac.arrange(leftHalf);
    EXPECT_EQ(mac.arrange(restore), "");
    EXPECT_EQ(mac.frame, (Rectangle{100, 100, 400, 300}));
}

TEST(WindowFrameStore, ForgetsWindowsThatAreGoneAndSurvivesDamage) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/frames.json";
    PosixFileSystem files;
    WindowFrameStore store(files, path);
    const auto all = [](const WindowIdentity&) { return true; };
    const Rectangle frame{-5, 7, 300, 200};
    ASSERT_TRUE(store.keep({1, 10}, frame, all));
    ASSERT_TRUE(store.keep({2, 10}, Rectangle{0, 0, 1, 1}, all));
    ASSERT_TRUE(store.keep({1, 4294967295}, frame, all));
    EXPECT_EQ(store.frame({1, 10}), frame);
    EXPECT_EQ(store.frame({1, 4294967295}), frame);
    EXPECT_FALSE(store.frame({2, 11}));
    EXPECT_EQ(files.info(path)->mode, 0600U);
    ASSERT_TRUE(store.keep({3, 1}, frame, [](const WindowIdentity& each) { return each.process == 2; }));
    EXPECT_FALSE(store.frame({1, 10}));
    EXPECT_TRUE(store.frame({2, 10}) && store.frame({3, 1}));
    ASSERT_TRUE(store.keep({3, 1}, std::nullopt, all));
    EXPECT_FALSE(store.frame({3, 1}));
    std::ofstream(path + ".new") << "left behind";
    EXPECT_TRUE(store.keep({1, 1}, frame, all));
    EXPECT_EQ(files.list(folder.path())->size(), 1U);
    for (const char* damage :
         {"", "{", "{}", "[1,{}]", R"([{"process":1,"window":1,"x":0,"y":0,"width":0,"height":9}])",
          R"([{"process":1e300,"window":1,"x":0,"y":0,"width":9,"height":9}])",
          R"([{"process":1,"window":1.5,"x":0,"y":0,"width":9,"height":9}])",
          R"([{"process":1,"window":1,"x":0,"y":-1e9,"width":9,"height":9}])"}) {
        std::ofstream(path) << damage;
        EXPECT_FALSE(store.frame({1, 1})) << damage;
    }
    EXPECT_TRUE(store.keep({1, 1}, frame, all));
    WindowFrameStore nowhere(files, folder.path() + "/missing/frames.json");
    EXPECT_FALSE(nowhere.keep({1, 1}, frame, all));
}

} // namespace
} // namespace varnel
