#include "app/WhyPage.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "app/settings/SettingRows.h"
#include "base/Localized.h"

#include <QAbstractTableModel>
#include <QClipboard>
#include <QFont>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QTreeView>
#include <QVBoxLayout>

#include <utility>

namespace varnel {

namespace {

/// One line a row: the time and the sentence.
class WhyTable final : public QAbstractTableModel {
public:
    void setLines(std::vector<WhyLine> lines) {
        beginResetModel();
        lines_ = std::move(lines);
        endResetModel();
    }
    [[nodiscard]] const std::vector<WhyLine>& lines() const { return lines_; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(lines_.size());
    }
    [[nodiscard]] int columnCount(const QModelIndex&) const override { return 2; }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        const WhyLine& line = lines_[static_cast<std::size_t>(index.row())];
        if (role == Qt::DisplayRole)
            return qtText(index.column() == 0 ? line.time : line.text);
        if (role == Qt::AccessibleTextRole && index.column() == 0)
            return qtText(line.time + " " + line.text);
        if (role == Qt::TextAlignmentRole)
            return QVariant(Qt::AlignLeft | Qt::AlignTop);
        const bool isQuiet = line.number == 0 || index.column() == 0;
        if (role == Qt::ForegroundRole && isQuiet)
            return QGuiApplication::palette().color(QPalette::PlaceholderText);
        if (role == Qt::FontRole && line.isRefusal && index.column() == 1) {
            QFont font;
            font.setWeight(QFont::DemiBold);
            return font;
        }
        return {};
    }

private:
    std::vector<WhyLine> lines_;
};

class WhyView final : public QWidget {
public:
    explicit WhyView(WhyPageContext context)
        : context_(std::move(context))
        , list_(new QTreeView(this))
        , none_(makeParagraph(
              qtText(localized("Nothing has been decided yet. Type a shortcut, and what becomes "
                               "of it appears here.")),
              this))
        , copy_(makeButton(qtText(localized("&Copy")), this))
        , copied_(makeNote({}, this)) {
        buildList();
        connect(copy_, &QPushButton::clicked, this, [this] { copy(); });
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        row->addWidget(copy_);
        row->addWidget(copied_, 1);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(14);
        layout->addWidget(none_, 1, Qt::AlignTop);
        layout->addWidget(list_, 1);
        layout->addLayout(row);
        setFocusProxy(list_);
        setObjectName(QStringLiteral("why"));
    }

protected:
    void showEvent(QShowEvent* event) override {
        changes_ = context_.observe([this] { read(); });
        read();
        QWidget::showEvent(event);
    }
    void hideEvent(QHideEvent* event) override {
        changes_.reset();
        copied_->clear();
        QWidget::hideEvent(event);
    }

private:
    void buildList() {
        list_->setAccessibleName(qtText(localized("Decisions, the latest first")));
        list_->setModel(&table_);
        list_->setRootIsDecorated(false);
        list_->setHeaderHidden(true);
        list_->setWordWrap(true);
        list_->setItemDelegate(new RoomyDelegate(list_));
        list_->setAllColumnsShowFocus(true);
        list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
        list_->header()->setStretchLastSection(true);
        list_->header()->setMinimumSectionSize(0);
        list_->header()->resizeSection(0,
                                       fontMetrics().horizontalAdvance(QStringLiteral("00:00:00.000")) + 20);
        // Heights follow from where lines break.
        connect(list_->header(), &QHeaderView::sectionResized, list_, [this] { list_->doItemsLayout(); });
        list_->setMinimumHeight(fontMetrics().height() * 12);
    }

    void read() {
        const auto& lines = table_.lines();
        const int row = list_->currentIndex().row();
        const std::uint64_t current = row >= 0 ? lines[static_cast<std::size_t>(row)].number : 0;
        table_.setLines(context_.lines());
        for (std::size_t i = 0; current != 0 && i < lines.size(); ++i)
            if (lines[i].number == current)
                list_->setCurrentIndex(table_.index(static_cast<int>(i), 0));
        none_->setVisible(lines.empty());
        list_->setVisible(!lines.empty());
        copy_->setEnabled(!lines.empty());
        copied_->clear();
    }

    void copy() {
        QGuiApplication::clipboard()->setText(qtText(plainText(table_.lines())));
        copied_->setText(
            qtText(localized("Copied. Look it through before you pass it on: it names your shortcuts.")));
        announce(*copied_);
    }

    WhyPageContext context_;
    WhyTable table_;
    QTreeView* list_;
    QLabel* none_;
    QPushButton* copy_;
    QLabel* copied_;
    Subscription changes_; ///< while the page is seen
};

std::unique_ptr<QWidget> makePage(const WhyPageContext& context) {
    QVBoxLayout* layout = nullptr;
    auto page = makeSettingsPage(
        localized("Why did nothing happen?"),
        localized(
            "What became of the latest keys of shortcuts, the latest first. Keys that belong to no shortcut "
            "are only counted, never kept."),
        layout);
    layout->addWidget(new WhyView(context), 1);
    return page;
}

} // namespace

SettingsPage makeWhyPage(const WhyPageContext& context) {
    return {QLatin1String(kWhyPage), qtText(localized("Why did nothing happen?")),
            qtText(localized("diagnostics decisions log monitor problem trouble ignored key")),
            [context] { return makePage(context); }};
}

} // namespace varnel
