#include "app/settings/SettingRows.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace varnel {

namespace {

constexpr int kMargin = 12;
constexpr int kFieldIndent = 2; // of its text, which labels do not have
constexpr int kMostTyped = 9'999'999;
constexpr int kControlWidth = 26; // of characters

QWidget* makeLine() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    line->setFixedHeight(1);
    return line;
}

} // namespace

SettingRow::SettingRow(const SettingContext& context, std::string_view key, const std::string& explanation)
    : key_(key)
    , context_(context)
    , layout_(new QGridLayout(this))
    , explanation_(explanation.empty() ? nullptr : makeNote(qtText(explanation), this))
    , note_(makeNote({}, this)) {
    setObjectName(qtText(key));
    note_->hide();
    layout_->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout_->setHorizontalSpacing(kMargin);
    layout_->setVerticalSpacing(4);
    layout_->setColumnStretch(0, 1);
}

void SettingRow::place(QWidget* title, QWidget* control) {
    layout_->addWidget(title, 0, 0);
    int row = 1;
    if (explanation_)
        layout_->addWidget(explanation_, row++, 0, 1, 2);
    layout_->addWidget(note_, row, 0, 1, 2);
    QWidget* focused = control ? control : title;
    if (control)
        layout_->addWidget(control, 0, 1, Qt::AlignRight);
    focused->installEventFilter(this);
    if (explanation_)
        focused->setAccessibleDescription(explanation_->text());
}

QLabel* SettingRow::makeTitleFor(const std::string& title, QWidget* control) {
    auto* label = new QLabel(qtText(title), this);
    label->setWordWrap(true);
    label->setBuddy(control);
    control->setAccessibleName(qtText(withoutMnemonic(title)));
    return label;
}

void SettingRow::keep(const std::function<std::expected<void, std::string>(PreferenceStore&)>& store) {
    const auto stored = store(context_.preferences);
    read();
    if (!stored)
        showNote(stored.error(), true);
    else if (context_.changed)
        context_.changed();
}

void SettingRow::showNote(const std::string& text, bool matters) {
    const QString shown = qtText(text);
    const bool isNew = note_->text() != shown;
    note_->setText(shown);
    note_->setForegroundRole(matters ? QPalette::Link : QPalette::PlaceholderText);
    note_->setVisible(!text.empty());
    if (matters && isNew)
        announce(*note_);
}

void SettingRow::showEvent(QShowEvent* event) {
    read();
    QWidget::showEvent(event);
}

/// The wheel scrolls the page; it changes only a control that has the focus.
bool SettingRow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

SwitchRow::SwitchRow(const SettingContext& context, SwitchSetting setting)
    : SettingRow(context, setting.key, setting.explanation)
    , setting_(std::move(setting))
    , box_(new QCheckBox(qtText(setting_.title), this)) {
    place(box_, nullptr);
    setFocusProxy(box_);
    connect(box_, &QCheckBox::clicked, this, [this](bool isOn) {
        keep([&](PreferenceStore& preferences) { return preferences.setValue(key_, JSONValue(isOn)); });
    });
    SwitchRow::read();
}

void SwitchRow::read() {
    box_->setChecked(booleanPreference(preferences(), key_, setting_.defaultValue));
}

ChoiceRow::ChoiceRow(const SettingContext& context, ChoiceSetting setting)
    : SettingRow(context, setting.key, setting.explanation)
    , setting_(std::move(setting))
    , box_(new QComboBox(this)) {
    for (const ChoiceSetting::Option& option : setting_.options)
        box_->addItem(qtText(option.title));
    box_->setMinimumWidth(fontMetrics().averageCharWidth() * kControlWidth);
    box_->setFocusPolicy(Qt::StrongFocus);
    place(makeTitleFor(setting_.title, box_), box_);
    setFocusProxy(box_);
    connect(box_, &QComboBox::activated, this, [this](int index) {
        const std::string word(setting_.options[static_cast<std::size_t>(index)].word);
        keep([&](PreferenceStore& preferences) { return preferences.setValue(key_, JSONValue(word)); });
    });
    ChoiceRow::read();
}

void ChoiceRow::read() {
    box_->setCurrentIndex(static_cast<int>(chosenOption(setting_, preferences())));
}

/// Tells of what is being typed before it counts.
class NumberRow::Field final : public QSpinBox {
public:
    Field(QWidget* parent, const std::function<void(long long)>& typed)
        : QSpinBox(parent) {
        setKeyboardTracking(false);
        setFocusPolicy(Qt::StrongFocus);
        connect(lineEdit(), &QLineEdit::textEdited, this, [this, typed] { typed(valueFromText(text())); });
    }
};

