// The pages of the settings window, clicked and typed into on a platform without a screen.
#include "app/PagedWindow.h"
#include "base/Localized.h"
#include "base/MessageCatalogue.h"
#include "keyboard/TimingPreferences.h"
#include "overlay/OverlayPreferences.h"
#include "tests/app/SettingsTest.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollArea>
#include <QSpinBox>

#include <map>
#include <set>

namespace varnel {
namespace {

/// Refuses to keep anything.
struct FullStore final : PreferenceStore {
    [[nodiscard]] std::optional<JSONValue> value(std::string_view) const override { return std::nullopt; }
    std::expected<void, std::string> setValue(std::string_view, std::optional<JSONValue>) override {
        return std::unexpected("The disk is full.");
    }
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
