// The pages of the settings window, clicked and typed into on a platform without a screen.
#include "app/settings/SettingsPages.h"
#include "app/PagedWindow.h"
#include "app/ShellActions.h"
#include "app/WhyPage.h"
#include "app/settings/Capabilities.h"
#include "app/settings/ConfigFileChoice.h"
#include "app/settings/Settings.h"
#include "base/Localized.h"
#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "base/MessageCatalogue.h"
#include "base/PosixFileSystem.h"
#include "config/LocalConfigStorageProvider.h"
#include "keyboard/TimingPreferences.h"
#include "overlay/OverlayPreferences.h"
#include "tests/plugins/TestPackages.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace varnel {
namespace {

using testing::TemporaryFolder;

/// Refuses to keep anything.
struct FullStore final : PreferenceStore {
    [[nodiscard]] std::optional<JSONValue> value(std::string_view) const override { return std::nullopt; }
    std::expected<void, std::string> setValue(std::string_view, std::optional<JSONValue>) override {
        return std::unexpected("The disk is full.");
    }
};

/// Keeps tasks until they are run.
struct StoredTasks final : SerialExecutor {
    void submit(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::vector<std::function<void()>> tasks;
};

struct IdleActions final : ShellActions {
    int opened = 0;
    void pause(std::optional<Duration>) override {}
    void resume() override {}
    void reload() override {}
    void openConfiguration() override { ++opened; }
    void showStatus() override {}
    void showSettings(const std::string&) override {}
    void showFirstSteps() override {}
    void showAbout() override {}
    void quit() override {}
};

std::string visibleTexts(const QWidget& widget) {
    std::string text;
    for (const QLabel* label : widget.findChildren<QLabel*>())
        if (label->isVisible())
            text += label->text().toStdString() + "\n";
    return text;
}

QPushButton* button(const QWidget& widget, const QString& text) {
    for (QPushButton* found : widget.findChildren<QPushButton*>())
        if (found->isVisible() && withoutMnemonic(found->text().toStdString()) == text.toStdString())
            return found;
    return nullptr;
}

void click(QWidget* widget) {
    ASSERT_TRUE(widget);
    QTest::mouseClick(widget, Qt::LeftButton);
}

class SettingsTest : public ::testing::Test {
protected:
    SettingsTest() {
        config = std::make_unique<ConfigManager>(
            ConfigManager::Environment{.fileManager = files,
                                       .loop = loop,
                                       .defaultConfigURL = defaultConfigURL(folder.path()),
                                       .printLine = [](std::string_view) {},
                                       .configDidReload = {},
                                       .startProgram = {}},
            *LocalConfigStorageProvider::locate({files, preferences, folder.path(), folder.path()}));
        PluginManagerOptions options;
        options.bundledPluginsURL = folder / "bundled";
        options.homeFolder = folder.path();
        options.verifiedCopiesFolder = folder / "copies";
        plugins = std::make_unique<PluginManager>(options, preferences, &loop);
        decisions = std::make_shared<CapabilityDecisions>(*plugins, worker);
    }
    [[nodiscard]] std::vector<SettingsPage> pages() {
        const auto answer = [this](const auto& take) {
            if (!chosenPath.empty())
                take(chosenPath);
        };
        return {makeTimingPage(preferences),
                makeHintsPage({preferences, {}, [this] { ++samples; }, [this] { ++changes; }}),
                makeConfigFilePage({*config, preferences, actions, answer, answer}),
                makeCapabilitiesPage(decisions),
                makeWhyPage({.lines = [this] { return lines; },
                             .observe =
                                 [this](std::function<void()> observer) {
                                     observed = std::move(observer);
                                     return Subscription([this] { observed = nullptr; });
                                 }})};
    }
    QWidget& page(const char* identifier) {
        for (const SettingsPage& found : pages())
            if (found.identifier == QLatin1String(identifier))
                shown = found.make();
        shown->resize(700, 900);
        shown->show();
        return *shown;
    }
    template <typename Control>
    Control* control(std::string_view key) {
        return shown->findChild<QWidget*>(QString::fromUtf8(key.data()))->findChild<Control*>();
    }
    /// Lets worker and loop do all that is left.
    void settle() {
        loop.runPending();
        while (!worker.tasks.empty()) {
            const auto task = std::move(worker.tasks.front());
            worker.tasks.erase(worker.tasks.begin());
            task();
            loop.runPending();
        }
        QApplication::processEvents(); // what was added to a visible page appears
    }

