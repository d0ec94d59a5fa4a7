// The page of the settings window that chooses the configuration file.
#include "tests/app/SettingsTest.h"

#include <QDialogButtonBox>
#include <QFileDialog>

namespace varnel {
namespace {

TEST_F(SettingsTest, OpensCreatesAndSwitchesConfigurations) {
    const std::string usual = config->currentConfigPath();
    QWidget& view = page("configuration");
    const auto outcome = [&](const char* name, const std::string& path) {
        chosenPath = path;
        click(view.findChild<QPushButton*>(name));
        return view.findChild<QLabel*>("outcome")->text().toStdString();
    };
    testing::writeFile(folder / "broken.json", "{\"items\": 3}");
    testing::writeFile(folder / "work.json",
                       R"({"items":[{"keys":["f1"],"name":"One","type":"action"}],"pluginSettings":{}})");
    EXPECT_EQ(outcome("open", folder / "none.json"), "An error occurred while opening the selected "
                                                     "configuration: Config file not found at " +
                                                         folder / "none.json");
    EXPECT_TRUE(outcome("open", folder / "broken.json").contains("not a valid Varnel! configuration"));
    EXPECT_EQ(config->currentConfigPath(), usual);
    EXPECT_EQ(outcome("open", folder / "work.json"), "The selected configuration was loaded.");
    EXPECT_EQ(stringPreference(preferences, kCustomConfigPath), folder / "work.json");
    EXPECT_TRUE(visibleTexts(view).contains("Shortcuts: 1. Groups: 0.")) << visibleTexts(view);
    EXPECT_TRUE(visibleTexts(view).contains("The next start will use it, too."));
    EXPECT_EQ(outcome("create", folder / "work.json"),
              "An error occurred while creating the configuration: A "
              "file already exists at " +
                  folder / "work.json" + ". Open it instead of creating it.");
    EXPECT_EQ(outcome("create", folder / "new.json"), "A new empty configuration was created.");
    EXPECT_EQ(outcome("default", {}), "The default configuration is now active.");
    EXPECT_EQ(config->currentConfigPath(), usual);
    std::filesystem::remove(usual);
    EXPECT_EQ(outcome("default", {}), "The default configuration is now active.");
    EXPECT_TRUE(config->rootItems().empty() && std::filesystem::exists(usual)) << "made anew, and empty";
    click(view.findChild<QPushButton*>("editor"));
    EXPECT_EQ(actions.opened, 1);
}

TEST_F(SettingsTest, AsksForFilesWithPanelsThatHoldNothingUp) {
    testing::writeFile(folder / "mine.json", "[]");
    const auto page = makeConfigFilePage({*config, preferences, actions}).make();
    page->show();
    for (const char* name : {"open", "create"}) {
        click(page->findChild<QPushButton*>(name));
        auto* panel = page->findChild<QFileDialog*>();
        ASSERT_TRUE(panel && panel->isVisible());
        const bool opens = name == std::string("open");
        EXPECT_EQ(panel->windowTitle(), opens ? "Open a Configuration File" : "Create a New Configuration");
        if (const QByteArray pictures = qgetenv("VARNEL_PICTURES"); !pictures.isEmpty())
            panel->grab().save(QString::fromUtf8(pictures) + "/panel-" + name + ".png");
        const std::string chosen = folder / (opens ? "mine.json" : "made.json");
        panel->selectFile(QString::fromStdString(chosen));
        panel->findChild<QDialogButtonBox*>()->buttons().first()->click();
        EXPECT_EQ(config->currentConfigPath(), chosen);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(SettingsTest, ShowsAFileThatCannotBeReadInPlace) {
    QWidget& view = page("configuration");
    testing::writeFile(config->currentConfigPath(), "{");
    config->reloadNow();
    EXPECT_TRUE(visibleTexts(view).contains("what was read before stays in force")) << visibleTexts(view);
}

} // namespace
} // namespace varnel
