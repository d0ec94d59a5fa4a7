// The icon, the menu's lines and the windows, on a platform without a screen.
#include "app/EditorCommand.h"
#include "app/Lesson.h"
#include "app/LoginSwitch.h"
#include "app/PagedWindow.h"
#include "app/ShellActions.h"
#include "app/ShellState.h"
#include "app/StateIcon.h"
#include "app/StatusWindow.h"
#include "base/MemoryPreferenceStore.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Action = MenuEntry::Action;

Problem brokenFile() {
    return {Problem::Kind::configuration, "items: expected an array", "/home/me/config.json:3:12"};
}

ShellState listening() {
    ShellState state;
    state.health = {HealthState::listening, "Listening for 4 shortcuts.", {}};
    return state;
}

std::string lines(const ShellState& state) {
    std::string text;
    for (const MenuEntry& entry : menuEntries(state))
        text += entry.action == Action::separator ? "--\n" : entry.text + "\n";
    return text;
}

constexpr const char* kRest = "--\nReload Configuration\nOpen Configuration\nWhy did nothing "
                              "happen?\nSettings…\n--\nAbout Varnel!\nQuit "
                              "Varnel!\n";

TEST(Menu, OffersToPauseWhileListening) {
    ShellState state = listening();
    state.lastCommand = "Executed: Notes";
    EXPECT_EQ(lines(state),
              "Listening for 4 shortcuts.\nLast: Executed: Notes\n--\nPause for 5 Minutes\nPause for "
              "30 Minutes\nPause Until Resumed\n" +
                  std::string(kRest));
}

TEST(Menu, ShowsTheRemainingTimeAndTheLatestProblemWithItsPlace) {
    ShellState state;
    state.health = {
        HealthState::paused, "Paused for another 4 minutes.", {brokenFile(), brokenFile(), brokenFile()}};
    state.isPaused = state.isSuspended = true;
    state.pauseLeft = 4min;
    EXPECT_EQ(
        lines(state),
        "Paused for another 4 minutes.\nconfig.json:3:12: items: expected an array\n2 more problems…\n--\n"
        "Resume Now (4 minutes left)\nPause for 5 Minutes\nPause for 30 Minutes\nPause Until Resumed\n" +
            std::string(kRest));
}

TEST(Menu, DoesNotOfferToResumeALockedSession) {
    ShellState state = listening();
    state.isSuspended = state.isLocked = true;
    EXPECT_FALSE(lines(state).contains("Resume\n"));
}

/// The pixels of an icon that are set, so that colour does not matter.
std::vector<bool> shape(HealthState state, int size) {
    const QImage image = stateIcon(state).pixmap(QSize(size, size)).toImage();
    std::vector<bool> set;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            set.push_back(qAlpha(image.pixel(x, y)) > 127 && qRed(image.pixel(x, y)) < 240);
    return set;
}

TEST(StateIcon, DiffersInShapeAtEverySize) {
    for (const int size : kIconSizes) {
        for (int a = 0; a < 4; ++a) {
            for (int b = a + 1; b < 4; ++b) {
                const auto first = shape(HealthState(a), size), second = shape(HealthState(b), size);
                int different = 0;
                for (std::size_t i = 0; i < first.size(); ++i)
                    different += first[i] != second[i];
                EXPECT_GT(different, size * size / 6) << size << ": " << a << " and " << b;
            }
        }
    }
}

double contrast(QColor a, QColor b) {
    const auto light = [](const QColor& color) {
        const auto part = [](double value) {
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) + 0.0722 * part(color.blueF());
    };
    const double x = light(a), y = light(b);
    return (std::max(x, y) + 0.05) / (std::min(x, y) + 0.05);
}

TEST(StateIcon, StandsOutFromLightAndDarkPanels) {
    for (int state = 0; state < 4; ++state) {
        const QImage image = stateIcon(HealthState(state)).pixmap(QSize(16, 16)).toImage();
        QColor strongest;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x)
                if (const QColor color = image.pixelColor(x, y); color.alpha() == 255 && color.red() < 240)
                    strongest = color;
        EXPECT_GE(contrast(strongest, QColor(0xf4, 0xf4, 0xf4)), 3) << state;
        EXPECT_GE(contrast(strongest, QColor(0x20, 0x20, 0x20)), 3) << state;
    }
}

