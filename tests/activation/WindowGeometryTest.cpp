#include "activation/WindowGeometry.h"

#include "tests/activation/PrintRectangle.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

const Rectangle kMain{0, 20, 1000, 701}, kSecond{1000, 0, 500, 400};
const Rectangle kFrame{100, 120, 300, 201};

TEST(WindowGeometry, PlacesWindowsOnTheirDisplay) {
    struct Row {
        const char* name;
        Rectangle expected;
    };
    const Row rows[] = {
        {"left-half", {0, 20, 500, 701}},
        {"right-half", {500, 20, 500, 701}},
        {"top-half", {0, 20, 1000, 350}},
        {"bottom-half", {0, 370, 1000, 351}},
        {"top-left-quarter", {0, 20, 500, 350}},
        {"top-right-quarter", {500, 20, 500, 350}},
        {"bottom-left-quarter", {0, 370, 500, 351}},
        {"bottom-right-quarter", {500, 370, 500, 351}},
        {"left-third", {0, 20, 333, 701}},
        {"center-third", {333, 20, 333, 701}},
        {"right-third", {666, 20, 334, 701}},
        {"left-two-thirds", {0, 20, 666, 701}},
        {"right-two-thirds", {333, 20, 667, 701}},
        {"center", {350, 270, 300, 201}},
        {"next-display", {1028, 39, 300, 201}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto arrangement = arrangementNamed(row.name);
        ASSERT_TRUE(arrangement);
        EXPECT_EQ(arrangementName(*arrangement), row.name);
        const auto plan = planArrangement(*arrangement, {.frame = kFrame, .displays = {kMain, kSecond}});
        ASSERT_TRUE(plan);
        EXPECT_EQ(plan->frame, row.expected);
        EXPECT_FALSE(plan->maximize);
    }
    EXPECT_EQ(arrangementNamed("topLeftQuarter"), WindowArrangement::topLeftQuarter);
    EXPECT_FALSE(arrangementNamed("sideways"));
}

TEST(WindowGeometry, ChoosesTheDisplayThatShowsMostOfTheWindow) {
    const auto frameOn = [](Rectangle frame) {
        return *planArrangement(WindowArrangement::leftHalf, {.frame = frame, .displays = {kMain, kSecond}})
                    ->frame;
    };
    EXPECT_EQ(frameOn({950, 100, 200, 100}).x, 1000);
    EXPECT_EQ(frameOn({900, 100, 150, 100}).x, 0);
    EXPECT_EQ(frameOn({5000, 5000, 10, 10}).x, 0) << "off every display";
}

TEST(WindowGeometry, RemembersTheFirstFrameAndGoesBackToIt) {
    WindowGeometry geometry{.frame = kFrame, .displays = {kMain}};
    EXPECT_EQ(planArrangement(WindowArrangement::maximize, geometry),
              (ArrangementPlan{.maximize = true, .remember = kFrame}));
    EXPECT_EQ(planArrangement(WindowArrangement::restore, geometry).error(),
              "The window has no earlier place to go back to.");
    geometry.isMaximized = true;
    EXPECT_EQ(planArrangement(WindowArrangement::restore, geometry), ArrangementPlan{});
    EXPECT_EQ(planArrangement(WindowArrangement::leftHalf, geometry)->remember, std::nullopt);
    geometry.remembered = Rectangle{1, 2, 3, 4};
    EXPECT_EQ(planArrangement(WindowArrangement::restore, geometry),
              (ArrangementPlan{.frame = Rectangle{1, 2, 3, 4}, .forget = true}));
}

TEST(WindowGeometry, CarriesAMaximizedOrTooLargeWindowToTheNextDisplay) {
    const WindowGeometry geometry{.frame = kMain, .isMaximized = true, .displays = {kMain, kSecond}};
    EXPECT_EQ(planArrangement(WindowArrangement::nextDisplay, geometry),
              (ArrangementPlan{.frame = kSecond, .maximize = true}));
    EXPECT_EQ(planArrangement(WindowArrangement::nextDisplay, {.frame = kFrame, .displays = {kMain}}).error(),
              "There is only one display.");
    EXPECT_FALSE(planArrangement(WindowArrangement::center, {.frame = kFrame}));
}

TEST(WindowGeometry, KeepsClearOfPanelsOnTheirDisplayOnly) {
    const Rectangle screen{0, 0, 1500, 720}, left{0, 0, 1000, 720}, right{1000, 0, 500, 400};
    using Edge = ScreenStrut::Edge;
    struct Row {
        ScreenStrut strut;
        Rectangle onLeft, onRight;
    };
    const Row rows[] = {
        {{Edge::top, 20, 0, 999}, {0, 20, 1000, 700}, right},
        {{Edge::top, 20, 1000, 1499}, left, {1000, 20, 500, 380}},
        {{Edge::bottom, 30, 0, 1499}, {0, 0, 1000, 690}, right},
        {{Edge::left, 40, 0, 719}, {40, 0, 960, 720}, right},
        {{Edge::right, 50, 0, 399}, left, {1000, 0, 450, 400}},
        {{Edge::left, 4000, 0, 719}, left, right},
        {{Edge::top, 0, 0, 999}, left, right},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(usableArea(left, screen, {row.strut}), row.onLeft);
        EXPECT_EQ(usableArea(right, screen, {row.strut}), row.onRight);
    }
}

} // namespace
} // namespace varnel
