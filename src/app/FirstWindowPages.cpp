#include "app/FirstWindowPages.h"

#include "app/LoginSwitch.h"
#include "app/QtText.h"
#include "app/ShellActions.h"
#include "base/Localized.h"

#include <QGridLayout>
#include <QHBoxLayout>

namespace varnel {

namespace {

constexpr int kCardPadding = 16;

QVBoxLayout* makePageLayout(QWidget* page, const std::string& title, const std::string& text) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(makeHeading(qtText(title)));
    layout->addWidget(makeParagraph(qtText(text)));
    return layout;
}

/// A row of the first page: what to press, and what it does.
void addWayOut(QGridLayout& grid, int row, QWidget* keys, const std::string& text,
               QWidget* button = nullptr) {
    grid.addWidget(keys, row, 0, Qt::AlignLeft | Qt::AlignVCenter);
    grid.addWidget(makeParagraph(qtText(text)), row, 1, 1, button ? 1 : 2);
    if (button)
        grid.addWidget(button, row, 2, Qt::AlignVCenter);
}

KeyCapsView::Steps steps(const std::vector<std::string>& trigger, const KeyNaming& naming) {
    KeyCapsView::Steps steps;
    for (const std::string& token : trigger)
        steps.push_back(keyCaps(token, naming));
    return steps;
}

} // namespace

WayOutPage::WayOutPage(const FirstWindowContext& context)
    : pause_(new QPushButton(this))
    , badge_(new StateBadge(28, this))
    , sentence_(makeParagraph({}, this))
    , detail_(makeNote({}, this))
    , needsPermission_(context.askForPermission != nullptr) {
    auto* layout = makePageLayout(
        this, localized("The ways out come first"),
        localized(
            "Varnel! waits for short sequences of keys and does what you have bound to them. Whatever you "
            "have typed, these lead back:"));
    auto* card = new Card(this);
    auto* grid = new QGridLayout(card);
    grid->setContentsMargins(kCardPadding, kCardPadding, kCardPadding, kCardPadding);
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(14);
    grid->setColumnStretch(1, 1);
    addWayOut(*grid, 0, new KeyCapsView(steps({"escape"}, context.naming)),
              localized("ends a sequence. Nothing runs, and no application sees a key of it."));
    auto* pauseIcon = new StateBadge(22);
    pauseIcon->setState(HealthState::paused);
    addWayOut(*grid, 1, pauseIcon,
              localized("Pause, in the menu of the icon, switches everything off until you resume."), pause_);
    addWayOut(*grid, 2, new KeyCapsView({{localized("Left Ctrl"), localized("Space"), localized("Esc")}}),
              localized("held down together pause Varnel! when nothing else seems to help."));
    layout->addWidget(card);

    auto* state = new QGridLayout;
    state->setHorizontalSpacing(12);
    state->setVerticalSpacing(2);
    state->addWidget(badge_, 0, 0, 2, 1, Qt::AlignTop);
    state->addWidget(sentence_, 0, 1);
    state->addWidget(detail_, 1, 1);
    state->setColumnStretch(1, 1);
    if (needsPermission_) {
        permission_ = makeButton(qtText(localized("Ask for Permission…")), this);
        connect(permission_, &QPushButton::clicked, this, context.askForPermission);
        state->addWidget(permission_, 0, 2, 2, 1, Qt::AlignVCenter);
    }
    layout->addSpacing(4);
    layout->addLayout(state);
    layout->addStretch(1);
    connect(pause_, &QPushButton::clicked, this, [this, &actions = context.actions] {
        isSuspended_ ? actions.resume() : actions.pause(std::nullopt);
    });
}

void WayOutPage::setState(const ShellState& state) {
    isSuspended_ = state.isSuspended;
    pause_->setText(qtText(isSuspended_ ? localized("Resume") : localized("Try It: Pause")));
    badge_->setState(state.health.state);
    sentence_->setText(qtText(state.health.sentence));
    const bool captures = state.health.state != HealthState::notCapturing;
    if (permission_)
        permission_->setVisible(!captures);
    std::string detail;
    if (needsPermission_)
        detail = captures ? localized("The permission for Accessibility is granted.")
                          : localized("Varnel! needs the permission for Accessibility to see and post keys.");
    else if (!captures)
        detail = localized("Keys can be captured in an X11 session only.");
    else if (state.health.problems.empty() || state.health.problems.front().kind != Problem::Kind::capture)
        detail =
            localized("No permission is needed here. Only the first keys of your sequences are asked for; "
                      "what you type otherwise goes straight to your applications.");
    else
        detail =
            localized("Menus, screen lockers and virtual machines take the keyboard for themselves. Varnel! "
                      "goes on when they let go.");
    detail_->setText(qtText(detail));
}

