#pragma once

#include "app/ShellState.h"

#include <QWidget>

class QLabel;
class QMenu;
class QPushButton;
class QVBoxLayout;

namespace varnel {

class Card;
class ShellActions;
class StateBadge;

/// What the icon's menu tells and offers, as a window: for those whose desktop shows no icon, and with every
/// problem in full.
class StatusWindow : public QWidget {
public:
    explicit StatusWindow(ShellActions& actions);
    void setState(const ShellState& state);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void buildButtons(QVBoxLayout& layout);
    void showProblems(const std::vector<Problem>& problems);

    ShellActions& actions_;
    StateBadge* badge_;
    QLabel* sentence_;
    QLabel* command_;
    Card* problemCard_;
    QPushButton* resume_;
    QPushButton* pause_;
    std::vector<Problem> shown_;
};

} // namespace varnel
