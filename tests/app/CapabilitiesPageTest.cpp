// The page of the settings window that trusts capabilities and switches them.
#include "tests/app/SettingsTest.h"

namespace varnel {
namespace {

TEST_F(SettingsTest, TrustsWithoutReadingOnTheMainThread) {
    const std::string package = testing::makePackage(installed, "notes", "notes");
    plugins->reload();
    QWidget& view = page("capabilities");
    const auto decide = [&](const char* label) {
        click(button(view, label));
        EXPECT_TRUE(visibleTexts(view).contains("One moment…"));
        settle();
        return decisions->rows().at(0).status;
    };
    settle();
    EXPECT_TRUE(visibleTexts(view).contains("Name of notes"));
    EXPECT_EQ(decide("Keep Off"), "Kept off");
    EXPECT_EQ(decide("Trust"), "Active");
    EXPECT_EQ(decide("Disable"), "Disabled");
    EXPECT_EQ(decide("Enable"), "Active");
    testing::writeFile(package + "/run", "another", 0755);
    testing::writeFile(package + "/helper", "new");
    click(button(view, "Look for New Ones"));
    settle();
    EXPECT_EQ(view.findChild<QLabel*>("reason")->text(),
              "The package has changed since it was trusted. Added: helper. Changed: run.");
    EXPECT_EQ(decide("Trust"), "Active");
    EXPECT_EQ(decide("Withdraw Trust"), "Not trusted");
}

TEST_F(SettingsTest, AsksAgainBeforeAnIdentifierOfOursIsTaken) {
    testing::makePackage(installed, "shell", "core.shell");
    plugins->reload();
    QWidget& view = page("capabilities");
    click(button(view, "Trust"));
    settle();
    EXPECT_TRUE(visibleTexts(view).contains("would take the built-in ID 'core.shell'"));
    EXPECT_EQ(decisions->rows().at(0).status, "Not trusted");
    click(button(view, "Trust All the Same"));
    settle();
    EXPECT_EQ(decisions->rows().at(0).status, "Active");
}

TEST_F(SettingsTest, OffersForEachStateOfACapabilityWhatHelps) {
    testing::makePackage(folder / "bundled", "b", "bundled", "#!/bin/sh\n", R"(,"hooks":["appDidLaunch"])");
    testing::writeFile(installed + "/bad/plugin.json", "{");
    testing::writeFile(installed + "/s.plugin.json", testing::manifestText("single", "", "bad/run"));
    plugins->reload();
    std::string told;
    for (const CapabilityRow& row : decisions->rows()) {
        told += row.name + ", " + row.source + ", " + row.status + ":";
        for (const CapabilityDecision decision : row.decisions)
            told += " " + withoutMnemonic(label(decision));
        told += "\n";
    }
    EXPECT_EQ(told, "Name of bundled, Bundled, Active: Disable\n"
                    "bad, Installed by you, Damaged: Keep Off\n"
                    "Name of single, Installed by you, Damaged: Keep Off\n");
    const CapabilityRow bundled = decisions->rows().at(0);
    EXPECT_EQ(bundled.actions, std::vector<std::string>{"Go: Goes"});
    EXPECT_EQ(bundled.hooks, std::vector<std::string>{"at the start of Varnel!"});
    EXPECT_TRUE(bundled.hash.size() == 64 && bundled.hash.starts_with(bundled.shortHash));
}

} // namespace
} // namespace varnel