NumberRow::NumberRow(const SettingContext& context, NumberSetting setting)
    : SettingRow(context, setting.key, setting.explanation)
    , setting_(std::move(setting))
    , field_(new Field(this, [this](long long typed) {
        const NumberState state = numberStateWith(setting_, typed);
        showNote(state.note, state.isClamped);
    })) {
    field_->setRange(0, kMostTyped);
    field_->setSingleStep(setting_.step);
    field_->setSuffix(qtText(" " + setting_.unit));
    field_->setMinimumWidth(fontMetrics().averageCharWidth() * kControlWidth / 2);
    auto* controls = new QWidget(this);
    auto* layout = new QHBoxLayout(controls);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kMargin);
    if (setting_.mayBeUnlimited) {
        unlimited_ = new QCheckBox(qtText(localized("&Unlimited")), this);
        layout->addWidget(unlimited_);
        connect(unlimited_, &QCheckBox::clicked, this,
                [this](bool isOn) { store(isOn ? 0 : proposedLimit(setting_)); });
    }
    layout->addWidget(field_);
    place(makeTitleFor(setting_.title, field_), controls);
    field_->installEventFilter(this);
    setFocusProxy(unlimited_ ? static_cast<QWidget*>(unlimited_) : field_);
    connect(field_, &QSpinBox::valueChanged, this, [this](int value) {
        if (!isReading_)
            store(value);
    });
    NumberRow::read();
}

void NumberRow::read() {
    show(numberState(setting_, preferences()));
}

void NumberRow::show(const NumberState& state) {
    isReading_ = true;
    const bool hasLimit = !state.isUnlimited;
    // Values that were stored elsewhere are shown as they are.
    field_->setMinimum(static_cast<int>(std::clamp<long long>(state.value, -kMostTyped, 0)));
    field_->setSpecialValueText(hasLimit ? QString() : qtText(localized("Unlimited")));
    field_->setValue(hasLimit ? static_cast<int>(std::min<long long>(state.value, kMostTyped))
                              : field_->minimum());
    field_->setEnabled(hasLimit);
    if (unlimited_)
        unlimited_->setChecked(state.isUnlimited);
    showNote(state.note, state.isClamped);
    isReading_ = false;
}

void NumberRow::store(long long value) {
    keep([&](PreferenceStore& preferences) { return storeNumber(setting_, preferences, value); });
}

/// Closing the window leaves the field as any other way does.
void NumberRow::hideEvent(QHideEvent* event) {
    field_->interpretText();
    QWidget::hideEvent(event);
}

std::unique_ptr<QWidget> makeSettingsPage(const std::string& heading, const std::string& explanation,
                                          QVBoxLayout*& layout) {
    auto page = std::make_unique<QWidget>();
    layout = new QVBoxLayout(page.get());
    layout->setContentsMargins(12, 20, 24, 20);
    layout->setSpacing(14);
    layout->addWidget(makeHeading(qtText(heading)));
    if (!explanation.empty())
        layout->addWidget(makeNote(qtText(explanation)));
    return page;
}

QWidget* makeRowCard(const std::vector<QWidget*>& rows) {
    auto* card = new Card;
    card->setContentsMargins(1, 1, 1, 1);
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QWidget* row : rows) {
        if (row != rows.front())
            layout->addWidget(makeLine());
        layout->addWidget(row);
    }
    return card;
}

QLabel* makeSectionTitle(const std::string& text) {
    QLabel* label = makeParagraph(qtText(text));
    QFont font = label->font();
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    label->setContentsMargins(0, 6, 0, 0);
    return label;
}

QLineEdit* makePathField(const std::string& name) {
    auto* field = new QLineEdit;
    field->setReadOnly(true);
    field->setFrame(false);
    field->setTextMargins(-kFieldIndent, 0, 0, 0);
    field->setAccessibleName(qtText(name));
    QPalette palette = field->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    field->setPalette(palette);
    return field;
}

QSize RoomyDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem bounded = option;
    // The view itself does not say where its lines break.
    const auto* tree = qobject_cast<const QTreeView*>(option.widget);
    if (tree && tree->wordWrap())
        bounded.rect = QRect(0, 0, tree->columnWidth(index.column()), QWIDGETSIZE_MAX);
    return QStyledItemDelegate::sizeHint(bounded, index) + QSize(16, 8);
}

void announce(QLabel& label) {
    if (!label.isVisible())
        return;
    QAccessibleEvent event(&label, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

} // namespace varnel