TEST(EditorCommand, OpensThePathWithTheChosenProgram) {
    const auto installed = [](const std::string& name) {
        return name == "missing" ? "" : "/usr/bin/" + name;
    };
    const struct {
        const char* preference;
        const char* words; ///< with "|" between them; what the error contains after "!"
    } rows[] = {
        {"", "xdg-open|/my file"},
        {"  ", "xdg-open|/my file"},
        {"gedit", "gedit|/my file"},
        {"xterm -e vi %f -R", "xterm|-e|vi|/my file|-R"},
        {"'my editor' \"--a \\\"b\\\"\" c\\ d", "my editor|--a \"b\"|c d|/my file"},
        {"missing -x", "!“missing” was not found"},
        {"gedit 'open", "!not closed: gedit 'open"},
        {"''", "!"},
    };
    for (const auto& row : rows) {
        const auto made = editorCommand(row.preference, "/my file", "xdg-open", installed);
        std::string text = made ? std::string() : "!" + made.error();
        for (const std::string& word : made.value_or(std::vector<std::string>()))
            text += (text.empty() ? "" : "|") + word;
        if (row.words[0] == '!')
            EXPECT_TRUE(text.starts_with('!') && text.contains(row.words + 1)) << text;
        else
            EXPECT_EQ(text, row.words);
    }
    EXPECT_FALSE(editorCommand("", "/f", "missing", installed));
}

ConfigItem action(std::vector<std::string> keys, const char* name, bool enabled = true) {
    ConfigItem item;
    item.keys = std::move(keys);
    item.name = name;
    item.isEnabled = enabled;
    return item;
}

TEST(Lesson, ChoosesASequenceThatBeginsWithAChord) {
    const ConfigItem off = action({"ctrl+j", "o"}, "off", false), tap = action({"cmd", "g"}, "tap"),
                     chord = action({"ctrl+k", "n"}, "chord"), single = action({"f12"}, "single");
    ConfigItem group = action({"ctrl+j", "w"}, "group");
    group.type = ItemType::group;
    EXPECT_EQ(chooseExample({group, off, single, tap, chord}).value().name, "chord");
    EXPECT_EQ(chooseExample({single, tap}).value().name, "tap");
    EXPECT_EQ(chooseExample({group, off, single}), std::nullopt);
}

TEST(Lesson, TellsEscapeFromATimeOut) {
    Lesson lesson;
    EXPECT_TRUE(lesson.follow(Interaction::capture, "ctrl+j"));
    EXPECT_FALSE(lesson.follow(Interaction::idle, "ctrl+j"));
    EXPECT_FALSE(lesson.hasEscaped());
    lesson.follow(Interaction::capture, "ctrl+j");
    EXPECT_TRUE(lesson.follow(Interaction::idle, "escape"));
    EXPECT_TRUE(lesson.hasBegun() && lesson.hasEscaped());
    EXPECT_FALSE(lesson.hasFinished());
    EXPECT_TRUE(lesson.follow(Interaction::selectionFeedback, "t"));
}

/// Writes down what was asked for.
struct RecordingActions final : ShellActions {
    std::string asked;
    void pause(std::optional<Duration> length) override {
        asked += length ? "pause " + remainingTime(*length) + ";" : "pause;";
    }
    void resume() override { asked += "resume;"; }
    void reload() override { asked += "reload;"; }
    void openConfiguration() override { asked += "open;"; }
    void showStatus() override { asked += "status;"; }
    void showSettings(const std::string& page) override { asked += "settings " + page + ";"; }
    void showFirstSteps() override { asked += "first;"; }
    void showAbout() override { asked += "about;"; }
    void quit() override { asked += "quit;"; }
};

bool shows(const QWidget& window, const QString& text) {
    for (const QLabel* label : window.findChildren<QLabel*>())
        if (label->text() == text && !label->isHidden())
            return true;
    return false;
}

