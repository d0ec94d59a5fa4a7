#pragma once

#include "app/SettingsPage.h"

#include <QWidget>

#include <vector>

class QLineEdit;
class QListWidget;
class QStackedWidget;

namespace varnel {

/// A window with a list of pages at its left, a search field above it, and one page at a time. Escape clears
/// the search, then closes. Pages are made when they are first shown and stay.
class PagedWindow : public QWidget {
public:
    PagedWindow(const QString& title, std::vector<SettingsPage> pages);

    /// Brings the window forward at a page; at the one shown last without an identifier, or with an unknown
    /// one.
    void present(const QString& identifier = {});

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showPage(int index);
    void search(const QString& text);

    std::vector<SettingsPage> pages_;
    QLineEdit* search_;
    QListWidget* list_;
    QStackedWidget* stack_;
    std::vector<int> stackIndex_; ///< by page; -1 until it is made
};

} // namespace varnel
