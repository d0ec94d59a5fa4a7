#pragma once

#include "runtime/Health.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

#include <string>
#include <vector>

class QApplication;

namespace varnel {

// What our windows have in common. Colours come from the palette, sizes from the font.

/// Our palette and check boxes, where the desktop brings no style of its own. Existing windows follow.
void applyTheme(bool isDark);

/// Whether the desktop brings no style of its own.
bool isPlainStyle();

QLabel* makeHeading(const QString& text, QWidget* parent = nullptr);
/// Smaller than a heading: a sentence that matters.
QLabel* makeTitle(const QString& text, QWidget* parent = nullptr);
/// Wraps; can be selected with the mouse.
QLabel* makeParagraph(const QString& text, QWidget* parent = nullptr);
/// The same in a quieter colour.
QLabel* makeNote(const QString& text, QWidget* parent = nullptr);
QPushButton* makeButton(const QString& text, QWidget* parent = nullptr);
/// `Return` presses it.
QPushButton* makeMainButton(const QString& text, QWidget* parent = nullptr);

/// A panel with round corners that holds what belongs together.
class Card : public QFrame {
public:
    explicit Card(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// The icon of a state inside a window.
class StateBadge : public QWidget {
public:
    explicit StateBadge(int size, QWidget* parent = nullptr);
    void setState(HealthState state);
    [[nodiscard]] QSize sizeHint() const override { return {size_, size_}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int size_;
    HealthState state_ = HealthState::listening;
};

/// Key caps in a row; the steps of a sequence stand apart.
class KeyCapsView : public QWidget {
public:
    using Steps = std::vector<std::vector<std::string>>; ///< by step, the labels of its keys
    explicit KeyCapsView(Steps steps = {}, QWidget* parent = nullptr);
    void setSteps(Steps steps);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] int capWidth(const std::string& label) const;
    [[nodiscard]] int capHeight() const;
    Steps steps_;
};

/// A mark that is hollow until something was done.
class DoneMark : public QWidget {
public:
    explicit DoneMark(QWidget* parent = nullptr);
    void setDone(bool done);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool isDone_ = false;
};

/// Shows the window in front of others, also when it was minimised or on another workspace.
void bringForward(QWidget& window);

} // namespace varnel
