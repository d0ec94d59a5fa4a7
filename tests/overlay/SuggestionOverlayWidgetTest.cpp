#include "overlay/SuggestionOverlayWidget.h"

#include "Scenes.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCursor>
#include <QFile>
#include <QImage>
#include <QScreen>
#include <QTemporaryDir>

namespace varnel {
namespace {

class Surroundings : public OverlaySurroundings {
public:
    [[nodiscard]] bool blendsWindows() const override { return blends; }
    [[nodiscard]] std::optional<DesktopPlace> focusedPlace() override { return focused; }
    bool blends = true;
    std::optional<DesktopPlace> focused;
};

OverlayAppearance light(OverlayPosition position = OverlayPosition::center, int textSize = 11) {
    return {position, textSize, OverlayTheme::light, true};
}

OverlayColor colorAt(const QImage& image, QPointF place) {
    const QColor color = image.pixelColor((place * image.devicePixelRatio()).toPoint());
    return {static_cast<std::uint8_t>(color.red()), static_cast<std::uint8_t>(color.green()),
            static_cast<std::uint8_t>(color.blue())};
}

class SuggestionOverlayWidgetTest : public testing::Test {
protected:
    QImage picture() { return widget.grab().toImage(); }
    Surroundings surroundings;
    SuggestionOverlayWidget widget{surroundings, {}};
};

TEST_F(SuggestionOverlayWidgetTest, AppearsOnThePointersScreenAtItsScaleAndStaysThere) {
    const auto screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 2);
    for (QScreen* screen : {screens[1], screens[0]}) {
        QCursor::setPos(screen->geometry().center());
        widget.show(test::scene("rows24"), light());
        EXPECT_EQ(widget.screen(), screen);
        EXPECT_TRUE(screen->geometry().contains(widget.geometry()));
        EXPECT_LE((widget.geometry().center() - screen->availableGeometry().center()).manhattanLength(), 2);
        EXPECT_EQ(picture().devicePixelRatio(), screen->devicePixelRatio());
        QCursor::setPos(screens[0]->geometry().center());
        widget.show(test::scene("rows3"), light());
        EXPECT_EQ(widget.screen(), screen) << "the next step does not jump to another screen";
        widget.hide();
    }
}

TEST_F(SuggestionOverlayWidgetTest, AppearsWhereTheUserTypesUnlessWantedNearThePointer) {
    QScreen* const first = QGuiApplication::screens()[0];
    QScreen* const second = QGuiApplication::screens()[1];
    QCursor::setPos(first->geometry().center());
    const struct {
        DesktopPlace focused;
        OverlayPosition position;
        QScreen* screen;
    } cases[] = {
        {{1300, 20, false}, OverlayPosition::center, second},
        {{3000, 20, true}, OverlayPosition::bottom, second}, // 900 units wide, 1800 pixels
        {{3000, 20, false}, OverlayPosition::top, first},    // on no screen: at the pointer's
        {{1300, 20, false}, OverlayPosition::pointer, first},
    };
    for (const auto& c : cases) {
        surroundings.focused = c.focused;
        widget.show(test::scene("rows3"), light(c.position));
        EXPECT_EQ(widget.screen(), c.screen) << c.focused.x;
        widget.hide();
    }
}

TEST_F(SuggestionOverlayWidgetTest, FitsTheScreenWithEverythingInEverySize) {
    const QRect screen = QGuiApplication::screens()[1]->geometry();
    QCursor::setPos(screen.bottomRight() - QPoint(5, 5));
    for (const std::string& name : test::sceneNames())
        for (const int textSize : {7, 11, 28})
            for (const auto position : {OverlayPosition::center, OverlayPosition::bottom,
                                        OverlayPosition::top, OverlayPosition::pointer}) {
                widget.show(test::scene(name), light(position, textSize));
                const int margin = (widget.width() - widget.picture()->size().width()) / 2;
                const QRect window = widget.geometry().adjusted(margin, margin, -margin, -margin);
                EXPECT_TRUE(screen.contains(window)) << name << " at " << textSize;
                widget.hide();
            }
}

TEST_F(SuggestionOverlayWidgetTest, ShowsEveryRowOnExactlyOnePage) {
    SuggestionOverlayState state = test::scene("rows120");
    const int pages = widget.show(state, light());
    ASSERT_GT(pages, 1);
    std::vector<int> appearances(state.rows.size());
    const QSize size = widget.size();
    for (state.pageTurns = 0; state.pageTurns < pages; ++state.pageTurns) {
        widget.show(state, light());
        EXPECT_EQ(widget.size(), size) << "turning a page does not change the window";
        std::vector<QRect> areas;
        for (std::size_t row = 0; row < state.rows.size(); ++row) {
            const auto area = widget.rowArea(row);
            if (!area)
                continue;
            ++appearances[row];
            EXPECT_TRUE(widget.rect().contains(*area));
            for (const QRect& other : areas)
                EXPECT_FALSE(area->intersects(other));
            areas.push_back(*area);
        }
    }
    EXPECT_EQ(appearances, std::vector<int>(state.rows.size(), 1));
}

TEST_F(SuggestionOverlayWidgetTest, PaintsTheChosenRowTheRefusedKeyAndTheBar) {
    const OverlayColors& colors = overlayColors(false);
    SuggestionOverlayState state = test::scene("chosen");
    widget.show(state, light());
    for (std::size_t row = 0; row < state.rows.size(); ++row) {
        const QRect area = *widget.rowArea(row);
        EXPECT_EQ(colorAt(picture(), {area.right() - 1.0, area.top() + 4.0}) == colors.chosen,
                  state.rows[row].isChosen);
    }
    widget.show(test::scene("timed"), light());
    const auto barAt = [&](double share) {
        const QRect bar = widget.picture()->barArea();
        const int margin = (widget.width() - widget.picture()->size().width()) / 2;
        return colorAt(picture(), QPointF(margin + bar.x() + bar.width() * share, margin + bar.y() + 1.0));
    };
    EXPECT_EQ(barAt(0.9), colors.bar) << "full at first";
    widget.setTimeLeft(0.5);
    EXPECT_EQ(barAt(0.4), colors.bar);
    EXPECT_EQ(barAt(0.6), colors.barTrack);
    widget.show(test::scene("rows3"), light());
    EXPECT_EQ(barAt(0.4), colors.background) << "no limit, no bar";
}

TEST_F(SuggestionOverlayWidgetTest, CutsItsCornersWhereNobodyBlendsWindows) {
    surroundings.blends = false;
    widget.show(test::scene("rows3"), light());
    EXPECT_FALSE(widget.mask().contains(QPoint(0, 0)));
    EXPECT_TRUE(widget.mask().contains(widget.rect().center()));
    EXPECT_EQ(widget.size(), widget.picture()->size()) << "no shadow";
    widget.hide();
    surroundings.blends = true; // a compositor has been started
    widget.show(test::scene("rows3"), light());
    EXPECT_TRUE(widget.mask().isEmpty());
    EXPECT_GT(widget.width(), widget.picture()->size().width());
    EXPECT_EQ(picture().pixelColor(0, 0).alpha(), 0);
}

TEST(WrappedText, BreaksIntoFewLinesOfAboutTheSameLength) {
    const QFont font;
    const QFontMetrics metrics(font);
    const QString words = QStringLiteral("one two three four five six seven eight nine ten");
    const int all = metrics.horizontalAdvance(words);
    const struct {
        QString text;
        int enough, most, mostLines;
        qsizetype lines;
        bool isWhole;
    } cases[] = {
        {words, 1, all * 2, 1, 1, true},
        {words, 1, all * 2, 3, 3, true}, // as narrow as three lines allow
        {words, all * 2 / 3, all * 2, 3, 2, true},
        {words, 1, all / 4, 2, 2, false},
        {QStringLiteral("選択範囲をウェブで検索する選択範囲をウェブで検索する"), 1, 5000, 2, 2, true},
        {QString(300, QLatin1Char('x')), 1, 200, 3, 3, false},
        {words, 1, 12, 2, 2, false},
        {QString(), 1, 100, 2, 0, true},
    };
    for (const auto& c : cases) {
        const WrappedText wrapped = wrapText(c.text, font, c.enough, c.most, c.mostLines);
        EXPECT_LE(wrapped.lines.size(), std::max<qsizetype>(c.lines, 1)) << c.text.toStdString();
        EXPECT_GE(wrapped.lines.size(), c.lines) << c.text.toStdString();
        const auto letters = [](QString text) { return text.remove(QLatin1Char(' ')); };
        EXPECT_EQ(letters(wrapped.lines.join(QString())) == letters(c.text), c.isWhole)
            << c.text.toStdString();
        EXPECT_LE(wrapped.width, c.lines == 3 && c.isWhole ? all / 2 : c.most) << c.text.toStdString();
    }
}

TEST_F(SuggestionOverlayWidgetTest, GrowsDownwardsForAMessageRatherThanSideways) {
    widget.show(test::scene("rows3"), light());
    const QSize plain = widget.picture()->size();
    widget.show(test::scene("frozen"), light()); // the same rows
    EXPECT_LT(widget.picture()->size().width(), plain.width() * 3 / 2);
    EXPECT_GT(widget.picture()->size().height(), plain.height());
}

} // namespace
} // namespace varnel

/// Two screens, the second of twice the density, without any server.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QTemporaryDir folder;
    QFile file(folder.filePath("screens.json"));
    if (!file.open(QIODevice::WriteOnly))
        return 2;
    file.write(R"({"screens": [
        {"name": "one", "x": 0, "y": 0, "width": 1280, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
        {"name": "two", "x": 1280, "y": 0, "width": 900, "height": 640, "logicalDpi": 96, "logicalBaseDpi": 96,
         "dpr": 2}]})");
    file.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + file.fileName().toUtf8());
    // The platform without a server says again and again what it can't do.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
