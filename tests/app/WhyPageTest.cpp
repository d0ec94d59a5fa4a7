// The page of the settings window that tells what was decided, and why.
#include "tests/app/SettingsTest.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QTreeView>

namespace varnel {
namespace {

TEST_F(SettingsTest, FollowsTheDecisionsWhileTheyAreSeen) {
    QWidget& view = page("why");
    EXPECT_TRUE(visibleTexts(view).contains("Nothing has been decided yet."));
    lines = {{0, {}, "3 other keys"},
             {2, "10:20:31.500", "g ended the sequence", true},
             {1, "10:20:30.123", "ctrl+j opened a sequence"}};
    observed();
    auto* list = view.findChild<QAbstractItemView*>();
    ASSERT_EQ(list->model()->rowCount(), 3);
    EXPECT_EQ(list->model()->index(1, 1).data(), "g ended the sequence");
    list->setCurrentIndex(list->model()->index(1, 0));
    auto* tree = static_cast<QTreeView*>(list);
    const int oneLine = tree->visualRect(tree->model()->index(1, 1)).height();
    lines[1].text = std::string(300, 'x').replace(150, 1, " ");
    view.resize(500, 900);
    observed();
    EXPECT_GT(tree->visualRect(tree->model()->index(1, 1)).height(), oneLine) << "nothing is cut off";
    lines[1].text = "g ended the sequence";
    lines.insert(lines.begin(), {3, "10:20:32.000", "escape ended the sequence"});
    observed();
    EXPECT_EQ(list->currentIndex().row(), 2) << "stays on the decision that one reads";
    click(button(view, "Copy"));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "10:20:30.123  ctrl+j opened a sequence\n"
                                                    "10:20:31.500  g ended the sequence\n"
                                                    "              3 other keys\n"
                                                    "10:20:32.000  escape ended the sequence\n");
    view.hide();
    EXPECT_FALSE(observed) << "costs nothing while nobody looks";
}

TEST(WhyLines, PutCountedKeysBetweenTheDecisions) {
    DecisionLog log;
    log.add(Decision::Kind::captureStarted);
    log.countOtherKey();
    log.countOtherKey();
    log.add(Decision::Kind::panicKeys);
    log.countOtherKey();
    const std::vector<ConfigItem> items;
    std::string kinds;
    for (const WhyLine& line : whyLines(log, {items}))
        kinds +=
            line.number == 0 ? line.text + ";" : std::to_string(line.number) + (line.isRefusal ? "!;" : ";");
    EXPECT_EQ(kinds, describeOtherKeys(1) + ";2!;" + describeOtherKeys(2) + ";1;");
}

} // namespace
} // namespace varnel