TEST(StatusWindow, ShowsEveryProblemAndForwardsWhatIsPressed) {
    RecordingActions actions;
    StatusWindow window(actions);
    ShellState state = listening();
    state.health.problems = {brokenFile(), {Problem::Kind::capability, "damaged", {}}};
    window.setState(state);
    window.show();
    EXPECT_TRUE(shows(window, "Listening for 4 shortcuts.") && shows(window, "/home/me/config.json:3:12") &&
                shows(window, "damaged"));
    window.setState(listening());
    EXPECT_FALSE(shows(window, "damaged"));
    for (QPushButton* button : window.findChildren<QPushButton*>())
        if (!button->menu() && button->isVisible())
            QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_EQ(actions.asked, "reload;open;settings ;quit;");
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}

TEST(PagedWindow, MakesPagesWhenShownAndFindsThemByWhatIsOnThem) {
    int made = 0;
    const auto page = [&](const char* identifier, const char* words) {
        return SettingsPage{identifier, identifier, words, [&made] {
                                ++made;
                                return std::make_unique<QLabel>("page");
                            }};
    };
    PagedWindow window("Settings",
                       {page("Timing", "threshold milliseconds"), page("Hints", "position theme")});
    EXPECT_EQ(made, 1);
    window.present("Hints");
    EXPECT_EQ(made, 2);
    auto* list = window.findChild<QListWidget*>();
    auto* search = window.findChild<QLineEdit*>();
    EXPECT_EQ(list->currentRow(), 1);
    QTest::keyClicks(search, "MILLI");
    EXPECT_EQ(list->currentRow(), 0);
    EXPECT_TRUE(list->item(1)->isHidden());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible() && !list->item(1)->isHidden());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(made, 2);
}

TEST(PagedWindow, LeadsToTheSettingRatherThanToThePageThatKnowsTheWord) {
    const std::vector<SettingsEntry> entries{{"start", "Start at login", "autostart"},
                                             {"editor", "General editor", {}}};
    PagedWindow window("Settings", {{"general", "General", "launch autostart editor",
                                     [] { return std::make_unique<QLabel>("page"); }, entries}});
    window.present();
    const struct {
        const char* typed;
        const char* title;
    } rows[] = {{"autostart", "Start at login"},
                {"launch", "General"},
                {"general", "General editor"},
                {"editor", "General editor"}};
    auto* list = window.findChild<QListWidget*>();
    auto* search = window.findChild<QLineEdit*>();
    for (const auto& row : rows) {
        search->clear();
        QTest::keyClicks(search, row.typed);
        EXPECT_EQ(list->currentItem()->text().trimmed().toStdString(), row.title) << row.typed;
    }
}

struct FakeLogin final : LaunchAtLogin {
    LaunchAtLoginState now;
    std::string refusal;
    LaunchAtLoginState state() override { return now; }
    std::expected<void, std::string> setEnabled(bool enabled) override {
        if (!refusal.empty())
            return std::unexpected(refusal);
        now.kind = enabled ? LaunchAtLoginState::Kind::on : LaunchAtLoginState::Kind::off;
        return {};
    }
};

TEST(LoginSwitch, ShowsWhatReallyHolds) {
    FakeLogin login;
    MemoryPreferenceStore preferences;
    LoginSwitch widget(login, preferences);
    auto* box = widget.findChild<QCheckBox*>();
    login.now.kind = LaunchAtLoginState::Kind::switchedOff; // elsewhere
    widget.show();
    EXPECT_FALSE(box->isChecked());
    EXPECT_TRUE(shows(widget, "Switched off in the settings of your desktop."));
    QTest::mouseClick(box, Qt::LeftButton);
    EXPECT_TRUE(box->isChecked() && booleanPreference(preferences, kLaunchAtLoginDesired, false));
    login.refusal = "The disk is full.";
    QTest::mouseClick(box, Qt::LeftButton);
    EXPECT_TRUE(box->isChecked()); // still on
    EXPECT_TRUE(shows(widget, "The disk is full."));
}

} // namespace
} // namespace varnel

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
