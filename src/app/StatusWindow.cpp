#include "app/StatusWindow.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "app/ShellActions.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QVBoxLayout>

namespace varnel {

namespace {

constexpr int kProblemGap = 8;

}

StatusWindow::StatusWindow(ShellActions& actions)
    : actions_(actions)
    , badge_(new StateBadge(36, this))
    , sentence_(makeTitle({}, this))
    , command_(makeNote({}, this))
    , problemCard_(new Card(this))
    , resume_(makeMainButton(qtText(localized("Resume")), this))
    , pause_(makeButton(qtText(localized("Pause")), this)) {
    setWindowTitle(QStringLiteral("Varnel!"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 20);
    layout->setSpacing(16);
    auto* top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(badge_, 0, Qt::AlignVCenter);
    top->addWidget(sentence_, 1);
    layout->addLayout(top);
    layout->addWidget(problemCard_);
    layout->addWidget(command_);
    layout->addStretch(1);
    buildButtons(*layout);
    new QVBoxLayout(problemCard_);
    setMinimumWidth(fontMetrics().averageCharWidth() * 84);
}

void StatusWindow::buildButtons(QVBoxLayout& layout) {
    auto* choices = new QMenu(this);
    choices->addAction(qtText(localized("For 5 Minutes")), [this] { actions_.pause(kShortPause); });
    choices->addAction(qtText(localized("For 30 Minutes")), [this] { actions_.pause(kLongPause); });
    choices->addAction(qtText(localized("Until Resumed")), [this] { actions_.pause(std::nullopt); });
    pause_->setMenu(choices);
    connect(resume_, &QPushButton::clicked, this, [this] { actions_.resume(); });

    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    const auto add = [&](const std::string& text, void (ShellActions::*action)()) {
        auto* button = makeButton(qtText(text), this);
        connect(button, &QPushButton::clicked, this, [this, action] { (actions_.*action)(); });
        row->addWidget(button);
    };
    row->addWidget(resume_);
    row->addWidget(pause_);
    add(localized("Reload"), &ShellActions::reload);
    add(localized("Open Configuration"), &ShellActions::openConfiguration);
    auto* settings = makeButton(qtText(localized("Settings…")), this);
    connect(settings, &QPushButton::clicked, this, [this] { actions_.showSettings({}); });
    row->addWidget(settings);
    row->addStretch(1);
    add(localized("Quit"), &ShellActions::quit);
    layout.addLayout(row);
}

void StatusWindow::setState(const ShellState& state) {
    badge_->setState(state.health.state);
    sentence_->setText(qtText(state.health.sentence));
    command_->setText(qtText(localized("Last: %1", {state.lastCommand})));
    command_->setVisible(!state.lastCommand.empty());
    resume_->setVisible(state.isSuspended && !state.isLocked);
    pause_->setVisible(!state.isSuspended);
    if (state.health.problems != shown_)
        showProblems(state.health.problems);
    problemCard_->setVisible(!shown_.empty());
}

void StatusWindow::showProblems(const std::vector<Problem>& problems) {
    shown_ = problems;
    qDeleteAll(problemCard_->findChildren<QLabel*>(Qt::FindDirectChildrenOnly));
    auto* layout = static_cast<QVBoxLayout*>(problemCard_->layout());
    layout->setSpacing(4);
    layout->setContentsMargins(12, 12, 12, 12);
    for (const Problem& problem : problems) {
        QLabel* text = makeParagraph(qtText(problem.text));
        text->setContentsMargins(0, &problem == &problems.front() ? 0 : kProblemGap, 0, 0);
        layout->addWidget(text);
        if (!problem.place.empty())
            layout->addWidget(makeNote(qtText(problem.place)));
    }
}

void StatusWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace varnel
