#include "app/PagedWindow.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

namespace varnel {

namespace {

constexpr int kMarkTime = 1200; // milliseconds
constexpr int kMarkInset = 3;
constexpr int kMarkRadius = 6;
constexpr int kEntryIndent = 3; // of spaces
constexpr int kRowInset = 5;

/// A frame around a setting that was searched for; vanishes by itself.
class FoundMark final : public QWidget {
public:
    explicit FoundMark(QWidget& found)
        : QWidget(found.parentWidget()) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        // Within the room around what was found; where it has none of its own, outside.
        const bool hasRoom = found.layout() && found.layout()->contentsMargins().left() > kMarkInset;
        const int inset = hasRoom ? kMarkInset : -2 * kMarkInset;
        setGeometry(found.geometry().adjusted(inset, inset, -inset, -inset));
        QTimer::singleShot(kMarkTime, this, &QObject::deleteLater);
        show();
        raise();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), kMarkRadius, kMarkRadius);
    }
};

bool containsWords(const QString& text, const QString& words) {
    for (const QString& word : words.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        if (!text.contains(word, Qt::CaseInsensitive))
            return false;
    return true;
}

} // namespace

PagedWindow::PagedWindow(const QString& title, std::vector<SettingsPage> pages)
    : pages_(std::move(pages))
    , search_(new QLineEdit(this))
    , list_(new QListWidget(this))
    , nothing_(makeNote(qtText(localized("Nothing was found.")), this))
    , stack_(new QStackedWidget(this))
    , stackIndex_(pages_.size(), -1) {
    setWindowTitle(title);
    search_->setPlaceholderText(qtText(localized("Search")));
    search_->setAccessibleName(qtText(localized("Search settings")));
    search_->setClearButtonEnabled(true);
    search_->installEventFilter(this);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setSpacing(1);
    QPixmap nothing(kRowInset, 1); // stands where an icon would, so that texts keep off the edge
    nothing.fill(Qt::transparent);
    inset_ = QIcon(nothing);
    list_->setIconSize(nothing.size());
    search_->setTextMargins(kRowInset, 0, 0, 0);
    list_->setAccessibleName(qtText(localized("Pages")));
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    nothing_->hide();
    for (std::size_t page = 0; page < pages_.size(); ++page) {
        addRow({page, nullptr});
        for (const SettingsEntry& entry : pages_[page].entries)
            addRow({page, &entry});
    }

    auto* side = new QVBoxLayout;
    side->addWidget(search_);
    side->addWidget(nothing_);
    side->addWidget(list_, 1);
    side->setContentsMargins(12, 12, 0, 12);
    side->setSpacing(8);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addLayout(side);
    layout->addWidget(stack_, 1);
    search_->setFixedWidth(fontMetrics().averageCharWidth() * 33);
    list_->setFixedWidth(search_->width());

    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) { showRow(row); });
    connect(list_, &QListWidget::itemClicked, this, [this] { enterRow(list_->currentRow()); });
    connect(list_, &QListWidget::itemActivated, this, [this] { enterRow(list_->currentRow()); });
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { search(text); });
    connect(search_, &QLineEdit::returnPressed, this, [this] { enterRow(list_->currentRow()); });
    setTabOrder(search_, list_);
    resize(fontMetrics().averageCharWidth() * 128, fontMetrics().height() * 44);
    list_->setCurrentRow(0);
}

void PagedWindow::addRow(const Row& row) {
    rows_.push_back(row);
    auto* item = new QListWidgetItem(row.entry ? QString(kEntryIndent, QLatin1Char(' ')) + row.entry->title
                                               : pages_[row.page].title,
                                     list_);
    item->setIcon(inset_);
    item->setSizeHint(QSize(0, fontMetrics().height() + 12));
    item->setToolTip(row.entry ? row.entry->title : QString());
    item->setHidden(row.entry != nullptr);
}