TryPage::TryPage(const FirstWindowContext& context)
    : hotkeys_(context.hotkeys)
    , config_(context.config)
    , naming_(context.naming)
    , waiting_(makeNote(
          qtText(localized("The keys that may follow appear here, and in a window of their own.")), this)) {
    auto* layout =
        makePageLayout(this, localized("Try it now"),
                       localized("The keys work while this window is open, as they do everywhere else."));
    exerciseCard_ = new Card(this);
    auto* list = new QVBoxLayout(exerciseCard_);
    list->setContentsMargins(kCardPadding, kCardPadding, kCardPadding, kCardPadding);
    list->setSpacing(10);
    exercises_ = {addExercise(*list, localized("begins a sequence.")),
                  addExercise(*list, localized("leaves it again.")), addExercise(*list, {})};
    nothingToTry_ = makeParagraph(
        qtText(localized("Your configuration has no sequence of two keys yet. Add one, and come back.")),
        this);
    layout->addWidget(exerciseCard_);
    layout->addWidget(nothingToTry_);

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(6);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        lines_[i] = {new KeyCapsView({}, this), makeParagraph({}, this)};
        const int row = static_cast<int>(i % 3);
        const int column = static_cast<int>(i / 3) * 2;
        grid->addWidget(lines_[i].keys, row, column, Qt::AlignLeft | Qt::AlignVCenter);
        grid->addWidget(lines_[i].name, row, column + 1);
    }
    layout->addWidget(waiting_);
    layout->addLayout(grid);
    layout->addStretch(1);
    hints_ = hotkeys_.observe(HotkeyManager::Topic::hints, [this] { follow(); });
    showHints({});
}

TryPage::Exercise TryPage::addExercise(QVBoxLayout& layout, const std::string& text) {
    Exercise exercise{new DoneMark, new KeyCapsView, makeParagraph(qtText(text))};
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(exercise.mark);
    row->addWidget(exercise.keys);
    row->addWidget(exercise.text, 1);
    layout.addLayout(row);
    return exercise;
}

void TryPage::chooseSequence() {
    const auto example = chooseExample(config_.rootItems());
    exerciseCard_->setVisible(example.has_value());
    waiting_->setVisible(example.has_value());
    nothingToTry_->setVisible(!example);
    if (!example)
        return;
    exercises_[0].keys->setSteps(steps({example->trigger.front()}, naming_));
    exercises_[1].keys->setSteps(steps({"escape"}, naming_));
    exercises_[2].keys->setSteps(steps(example->trigger, naming_));
    exercises_[2].text->setText(qtText(localized("runs “%1”, if you like.", {example->name})));
}

void TryPage::showEvent(QShowEvent* event) {
    chooseSequence();
    QWidget::showEvent(event);
}

void TryPage::hideEvent(QHideEvent* event) {
    showHints({});
    QWidget::hideEvent(event);
}

void TryPage::follow() {
    if (!isVisible())
        return;
    if (lesson_.follow(hotkeys_.interaction(), hotkeys_.lastPressedKey())) {
        exercises_[0].mark->setDone(lesson_.hasBegun());
        exercises_[1].mark->setDone(lesson_.hasEscaped());
        exercises_[2].mark->setDone(lesson_.hasFinished());
    }
    showHints(hotkeys_.hintState());
}

void TryPage::showHints(const HintState& hints) {
    const bool isOpen = hints.isVisible() && !hints.rows.empty();
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const bool isUsed = isOpen && i < hints.rows.size();
        lines_[i].keys->setVisible(isUsed);
        lines_[i].name->setVisible(isUsed);
        if (!isUsed)
            continue;
        const HintRow& row = hints.rows[i];
        lines_[i].keys->setSteps(steps({row.token}, naming_));
        lines_[i].name->setText(
            qtText(row.metadata.name.value_or(row.isGroup ? localized("more keys") : "")));
    }
    waiting_->setVisible(!isOpen && !exerciseCard_->isHidden());
}

DonePage::DonePage(const FirstWindowContext& context) {
    auto* layout = makePageLayout(
        this, localized("That is all"),
        context.hasIcon
            ? localized("Varnel! is in your panel from now on. Its icon tells by its shape how things stand:")
            : localized(
                  "Your desktop shows no icons of programs. Start Varnel! once more to see its window; the "
                  "icon there tells by its shape how things stand:"));
    auto* card = new Card(this);
    auto* grid = new QGridLayout(card);
    grid->setContentsMargins(kCardPadding, kCardPadding, kCardPadding, kCardPadding);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(10);
    const std::array<std::pair<HealthState, std::string>, 4> meanings{
        {{HealthState::listening, localized("listening for your sequences")},
         {HealthState::paused, localized("paused: every key goes its usual way")},
         {HealthState::attention, localized("listening, but something needs you: look into the menu")},
         {HealthState::notCapturing, localized("keys are not captured")}}};
    for (const auto& [state, meaning] : meanings) {
        auto* badge = new StateBadge(24);
        badge->setState(state);
        grid->addWidget(badge, static_cast<int>(state), 0);
        grid->addWidget(makeParagraph(qtText(meaning)), static_cast<int>(state), 1);
    }
    grid->setColumnStretch(1, 1);
    layout->addWidget(card);
    layout->addSpacing(4);
    layout->addWidget(new LoginSwitch(context.login, context.preferences));
    auto* open = makeButton(qtText(localized("Open Configuration")), this);
    connect(open, &QPushButton::clicked, this, [&actions = context.actions] { actions.openConfiguration(); });
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(open);
    row->addWidget(
        makeNote(qtText(localized("Your sequences are in one file; a saved change works at once."))), 1);
    layout->addLayout(row);
    layout->addStretch(1);
}

} // namespace varnel
