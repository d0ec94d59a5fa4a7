#pragma once

#include "app/FirstWindow.h"
#include "app/Lesson.h"
#include "app/Look.h"

#include <QVBoxLayout>

#include <array>
#include <optional>

namespace varnel {

// The three steps of the first window.

/// Escape, the pause and the panic keys, and below whether keys can be captured.
class WayOutPage : public QWidget {
public:
    explicit WayOutPage(const FirstWindowContext& context);
    void setState(const ShellState& state);

private:
    QPushButton* pause_;
    QPushButton* permission_ = nullptr;
    StateBadge* badge_;
    QLabel* sentence_;
    QLabel* detail_;
    bool needsPermission_;
    bool isSuspended_ = false;
};

/// Three exercises on the user's own configuration, and the keys that may follow while one is typed.
class TryPage : public QWidget {
public:
    explicit TryPage(const FirstWindowContext& context);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Exercise {
        DoneMark* mark = nullptr;
        KeyCapsView* keys = nullptr;
        QLabel* text = nullptr;
    };
    Exercise addExercise(QVBoxLayout& layout, const std::string& text);
    void chooseSequence();
    void follow();
    void showHints(const HintState& hints);

    HotkeyManager& hotkeys_;
    ConfigManager& config_;
    KeyNaming naming_;
    Lesson lesson_;
    std::array<Exercise, 3> exercises_;
    struct HintLine {
        KeyCapsView* keys = nullptr;
        QLabel* name = nullptr;
    };
    std::array<HintLine, 6> lines_;
    QLabel* waiting_;
    QWidget* exerciseCard_;
    QLabel* nothingToTry_;
    Subscription hints_;
};

/// The four shapes of the icon, launch at login, and the configuration.
class DonePage : public QWidget {
public:
    explicit DonePage(const FirstWindowContext& context);
};

} // namespace varnel
