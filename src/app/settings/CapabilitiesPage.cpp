#include "app/Look.h"
#include "app/QtText.h"
#include "app/settings/Capabilities.h"
#include "app/settings/CapabilityTable.h"
#include "app/settings/SettingRows.h"
#include "app/settings/SettingsPages.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace varnel {

namespace {

constexpr int kLeastLines = 3;
constexpr int kMostLines = 8;

std::string bulleted(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "• " : "\n• ") + line;
    return text;
}

/// What is known of one capability, and what can be decided about it.
class CapabilityCard final : public Card {
public:
    explicit CapabilityCard(std::shared_ptr<CapabilityDecisions> decisions)
        : decisions_(std::move(decisions))
        , name_(makeTitle({}, this))
        , facts_(makeNote({}, this))
        , hash_(makeNote({}, this))
        , reason_(makeParagraph({}, this))
        , more_(makeParagraph({}, this))
        , outcome_(makeParagraph({}, this))
        , place_(makePathField(localized("Place of the package")))
        , buttons_(new QHBoxLayout) {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(12, 12, 12, 12);
        layout->setSpacing(6);
        for (QLabel* label : {name_, facts_, hash_, reason_})
            layout->addWidget(label);
        layout->addLayout(buttons_);
        layout->addWidget(outcome_);
        layout->addWidget(more_);
        layout->addWidget(place_);
        buttons_->setSpacing(8);
        outcome_->setForegroundRole(QPalette::Link);
        outcome_->setObjectName(QStringLiteral("outcome"));
        reason_->setObjectName(QStringLiteral("reason"));
    }

    void showRow(const CapabilityRow& row) {
        if (row.url != row_.url)
            outcome_->clear();
        const bool wantsOtherButtons = row.url != row_.url || row.decisions != row_.decisions;
        row_ = row;
        name_->setText(qtText(row.name));
        facts_->setText(qtText(factsText()));
        hash_->setText(qtText(localized("Content: %1…", {row.shortHash})));
        hash_->setToolTip(qtText(row.hash));
        hash_->setVisible(!row.hash.empty());
        reason_->setText(qtText(row.reason));
        reason_->setVisible(!row.reason.empty());
        more_->setText(qtText(moreText()));
        more_->setVisible(!more_->text().isEmpty());
        place_->setText(qtText(row.url));
        outcome_->setVisible(!outcome_->text().isEmpty());
        if (wantsOtherButtons && !isBusy_)
            offer(row.decisions);
    }

private:
    [[nodiscard]] std::string factsText() const {
        std::string text = row_.identifier;
        for (const std::string& part :
             {row_.version.empty() ? std::string() : localized("Version %1", {row_.version}), row_.source,
              row_.status})
            if (!part.empty())
                text += " · " + part;
        return text;
    }

    [[nodiscard]] std::string moreText() const {
        std::string text;
        if (!row_.actions.empty())
            text = localized("Actions:") + "\n" + bulleted(row_.actions);
        if (!row_.hooks.empty())
            text += (text.empty() ? "" : "\n\n") + localized("Also runs:") + "\n" + bulleted(row_.hooks);
        return text;
    }

    void offer(const std::vector<CapabilityDecision>& decisions) {
        while (QLayoutItem* item = buttons_->takeAt(0)) {
            if (QWidget* button = item->widget()) {
                button->hide(); // it may be the one whose click led here
                button->deleteLater();
            }
            delete item;
        }
        for (const CapabilityDecision decision : decisions) {
            QPushButton* button = makeButton(qtText(label(decision)), this);
            connect(button, &QPushButton::clicked, this, [this, decision] { decide(decision); });
            buttons_->addWidget(button);
            setTabOrder(buttons_->count() == 1 ? nullptr : buttons_->itemAt(buttons_->count() - 2)->widget(),
                        button);
        }
        buttons_->addStretch(1);
    }

    void decide(CapabilityDecision decision) {
        isBusy_ = true;
        say(localized("One moment…"));
        for (int i = 0; i < buttons_->count(); ++i)
            if (QWidget* button = buttons_->itemAt(i)->widget())
                button->setEnabled(false);
        decisions_->decide(row_.url, decision, [self = QPointer(this), url = row_.url](const auto& result) {
            if (self)
                self->decided(url, result);
        });
    }

    void decided(const std::string& url, const std::expected<void, PluginTrustError>& result) {
        isBusy_ = false;
        const bool isShown = url == row_.url;
        say(result || !isShown ? std::string() : describe(result.error()));
        if (!isShown || result || result.error().kind != PluginTrustError::Kind::takesBuiltInID)
            return offer(row_.decisions);
        auto decisions = row_.decisions;
        decisions.front() = CapabilityDecision::trustBuiltInID;
        offer(decisions);
    }