    TemporaryFolder folder;
    const std::string installed = folder / ".config/varnel/plugins";
    PosixFileSystem files;
    MemoryPreferenceStore preferences;
    ManualEventLoop loop;
    StoredTasks worker;
    IdleActions actions;
    std::unique_ptr<ConfigManager> config;
    std::unique_ptr<PluginManager> plugins;
    std::shared_ptr<CapabilityDecisions> decisions;
    std::string chosenPath;
    std::vector<WhyLine> lines;
    std::function<void()> observed;
    int samples = 0, changes = 0;
    std::unique_ptr<QWidget> shown;
};

TEST(Settings, TellWhatIsInForceInsteadOfWhatWasTyped) {
    const TimingSettings timing = timingSettings();
    const HintSettings hints = hintSettings();
    const struct {
        const NumberSetting& setting;
        long long typed;
        bool isUnlimited;
        const char* note;
    } rows[] = {
        {timing.tapThreshold, 250, false, "From 100 to 1000 ms; 250 ms by default."},
        {timing.tapThreshold, 100, false, "From 100 to 1000 ms; 250 ms by default."},
        {timing.tapThreshold, 99, false, "100 ms is in force, the least that is possible."},
        {timing.tapThreshold, -5, false, "100 ms is in force, the least that is possible."},
        {timing.tapThreshold, 1001, false, "1000 ms is in force, the most that is possible."},
        {timing.tapThreshold, 0, false, "0 stands for the default: 250 ms is in force."},
        {timing.stepTimeout, 0, true, "From 250 to 30000 ms."},
        {timing.stepTimeout, 100, false, "250 ms is in force, the least that is possible."},
        {timing.stepTimeout, 60000, false, "30000 ms is in force, the most that is possible."},
        {timing.modifierTimeout, 9000, false, "5000 ms is in force, the most that is possible."},
        {hints.delay, 0, false, "From 0 to 5000 ms; 0 ms by default."},
        {hints.textSize, 99, false, "28 pt is in force, the most that is possible."},
    };
    for (const auto& row : rows) {
        const NumberState state = numberStateWith(row.setting, row.typed);
        EXPECT_EQ(state.note, row.note) << row.setting.key << " " << row.typed;
        EXPECT_EQ(state.isUnlimited, row.isUnlimited) << row.setting.key << " " << row.typed;
    }
}

TEST_F(SettingsTest, ShowsTheEffectOfANumberBeforeItIsKept) {
    QWidget& timing = page("timing");
    auto* field = control<QSpinBox>(kModifierTapThreshold.key);
    field->selectAll();
    QTest::keyClicks(field, "40");
    EXPECT_TRUE(visibleTexts(timing).contains("100 ms is in force"));
    EXPECT_FALSE(preferences.value(kModifierTapThreshold.key)) << "not finished";
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(integerPreference(preferences, kModifierTapThreshold.key), 40);
    EXPECT_EQ(field->value(), 40) << "what was typed stays";
    QTest::keyClick(field, Qt::Key_Up);
    EXPECT_EQ(modifierTapThreshold(preferences), 100ms);
    field->selectAll();
    QTest::keyClicks(field, "300");
    shown->hide();
    EXPECT_EQ(modifierTapThreshold(preferences), 300ms) << "closing keeps it";
    ASSERT_TRUE(preferences.setValue(kModifierTapThreshold.key, JSONValue(-7.0))); // elsewhere
    shown->show();
    EXPECT_EQ(field->value(), -7);
}

TEST_F(SettingsTest, SwitchesAStepTimeOutOnAndOff) {
    page("timing");
    auto* field = control<QSpinBox>(kSequenceStepTimeout.key);
    auto* unlimited = control<QCheckBox>(kSequenceStepTimeout.key);
    EXPECT_TRUE(unlimited->isChecked() && !field->isEnabled() && field->text() == "Unlimited");
    click(unlimited);
    EXPECT_EQ(sequenceStepTimeout(preferences), 3s);
    EXPECT_TRUE(field->isEnabled());
    click(unlimited);
    EXPECT_EQ(sequenceStepTimeout(preferences), std::nullopt);
}

TEST_F(SettingsTest, KeepsSwitchesAndChoices) {
    page("timing");
    QTest::keyClick(control<QCheckBox>(kKeepHintsOpenAfterInvalidInput), Qt::Key_Space);
    EXPECT_TRUE(booleanPreference(preferences, kKeepHintsOpenAfterInvalidInput, false));
    QTest::keyClick(control<QCheckBox>(kEndUnattendedSequences), Qt::Key_Space);
    EXPECT_EQ(unattendedSequenceLimit(preferences), std::nullopt);
    page("overlay");
    QTest::keyClick(control<QComboBox>(kOverlayPosition.key), Qt::Key_Down);
    QTest::keyClick(control<QComboBox>(kOverlayTheme.key), Qt::Key_End);
    EXPECT_EQ(overlayOptions(preferences).position, OverlayPosition::bottom);
    EXPECT_EQ(overlayOptions(preferences).theme, OverlayTheme::light);
    EXPECT_EQ(changes, 2);
    click(button(*shown, "Show a Sample on the Screen"));
    EXPECT_EQ(samples, 1);
}

TEST(SettingRow, ShowsWhyNothingWasKept) {
    FullStore full;
    const auto page = makeTimingPage(full).make();
    page->show();
    auto* box = page->findChild<QWidget*>(kEndUnattendedSequences.data())->findChild<QCheckBox*>();
    click(box);
    EXPECT_TRUE(box->isChecked()) << "what really holds";
    EXPECT_TRUE(visibleTexts(*page).contains("The disk is full."));
}

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

TEST_F(SettingsTest, LeadsFromTheSearchFieldToTheSetting) {
    PagedWindow window("Settings", pages());
    window.present();
    auto* search = window.findChild<QLineEdit*>({}, Qt::FindDirectChildrenOnly);
    auto* list = window.findChild<QListWidget*>();
    const auto found = [&] { return list->currentItem()->text().trimmed().toStdString(); };
    QTest::keyClicks(search, "HOLD");
    EXPECT_EQ(found(), "Tap / Hold Threshold");
    search->clear();
    QTest::keyClicks(search, "size");
    EXPECT_EQ(found(), "Text Size");
    QTest::keyClick(search, Qt::Key_Return);
    ASSERT_TRUE(window.focusWidget());
    EXPECT_TRUE(window.focusWidget() ==
                window.findChild<QWidget*>(kOverlayTextSize.key.data())->findChild<QSpinBox*>());
    search->clear();
    QTest::keyClicks(search, "time after");
    QTest::keyClick(search, Qt::Key_Up);
    EXPECT_EQ(found(), "Timing");
    search->clear();
    QTest::keyClicks(search, "nowhere");
    EXPECT_TRUE(visibleTexts(window).contains("Nothing was found."));
    for (const SettingsPage& page : pages()) {
        const auto widget = page.make();
        for (const SettingsEntry& entry : page.entries)
            EXPECT_TRUE(widget->findChild<QWidget*>(entry.anchor)) << entry.anchor.toStdString();
    }
}

/// Texts a good third longer, as other languages have them.
std::optional<std::string_view> lengthened(std::string_view english) {
    static std::set<std::string> kept;
    std::string longer(english);
    for (std::size_t i = 0; i < english.size() / 3 + 1; ++i)
        longer += i % 8 == 7 ? ' ' : 'n';
    return *kept.insert(std::move(longer)).first;
}

TEST_F(SettingsTest, FitsIntoTheWindowInLongerLanguages) {
    setLocalizer(lengthened);
    testing::makePackage(installed, "notes", "notes");
    plugins->reload();
    PagedWindow window("Settings", pages());
    window.present();
    for (const SettingsPage& page : pages()) {
        window.present(page.identifier);
        QApplication::processEvents();
        auto* area = static_cast<QScrollArea*>(window.findChildren<QScrollArea*>().last());
        EXPECT_LE(area->widget()->minimumSizeHint().width(), area->viewport()->width())
            << page.identifier.toStdString();
        if (const QByteArray pictures = qgetenv("VARNEL_PICTURES"); !pictures.isEmpty())
            window.grab().save(QString::fromUtf8(pictures) + '/' + page.identifier + ".png");
    }
    setLocalizer(nullptr);
}

std::optional<MessageCatalogue> spoken;

/// The letters that work with Alt on a page.
std::multiset<QChar> letters(const QWidget& page) {
    std::multiset<QChar> found;
    const auto add = [&found](const QString& text) {
        if (const auto place = text.indexOf('&'); place >= 0)
            found.insert(text[place + 1].toLower());
    };
    for (const QLabel* label : page.findChildren<QLabel*>())
        if (label->buddy())
            add(label->text());
    for (const QAbstractButton* button : page.findChildren<QAbstractButton*>())
        add(button->text());
    return found;
}

TEST_F(SettingsTest, EachLetterWorksOnceOnAPageInEveryLanguage) {
    testing::makePackage(installed, "notes", "notes");
    plugins->reload();
    std::map<QString, std::size_t> english;
    for (const std::string language : {"en", "de", "ja"}) {
        spoken = MessageCatalogue::open(std::string(VARNEL_BINARY_DIR "/../share/varnel/locale/") + language +
                                        ".mo");
        ASSERT_EQ(spoken.has_value(), language != "en");
        setLocalizer([](std::string_view text) { return spoken ? spoken->find(text) : std::nullopt; });
        const auto expectOnce = [&language](const std::multiset<QChar>& found, const QString& page) {
            for (const QChar letter : found)
                EXPECT_EQ(found.count(letter), 1u)
                    << language << page.toStdString() << QString(letter).toStdString();
        };
        for (const SettingsPage& page : pages()) {
            const auto found = letters(*page.make());
            EXPECT_EQ(found.size(), english.emplace(page.identifier, found.size()).first->second)
                << language << page.identifier.toStdString();
            expectOnce(found, page.identifier);
        }
        // Any two decisions but for the two ways to trust may be offered together.
        std::string labels = localized("Look for &New Ones");
        for (int one = static_cast<int>(CapabilityDecision::trustBuiltInID);
             one <= static_cast<int>(CapabilityDecision::enable); ++one)
            labels += label(static_cast<CapabilityDecision>(one));
        std::multiset<QChar> offered;
        for (const QString& part : QString::fromStdString(labels).split('&').mid(1))
            offered.insert(part.at(0).toLower());
        EXPECT_EQ(offered.size(), 6u) << language;
        expectOnce(offered, "decisions");
    }
    setLocalizer(nullptr);
    EXPECT_GT(english["timing"], 3u);
}

TEST_F(SettingsTest, CanBeUsedWithTheKeyboardAlone) {
    testing::makePackage(installed, "notes", "notes");
    plugins->reload();
    for (const SettingsPage& page : pages()) {
        const auto widget = page.make();
        widget->show();
        for (const QWidget* child : widget->findChildren<QWidget*>()) {
            const auto* asButton = qobject_cast<const QAbstractButton*>(child);
            const bool isOwn = qobject_cast<const QAbstractItemView*>(child) ||
                               qobject_cast<const QSpinBox*>(child) || qobject_cast<const QComboBox*>(child);
            if (asButton || (isOwn && child->focusPolicy() != Qt::NoFocus && child->isVisible())) {
                EXPECT_TRUE(asButton ? !asButton->text().isEmpty() : !child->accessibleName().isEmpty())
                    << page.identifier.toStdString() << " " << child->metaObject()->className();
            }
        }
    }
}

} // namespace
} // namespace varnel

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
