#include "app/PagedWindow.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <utility>

namespace varnel {

PagedWindow::PagedWindow(const QString& title, std::vector<SettingsPage> pages)
    : pages_(std::move(pages))
    , search_(new QLineEdit(this))
    , list_(new QListWidget(this))
    , stack_(new QStackedWidget(this))
    , stackIndex_(pages_.size(), -1) {
    setWindowTitle(title);
    search_->setPlaceholderText(qtText(localized("Search")));
    search_->setClearButtonEnabled(true);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setSpacing(1);
    for (const SettingsPage& page : pages_) {
        list_->addItem(page.title);
        list_->item(list_->count() - 1)->setSizeHint(QSize(0, fontMetrics().height() + 12));
    }

    auto* side = new QVBoxLayout;
    side->addWidget(search_);
    side->addWidget(list_, 1);
    side->setContentsMargins(12, 12, 0, 12);
    side->setSpacing(8);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addLayout(side);
    layout->addWidget(stack_, 1);
    search_->setFixedWidth(fontMetrics().averageCharWidth() * 26);
    list_->setFixedWidth(search_->width());

    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) { showPage(row); });
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { search(text); });
    setTabOrder(search_, list_);
    resize(fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 32);
    list_->setCurrentRow(0);
}

void PagedWindow::present(const QString& identifier) {
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        if (!identifier.isEmpty() && pages_[i].identifier == identifier) {
            search_->clear();
            list_->setCurrentRow(static_cast<int>(i));
        }
    }
    bringForward(*this);
}

void PagedWindow::showPage(int index) {
    if (index < 0)
        return;
    int& place = stackIndex_[static_cast<std::size_t>(index)];
    if (place < 0) {
        auto* area = new QScrollArea;
        area->setFrameShape(QFrame::NoFrame);
        area->setWidgetResizable(true);
        area->setWidget(pages_[static_cast<std::size_t>(index)].make().release());
        place = stack_->addWidget(area);
    }
    stack_->setCurrentIndex(place);
}

void PagedWindow::search(const QString& text) {
    int first = -1;
    for (int row = 0; row < list_->count(); ++row) {
        const SettingsPage& page = pages_[static_cast<std::size_t>(row)];
        bool matches = true;
        for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
            matches = matches && (page.title.contains(word, Qt::CaseInsensitive) ||
                                  page.searchText.contains(word, Qt::CaseInsensitive));
        list_->item(row)->setHidden(!matches);
        if (matches && first < 0)
            first = row;
    }
    const QListWidgetItem* current = list_->currentItem();
    if (first >= 0 && (!current || current->isHidden()))
        list_->setCurrentRow(first);
}

void PagedWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Find)) {
        search_->setFocus();
        search_->selectAll();
    } else if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
    } else if (!search_->text().isEmpty()) {
        search_->clear();
    } else {
        close();
    }
}

} // namespace varnel
