#pragma once

#include "app/SettingsPage.h"

#include <QIcon>
#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QListWidget;
class QStackedWidget;

namespace varnel {

/// A window with a list of pages at its left, a search field above it, and one page at a time. While
/// something is searched for, the list also holds the settings that were found, below their pages; choosing
/// one shows it on its page, and Return goes there. Escape clears the search, then closes. Pages are made
/// when they are first shown and stay.
class PagedWindow : public QWidget {
public:
    PagedWindow(const QString& title, std::vector<SettingsPage> pages);

    /// Brings the window forward at a page; at the one shown last without an identifier, or with an unknown
    /// one.
    void present(const QString& identifier = {});

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// What a row of the list leads to.
    struct Row {
        std::size_t page;
        const SettingsEntry* entry; ///< null: the page itself
    };
    void addRow(const Row& row);
    [[nodiscard]] int rowOf(std::size_t page) const;
    QWidget* showPage(std::size_t index);
    void showRow(int row);
    /// The keyboard goes to what the row leads to.
    void enterRow(int row);
    void search(const QString& text);

    std::vector<SettingsPage> pages_; ///< never changed: rows point into it
    std::vector<Row> rows_;
    QLineEdit* search_;
    QListWidget* list_;
    QIcon inset_; ///< at the beginning of each row
    QLabel* nothing_;
    QStackedWidget* stack_;
    std::vector<int> stackIndex_; ///< by page; -1 until it is made
};

} // namespace varnel
