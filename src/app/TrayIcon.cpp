#include "app/TrayIcon.h"

#include "app/QtText.h"
#include "app/ShellActions.h"
#include "app/StateIcon.h"
#include "app/WhyPage.h"

namespace varnel {

namespace {

using Action = MenuEntry::Action;

/// Menus take "&" for the mark of an access key.
QString menuText(const std::string& text) {
    return qtText(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

bool haveSameShape(const std::vector<MenuEntry>& a, const std::vector<MenuEntry>& b) {
    return std::ranges::equal(a, b, {}, &MenuEntry::action, &MenuEntry::action);
}

} // namespace

TrayIcon::TrayIcon(ShellActions& actions, Source source)
    : actions_(actions)
    , source_(std::move(source)) {
    connect(&menu_, &QMenu::aboutToShow, this, [this] {
        source_.refresh();
        setState(source_.state());
        clock_.start(1000);
    });
    connect(&menu_, &QMenu::aboutToHide, &clock_, &QTimer::stop);
    connect(&clock_, &QTimer::timeout, this, [this] { setState(source_.state()); });
    setState(source_.state());
}

void TrayIcon::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>();
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            actions_.showStatus();
    });
    icon_->setContextMenu(&menu_);
    icon_->setIcon(stateIcon(shown_.health.state));
    icon_->setToolTip(qtText(toolTip(shown_)));
    icon_->show();
}

void TrayIcon::setState(const ShellState& state) {
    const bool isNew = shown_.health.state != state.health.state;
    shown_ = state;
    std::vector<MenuEntry> entries = menuEntries(state);
    const bool fits = haveSameShape(entries, entries_);
    entries_ = std::move(entries);
    fits ? updateTexts() : fillMenu();
    if (isNew || !fits)
        menu_.actions().constFirst()->setIcon(stateIcon(state.health.state));
    if (!icon_)
        return;
    if (isNew)
        icon_->setIcon(stateIcon(state.health.state));
    icon_->setToolTip(qtText(toolTip(state)));
}

void TrayIcon::fillMenu() {
    menu_.clear();
    for (const MenuEntry& entry : entries_) {
        if (entry.action == Action::separator) {
            menu_.addSeparator();
            continue;
        }
        QAction* action = menu_.addAction(menuText(entry.text));
        action->setEnabled(entry.action != Action::none);
        connect(action, &QAction::triggered, this, [this, what = entry.action] { run(what); });
    }
}

void TrayIcon::updateTexts() {
    const QList<QAction*> actions = menu_.actions();
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (QAction* action = actions.at(static_cast<qsizetype>(i)); !action->isSeparator())
            action->setText(menuText(entries_[i].text));
}

void TrayIcon::run(Action action) {
    switch (action) {
    case Action::showStatus:
        return actions_.showStatus();
    case Action::pauseShort:
        return actions_.pause(kShortPause);
    case Action::pauseLong:
        return actions_.pause(kLongPause);
    case Action::pauseUntilResumed:
        return actions_.pause(std::nullopt);
    case Action::resume:
        return actions_.resume();
    case Action::reload:
        return actions_.reload();
    case Action::openConfiguration:
        return actions_.openConfiguration();
    case Action::showWhy:
        return actions_.showSettings(kWhyPage);
    case Action::showSettings:
        return actions_.showSettings({});
    case Action::showAbout:
        return actions_.showAbout();
    case Action::quit:
        return actions_.quit();
    case Action::none:
    case Action::separator:
        return;
    }
}

} // namespace varnel