    void say(const std::string& text) {
        outcome_->setText(qtText(text));
        outcome_->setVisible(!text.empty());
        announce(*outcome_);
    }

    std::shared_ptr<CapabilityDecisions> decisions_;
    CapabilityRow row_;
    bool isBusy_ = false; ///< something decided is being carried out
    QLabel *name_, *facts_, *hash_, *reason_, *more_, *outcome_;
    QLineEdit* place_;
    QHBoxLayout* buttons_;
};

class CapabilitiesView final : public QWidget {
public:
    explicit CapabilitiesView(const std::shared_ptr<CapabilityDecisions>& decisions)
        : decisions_(decisions)
        , list_(new QTreeView(this))
        , card_(new CapabilityCard(decisions))
        , none_(makeParagraph(qtText(localized("No capabilities were found.")), this)) {
        buildList();
        auto* look = makeButton(qtText(localized("Look for &New Ones")), this);
        look->setObjectName(QStringLiteral("rescan"));
        connect(look, &QPushButton::clicked, this, [this] { decisions_->rescan(); });
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(14);
        layout->addWidget(none_);
        layout->addWidget(list_);
        layout->addWidget(card_);
        layout->addWidget(look, 0, Qt::AlignLeft);
        setFocusProxy(list_);
        read();
    }

protected:
    void showEvent(QShowEvent* event) override {
        changes_ = decisions_->observe([this] { read(); });
        read();
        // What the user has just installed or changed is looked at anew.
        decisions_->rescan();
        QWidget::showEvent(event);
    }
    void hideEvent(QHideEvent* event) override {
        changes_.reset();
        QWidget::hideEvent(event);
    }

private:
    void buildList() {
        list_->setObjectName(QStringLiteral("capabilities"));
        list_->setAccessibleName(qtText(localized("Capabilities")));
        list_->setModel(&table_);
        list_->setRootIsDecorated(false);
        list_->setUniformRowHeights(true);
        list_->setAllColumnsShowFocus(true);
        list_->setTabKeyNavigation(false);
        list_->header()->setStretchLastSection(true);
        list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        for (int column = 1; column < 3; ++column)
            list_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
        list_->setItemDelegate(new RoomyDelegate(list_));
        connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
                [this] { showCurrent(); });
    }

    void read() {
        const CapabilityRow* before = table_.row(list_->currentIndex());
        const std::string url = before ? before->url : std::string();
        table_.setRows(decisions_->rows());
        const QModelIndex kept = table_.find(url);
        list_->setCurrentIndex(kept.isValid() ? kept : table_.firstOfInterest());
        const bool isEmpty = table_.rowCount() == 0;
        none_->setVisible(isEmpty);
        list_->setVisible(!isEmpty);
        card_->setVisible(!isEmpty);
        const int rows = std::clamp(table_.rowCount(), kLeastLines, kMostLines);
        list_->setFixedHeight(list_->header()->sizeHint().height() +
                              rows * std::max(list_->sizeHintForRow(0), fontMetrics().height()) +
                              2 * list_->frameWidth());
        showCurrent();
    }

    void showCurrent() {
        if (const CapabilityRow* row = table_.row(list_->currentIndex()))
            card_->showRow(*row);
    }

    std::shared_ptr<CapabilityDecisions> decisions_;
    CapabilityTable table_;
    QTreeView* list_;
    CapabilityCard* card_;
    QLabel* none_;
    Subscription changes_; ///< while the page is seen
};

std::unique_ptr<QWidget> makePage(const std::shared_ptr<CapabilityDecisions>& decisions) {
    QVBoxLayout* layout = nullptr;
    auto page = makeSettingsPage(
        localized("Capabilities"),
        localized("Packages that bring actions of their own. Those that you install run only after you have "
                  "trusted exactly what they contain."),
        layout);
    layout->addWidget(new CapabilitiesView(decisions));
    layout->addStretch(1);
    return page;
}

} // namespace

SettingsPage makeCapabilitiesPage(std::shared_ptr<CapabilityDecisions> decisions) {
    return {QStringLiteral("capabilities"),
            qtText(localized("Capabilities")),
            qtText(localized("plugins packages extensions trust hash version hooks actions")),
            [decisions = std::move(decisions)] { return makePage(decisions); },
            {{QStringLiteral("capabilities"), qtText(localized("Trust, disable and enable capabilities")),
              qtText(localized("plugins keep off status changed"))},
             {QStringLiteral("rescan"), qtText(localized("Look for new capabilities")), {}}}};
}

} // namespace varnel
