#include "activation/RunningApplications.h"
#include "activation/LabelKeeper.h"

#include <gtest/gtest.h>

#include <set>

namespace varnel {
namespace {

constexpr std::string_view kHomeRow = "jfkdlsahg", kAll = "jfkdlsahgurmviecowxpqzytnb";

RunningWindow window(WindowNumber id, ProcessIdentifier process, const char* application,
                     const char* title = "", int layer = 0) {
    RunningWindow result;
    result.id = id;
    result.process = process;
    result.applicationName = result.applicationID = application;
    result.title = title;
    result.layer = layer;
    return result;
}

TEST(RunningApplications, GroupsOrdinaryWindowsOfOthersByApplication) {
    const auto applications =
        runningApplications({window(1, 10, "Mail"), window(2, 99, "Varnel"), window(3, 11, "Web"),
                             window(4, 12, "Panel", "", 20), window(5, 10, "Mail"), window(6, 13, "", "Odd")},
                            99);
    ASSERT_EQ(applications.size(), 3u);
    EXPECT_EQ(applications[0].id, "Mail");
    EXPECT_EQ(applications[0].windows.size(), 2u);
    EXPECT_EQ(applications[0].windows.front().id, 1u);
    EXPECT_EQ(applications[1].name, "Web");
    EXPECT_EQ(applications[2].id, "process 13");
    EXPECT_EQ(applications[2].name, "Odd");
}

TEST(RunningApplications, FindsOneByTheNameThatPeopleWrite) {
    auto windows = std::vector{window(1, 10, "XTerm"), window(2, 11, "Firefox"), window(3, 12, "Files")};
    windows[0].instanceName = "Files"; // the identifier of another one
    windows[1].instanceName = "Navigator";
    const auto applications = runningApplications(windows, 0);
    struct Row {
        const char* name;
        const char* expected; ///< null: none
    };
    for (const Row& row : {Row{"xterm", "XTerm"}, Row{" Firefox ", "Firefox"}, Row{"navigator", "Firefox"},
                           Row{"xt", "XTerm"}, Row{"fi", nullptr}, Row{"fil", "Files"}, Row{"Files", "Files"},
                           Row{"", nullptr}, Row{"Mail", nullptr}}) {
        const RunningApplication* found = findApplication(applications, row.name);
        EXPECT_EQ(found ? found->name : "none", row.expected ? row.expected : "none") << row.name;
    }
}

TEST(RunningApplications, DescribesWindowsInOneReadableLine) {
    RunningWindow subject = window(1, 10, "Mail", "In\nbox\x1b[31m");
    EXPECT_EQ(windowTitle(subject).find('\n'), std::string::npos);
    EXPECT_EQ(windowPlace(subject), "");
    subject.title = "  ";
    EXPECT_EQ(windowTitle(subject), "Mail");
    subject.desktop = 1;
    subject.isOnCurrentDesktop = false;
    subject.isMinimized = true;
    EXPECT_EQ(windowPlace(subject), "Desktop 2, minimised");
}

TEST(LabelKeeper, KeepsALetterAsLongAsItsWindowLives) {
    LabelKeeper keeper;
    using Labels = std::vector<std::optional<std::string>>;
    EXPECT_EQ(keeper.labels({"a", "b", "c"}, kHomeRow), (Labels{"j", "f", "k"}));
    EXPECT_EQ(keeper.labels({"c", "a"}, kHomeRow), (Labels{"k", "j"}));
    EXPECT_EQ(keeper.labels({"new", "a", "c"}, kHomeRow), (Labels{"f", "j", "k"}))
        << "b's letter is free again";
    EXPECT_EQ(keeper.labels({}, kHomeRow), Labels{});
    EXPECT_EQ(keeper.labels({"c"}, kHomeRow), (Labels{"j"}));
}

TEST(LabelKeeper, GivesLabelsNoneOfWhichBeginsAnother) {
    for (std::string_view alphabet : {kHomeRow, kAll}) {
        std::set<std::string> labels;
        std::size_t place = 0;
        for (; const auto label = LabelKeeper::label(place, alphabet); ++place) {
            EXPECT_TRUE(labels.insert(*label).second) << *label;
            EXPECT_EQ(label->size() == 1, place < alphabet.size() - 1);
        }
        EXPECT_GE(place, 100u);
        for (auto it = labels.begin(); std::next(it) != labels.end(); ++it)
            EXPECT_FALSE(std::next(it)->starts_with(*it)) << *it << ' ' << *std::next(it);
    }
}

} // namespace
} // namespace varnel
