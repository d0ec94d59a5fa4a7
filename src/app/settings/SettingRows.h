#pragma once

#include "app/SettingsPage.h"
#include "app/settings/Settings.h"
#include "base/PreferenceStore.h"

#include <QStyledItemDelegate>
#include <QWidget>

#include <functional>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QSpinBox;
class QVBoxLayout;

namespace varnel {

/// What every row works on. The preferences must outlive it.
struct SettingContext {
    PreferenceStore& preferences;
    std::function<void()> changed = {}; ///< after a preference has been stored; may be empty
};

/// One setting on a page: its title with the control beside it, its explanation below. Its object name is the
/// preference's key, and the focus it gets is the control's. Reads the preference again whenever it is shown.
class SettingRow : public QWidget {
public:
    SettingRow(const SettingContext& context, std::string_view key, const std::string& explanation);

protected:
    /// Shows what is stored.
    virtual void read() = 0;
    /// Stores, and shows the sentence where that fails.
    void keep(const std::function<std::expected<void, std::string>(PreferenceStore&)>& store);
    void showNote(const std::string& text, bool matters);
    void showEvent(QShowEvent* event) override;
    /// The title is `title` itself or, as a text that leads to `control`, made of a string.
    void place(QWidget* title, QWidget* control);
    QLabel* makeTitleFor(const std::string& title, QWidget* control);
    bool eventFilter(QObject* watched, QEvent* event) override;

    [[nodiscard]] PreferenceStore& preferences() const { return context_.preferences; }
    const std::string key_;

private:
    SettingContext context_;
    QGridLayout* layout_;
    QLabel* explanation_; ///< null: none
    QLabel* note_;
};

class SwitchRow final : public SettingRow {
public:
    SwitchRow(const SettingContext& context, SwitchSetting setting);

private:
    void read() override;
    SwitchSetting setting_;
    QCheckBox* box_;
};

class ChoiceRow final : public SettingRow {
public:
    ChoiceRow(const SettingContext& context, ChoiceSetting setting);

private:
    void read() override;
    ChoiceSetting setting_;
    QComboBox* box_;
};

/// Takes any number, says at once what it leads to, and stores it when the field is left, Return is pressed
/// or an arrow is used.
class NumberRow final : public SettingRow {
public:
    NumberRow(const SettingContext& context, NumberSetting setting);

protected:
    void hideEvent(QHideEvent* event) override;

private:
    class Field;
    void read() override;
    void show(const NumberState& state);
    void store(long long value);
    NumberSetting setting_;
    Field* field_;
    QCheckBox* unlimited_ = nullptr; ///< null: there is always a limit
    bool isReading_ = false;
};

/// The page's own widget with its heading, and an optional sentence below it.
std::unique_ptr<QWidget> makeSettingsPage(const std::string& heading, const std::string& explanation,
                                          QVBoxLayout*& layout);
/// The rows in one panel, with lines between them.
QWidget* makeRowCard(const std::vector<QWidget*>& rows);
/// A title above a panel.
QLabel* makeSectionTitle(const std::string& text);
/// A path that can be read to its end and copied however long it is.
QLineEdit* makePathField(const std::string& name);

/// Rows that stand a little apart, as high as their broken lines.
class RoomyDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
/// Has assistive technology say the label's text.
void announce(QLabel& label);

template <typename Setting>
SettingsEntry entryFor(const Setting& setting) {
    return {QString::fromUtf8(setting.key.data(), static_cast<qsizetype>(setting.key.size())),
            QString::fromStdString(withoutMnemonic(setting.title)),
            QString::fromStdString(setting.explanation)};
}

} // namespace varnel