int PagedWindow::rowOf(std::size_t page) const {
    for (std::size_t row = 0; row < rows_.size(); ++row)
        if (rows_[row].page == page)
            return static_cast<int>(row);
    return 0;
}

void PagedWindow::present(const QString& identifier) {
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        if (!identifier.isEmpty() && pages_[i].identifier == identifier) {
            search_->clear();
            list_->setCurrentRow(rowOf(i));
        }
    }
    bringForward(*this);
}

QWidget* PagedWindow::showPage(std::size_t index) {
    int& place = stackIndex_[index];
    if (place < 0) {
        auto* area = new QScrollArea;
        area->setFrameShape(QFrame::NoFrame);
        area->setFocusPolicy(Qt::NoFocus); // its controls bring themselves into view
        area->setWidgetResizable(true);
        area->setWidget(pages_[index].make().release());
        place = stack_->addWidget(area);
    }
    stack_->setCurrentIndex(place);
    return static_cast<QScrollArea*>(stack_->currentWidget())->widget();
}

void PagedWindow::showRow(int index) {
    if (index < 0)
        return;
    const Row& row = rows_[static_cast<std::size_t>(index)];
    QPointer<QWidget> page = showPage(row.page);
    if (!row.entry)
        return;
    // A page that was only just made has no places yet.
    QTimer::singleShot(0, page, [this, page, anchor = row.entry->anchor] {
        auto* found = page->findChild<QWidget*>(anchor);
        if (!found || !found->isVisible())
            return;
        static_cast<QScrollArea*>(stack_->currentWidget())->ensureWidgetVisible(found);
        new FoundMark(*found);
    });
}

void PagedWindow::enterRow(int index) {
    if (index < 0 || !rows_[static_cast<std::size_t>(index)].entry)
        return;
    const Row& row = rows_[static_cast<std::size_t>(index)];
    showRow(index);
    if (auto* found = showPage(row.page)->findChild<QWidget*>(row.entry->anchor))
        found->setFocus(Qt::OtherFocusReason);
}

void PagedWindow::search(const QString& text) {
    // A page that only knows the word leads less far than a setting that does.
    enum Rank { inTitle, ofPage, inText, inPageText, none };
    int best = -1;
    Rank bestRank = none;
    int pageRow = 0;
    for (int index = 0; index < list_->count(); ++index) {
        const Row& row = rows_[static_cast<std::size_t>(index)];
        const SettingsPage& page = pages_[row.page];
        const QString& title = row.entry ? row.entry->title : page.title;
        const QString& more = row.entry ? row.entry->searchText : page.searchText;
        const bool matches = (!row.entry || !text.isEmpty()) && containsWords(title + ' ' + more, text);
        pageRow = row.entry ? pageRow : index;
        list_->item(index)->setHidden(!matches);
        if (!matches)
            continue;
        list_->item(pageRow)->setHidden(false);
        const bool isInTitle = containsWords(title, text);
        const Rank rank = isInTitle ? (row.entry ? inTitle : ofPage) : row.entry ? inText : inPageText;
        if (rank < bestRank) {
            bestRank = rank;
            best = index;
        }
    }
    nothing_->setVisible(best < 0);
    const QListWidgetItem* current = list_->currentItem();
    if (!text.isEmpty() && best >= 0)
        list_->setCurrentRow(best);
    else if (text.isEmpty() && current)
        list_->setCurrentRow(rowOf(rows_[static_cast<std::size_t>(list_->row(current))].page));
}

/// The arrow keys choose among what was found while one types.
bool PagedWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == search_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const int step = key->key() == Qt::Key_Down ? 1 : key->key() == Qt::Key_Up ? -1 : 0;
        for (int row = list_->currentRow() + step; step != 0 && row >= 0 && row < list_->count(); row += step)
            if (!list_->item(row)->isHidden()) {
                list_->setCurrentRow(row);
                return true;
            }
        if (step != 0)
            return true;
    }
    return QWidget::eventFilter(watched, event);
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
