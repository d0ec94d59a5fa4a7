#include "activation/WindowListing.h"

#include "activation/ImpatientAccessibility.h"
#include "tests/activation/WindowDoubles.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace std::chrono_literals;

constexpr ProcessIdentifier kMail = 10, kWeb = 20;
constexpr Rectangle kPlace{0, 0, 400, 300};

/// Tells of spaces and titles; element 0x500 + n is window n.
class ScriptedServer : public PrivateWindowServerControlling {
public:
    std::optional<WindowServerSpaceSnapshot> snapshot;
    std::map<WindowNumber, std::string> titles;

    [[nodiscard]] bool isAvailable() const override { return snapshot.has_value(); }
    PrivateWindowFocusResult focus(ProcessIdentifier, WindowNumber) override { return {}; }
    std::optional<WindowServerSpaceSnapshot> spaceSnapshot() override { return snapshot; }
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override {
        return static_cast<WindowNumber>(window.handle - 0x500);
    }
    std::optional<std::string> windowTitle(WindowNumber window) override {
        const auto found = titles.find(window);
        return found == titles.end() ? std::nullopt : std::optional(found->second);
    }
};

class WindowListListingTest : public ::testing::Test {
protected:
    WindowListListingTest() {
        list.onScreenWindows = [this] { return onScreen; };
        list.allWindows = [this] { return all; };
        list.bundleIdentifier = [](ProcessIdentifier process) {
            return process == kMail ? std::optional<std::string>("org.mail") : std::nullopt;
        };
        applications.frontmostProcess = [this] { return front; };
        applications.applicationElement = [this](ProcessIdentifier process) {
            ++questions;
            return AccessibilityElement{.handle = static_cast<std::uintptr_t>(process)};
        };
        applications.windows = [this](const AccessibilityElement& application) {
            std::vector<AccessibilityElement> elements;
            for (const WindowNumber number : offered[static_cast<ProcessIdentifier>(application.handle)])
                elements.push_back({.handle = 0x500U + number});
            return elements;
        };
    }
    std::vector<RunningWindow> windows() { return *listing.runningWindows(); }
    std::vector<WindowNumber> numbers() {
        std::vector<WindowNumber> result;
        for (const RunningWindow& window : windows())
            result.push_back(window.id);
        return result;
    }
    static WindowListEntry entry(WindowNumber number, ProcessIdentifier process, int layer = 0) {
        return {.number = number, .process = process, .layer = layer, .bounds = kPlace};
    }

    std::vector<WindowListEntry> onScreen, all;
    std::map<ProcessIdentifier, std::vector<WindowNumber>> offered;
    std::optional<ProcessIdentifier> front;
    int questions = 0;
    WindowListTable list;
    RunningApplicationTable applications;
    ScriptedAccessibility accessibility;
    ScriptedServer server;
    WindowListListing listing{list, applications, accessibility, server};
};

TEST_F(WindowListListingTest, TellsTheWindowsOnScreenInTheirOrder) {
    onScreen = {entry(1, kMail, 25), entry(2, kWeb), entry(3, kMail), entry(4, kMail)};
    onScreen[2].title = "Inbox";
    onScreen[2].applicationName = "Mail";
    all = {onScreen[3], onScreen[1], onScreen[2], onScreen[0]};
    front = kMail;
    server.titles = {{4, "Draft"}};
    const auto found = windows();
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(found[0].layer, 25);
    EXPECT_FALSE(found[0].isActive) << "a menu is no window to choose";
    EXPECT_EQ(found[2], (RunningWindow{.id = 3,
                                       .process = kMail,
                                       .title = "Inbox",
                                       .applicationName = "Mail",
                                       .applicationID = "org.mail",
                                       .isActive = true}));
    EXPECT_EQ(found[3].title, "Draft") << "where the list has none";
    EXPECT_FALSE(found[3].isActive);
    EXPECT_EQ(questions, 0) << "nobody was to be asked";
}

TEST_F(WindowListListingTest, AddsThoseOutOfSightThatAUserKnows) {
    onScreen = {entry(1, kMail)};
    WindowListEntry invisible = entry(6, kWeb), tiny = entry(7, kWeb);
    invisible.alpha = 0;
    tiny.bounds = {0, 0, 1, 1};
    all = {
        entry(1, kMail),  entry(2, kMail), entry(3, kMail), entry(4, kWeb), entry(5, kWeb), invisible, tiny,
        entry(8, kWeb, 3)};
    offered = {{kMail, {1, 2}}, {kWeb, {6, 7, 8}}};
    accessibility.minimized = true;
    WindowServerSpaceSnapshot spaces;
    spaces.visibleSpaceIDs = {100};
    spaces.spaceIndexesByID = {{100, 0}, {101, 1}};
    spaces.spaceIDsByWindowID = {{1, {100}}, {2, {100}}, {3, {100}}, {4, {101}}, {5, {100, 101}}};
    server.snapshot = spaces;
    const auto found = windows();
    ASSERT_EQ(numbers(), (std::vector<WindowNumber>{1, 2, 4})) << "helpers, specks and panels are none";
    EXPECT_EQ(found[0].desktop, 0U);
    EXPECT_TRUE(found[1].isMinimized && found[1].isOnCurrentDesktop);
    EXPECT_FALSE(found[2].isMinimized || found[2].isOnCurrentDesktop);
    EXPECT_EQ(found[2].desktop, 1U);
    questions = 0;
    windows();
    EXPECT_EQ(questions, 2) << "once an application, and none for a window on another space";
    server.snapshot.reset();
    EXPECT_EQ(numbers(), (std::vector<WindowNumber>{1, 2})) << "without the spaces what is offered counts";
}

TEST_F(WindowListListingTest, GivesTheFrontmostCheckTheSameOrder) {
    onScreen = {entry(1, kMail, 25), entry(2, kWeb)};
    WindowListOrdering ordering(list);
    EXPECT_EQ(ordering.windowsFrontToBack(),
              (std::vector<OrderedWindow>{{.number = 1, .process = kMail, .layer = 25},
                                          {.number = 2, .process = kWeb, .layer = 0}}));
}

/// Every call takes its time.
class SlowAccessibility : public ScriptedAccessibility {
public:
    AccessibilityResult raise(const AccessibilityElement& window) override {
        now += duration;
        return ScriptedAccessibility::raise(window);
    }
    std::chrono::milliseconds duration = 500ms;
    std::chrono::steady_clock::time_point now{};
};

TEST(ImpatientAccessibility, StopsAskingAProgramThatDoesNotAnswer) {
    SlowAccessibility system;
    ImpatientAccessibility subject(system, [&] { return system.now; });
    const auto raises = [&](int times) {
        for (int i = 0; i < times; ++i)
            EXPECT_EQ(subject.raise({}), system.result);
        return system.setCalls;
    };
    EXPECT_EQ(raises(5), 5) << "slow, but it answers";
    system.result = AccessibilityResult::cannotComplete;
    EXPECT_EQ(raises(10), 7) << "two unanswered calls use the patience up";
    EXPECT_EQ(subject.isMinimized({}).error(), AccessibilityResult::cannotComplete);
    EXPECT_EQ(subject.setFocusedWindow({}, {}), AccessibilityResult::cannotComplete);
    EXPECT_FALSE(subject.refresh({}, {}));
    system.now += ImpatientAccessibility::kRest;
    system.result = AccessibilityResult::success;
    EXPECT_EQ(raises(1), 8) << "another program may answer by now";
    EXPECT_TRUE(subject.isMinimized({}).has_value());
}

} // namespace
} // namespace varnel
