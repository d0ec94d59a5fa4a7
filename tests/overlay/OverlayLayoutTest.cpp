#include "overlay/OverlayLayout.h"

#include "overlay/OverlayColors.h"
#include "overlay/OverlayPreferences.h"

#include <gtest/gtest.h>

#include <random>

namespace varnel {
namespace {

constexpr RowMetrics kMetrics{
    .height = 30, .capGap = 10, .columnGap = 36, .longestText = 340, .leastColumn = 160};

std::vector<RowExtent> rowsOf(std::size_t count, int caps = 24, int text = 180) {
    return std::vector<RowExtent>(count, {caps, text});
}

TEST(RowLayout, ChoosesColumnsByShapeAndPagesBySpace) {
    const struct {
        std::size_t rows;
        OverlaySize space;
        std::size_t columns;
        int rowsPerColumn, pages;
    } cases[] = {
        {3, {1200, 600}, 1, 3, 1},    {12, {1200, 600}, 2, 6, 1},  {24, {1200, 600}, 2, 12, 1},
        {120, {1200, 600}, 4, 15, 2}, {120, {300, 600}, 1, 20, 6}, {5, {1200, 40}, 3, 1, 2},
        {1, {10, 10}, 1, 1, 1},
    };
    for (const auto& c : cases) {
        const RowLayout layout = layOutRows(rowsOf(c.rows), kMetrics, c.space);
        EXPECT_EQ(layout.columns.size(), c.columns) << c.rows;
        EXPECT_EQ(layout.rowsPerColumn, c.rowsPerColumn) << c.rows;
        EXPECT_EQ(layout.pages, c.pages) << c.rows;
    }
    EXPECT_EQ(layOutRows({}, kMetrics, {100, 100}).rowsPerPage(), 0u);
}

TEST(RowLayout, HoldsEveryRowWithinTheSpaceWhateverTheirWidths) {
    std::mt19937 random(7);
    const auto number = [&](int from, int to) { return std::uniform_int_distribution(from, to)(random); };
    for (int round = 0; round < 300; ++round) {
        std::vector<RowExtent> rows;
        for (int i = number(1, 150); i > 0; --i)
            rows.push_back({number(20, 160), number(0, 900)});
        const OverlaySize space{number(200, 2000), number(30, 1200)};
        const RowLayout layout = layOutRows(rows, kMetrics, space);
        EXPECT_LE(layout.size.width, space.width);
        EXPECT_LE(layout.size.height, std::max(space.height, kMetrics.height));
        EXPECT_GE(layout.rowsPerPage() * static_cast<std::size_t>(layout.pages), rows.size());
        EXPECT_LT(layout.rowsPerPage() * static_cast<std::size_t>(layout.pages - 1), rows.size())
            << "an empty page";
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto perColumn = static_cast<std::size_t>(layout.rowsPerColumn);
            EXPECT_GE(layout.columns[i / perColumn % layout.columns.size()].caps, rows[i].caps);
        }
    }
}

TEST(RowLayout, TurnsPagesInACircle) {
    RowLayout layout;
    layout.pages = 3;
    EXPECT_EQ(layout.page(4), 1);
    EXPECT_EQ(layout.page(-1), 2);
}

TEST(OverlayPlacement, StaysOnTheScreenAndOffThePointer) {
    const OverlayArea second{{1000, 200}, {800, 600}};
    const struct {
        const char* what;
        OverlaySize window;
        OverlayPoint pointer;
        OverlayPosition position;
        OverlayPoint place;
    } cases[] = {
        {"centre", {200, 100}, {0, 0}, OverlayPosition::center, {1300, 450}},
        {"top", {200, 100}, {0, 0}, OverlayPosition::top, {1300, 250}},
        {"bottom", {200, 100}, {0, 0}, OverlayPosition::bottom, {1300, 650}},
        {"below the pointer", {200, 100}, {1100, 300}, OverlayPosition::pointer, {1118, 318}},
        {"at the right edge", {200, 100}, {1790, 300}, OverlayPosition::pointer, {1572, 318}},
        {"at the lower edge", {200, 100}, {1100, 790}, OverlayPosition::pointer, {1118, 672}},
        {"in the corner of a window as wide as the screen",
         {800, 100},
         {1400, 300},
         OverlayPosition::pointer,
         {1000, 318}},
        {"too large", {900, 700}, {1100, 300}, OverlayPosition::center, {1000, 200}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(placeOverlay(c.window, second, c.pointer, c.position), c.place) << c.what;
}

TEST(OverlayColors, CanBeReadInBothThemes) {
    EXPECT_NEAR(contrast({0, 0, 0}, {255, 255, 255}), 21, 0.01);
    EXPECT_NEAR(contrast({119, 119, 119}, {255, 255, 255}), 4.48, 0.01);
    for (const bool isDark : {false, true}) {
        const OverlayColors& c = overlayColors(isDark);
        const struct {
            const char* what;
            OverlayColor ink, ground;
            double least;
        } cases[] = {
            {"text", c.text, c.background, 7},
            {"secondary", c.secondary, c.background, 4.5},
            {"faint", c.faint, c.background, 4.5},
            {"group", c.groupText, c.background, 4.5},
            {"warning", c.warning, c.background, 4.5},
            {"cap", c.capText, c.cap, 4.5},
            {"cap of a group", c.groupText, c.cap, 4.5},
            {"chosen", c.chosenText, c.chosen, 4.5},
            {"refused", c.refusedText, c.refused, 4.5},
            // Marks, not texts.
            {"running", c.running, c.background, 3},
            {"bar", c.bar, c.barTrack, 3},
        };
        for (const auto& row : cases)
            EXPECT_GE(contrast(row.ink, row.ground), row.least)
                << row.what << (isDark ? ", dark" : ", light");
    }
}

} // namespace
} // namespace varnel
