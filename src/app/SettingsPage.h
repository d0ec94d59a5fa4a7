#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QWidget;

namespace varnel {

/// A setting that the search field leads to.
struct SettingsEntry {
    QString anchor; ///< the object name of its widget on the page
    QString title;
    QString searchText; ///< its explanation, and synonyms
};

/// One page of the settings window. A feature makes its own and hands it over.
struct SettingsPage {
    QString identifier; ///< by which other windows open the window at this page: "overlay"
    QString title;      ///< in the list of pages
    /// What can be found on the page, for the search field: labels and synonyms, separated as one likes.
    QString searchText;
    /// Made when the page is first shown. The window owns the result, and scrolls it where it is too tall.
    std::function<std::unique_ptr<QWidget>()> make;
    std::vector<SettingsEntry> entries = {}; ///< in the order of the page
};

} // namespace varnel
