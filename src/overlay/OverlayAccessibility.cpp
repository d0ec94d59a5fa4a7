#include "overlay/OverlayAccessibility.h"

#include "overlay/SuggestionOverlayWidget.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <algorithm>
#include <vector>

namespace varnel {
namespace {

/// One row. Looks its text up whenever it is asked, so that it never tells of what is gone.
class RowInterface final : public QAccessibleInterface {
public:
    RowInterface(SuggestionOverlayWidget& widget, std::size_t row)
        : widget_(widget)
        , row_(row) {}

    [[nodiscard]] bool isValid() const override { return suggestion() != nullptr; }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(&widget_);
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        const SuggestionRow* row = suggestion();
        return row && kind == QAccessible::Name ? QString::fromStdString(spokenText(*row)) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    [[nodiscard]] QRect rect() const override {
        const auto area = widget_.rowArea(row_);
        return area ? area->translated(widget_.mapToGlobal(QPoint())) : QRect();
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        const SuggestionRow* row = suggestion();
        state.invisible = !row || !widget_.isVisible();
        state.offscreen = !widget_.rowArea(row_);
        state.selected = row && row->isChosen;
        state.disabled = row && row->availability != HintAvailability::available;
        return state;
    }

private:
    [[nodiscard]] const SuggestionRow* suggestion() const {
        const OverlayPicture* picture = widget_.picture();
        return picture && row_ < picture->state().rows.size() ? &picture->state().rows[row_] : nullptr;
    }

    SuggestionOverlayWidget& widget_;
    std::size_t row_;
};

/// The window. Its rows' interfaces are made when they are asked for and live as long as the window's.
class OverlayInterface final : public QAccessibleWidget {
public:
    explicit OverlayInterface(SuggestionOverlayWidget& widget)
        : QAccessibleWidget(&widget, QAccessible::List)
        , widget_(widget) {}
    ~OverlayInterface() override {
        for (const QAccessible::Id id : rows_)
            QAccessible::deleteAccessibleInterface(id);
    }

    [[nodiscard]] int childCount() const override {
        const OverlayPicture* picture = widget_.picture();
        return picture ? static_cast<int>(picture->state().rows.size()) : 0;
    }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount())
            return nullptr;
        while (rows_.size() <= static_cast<std::size_t>(index))
            rows_.push_back(
                QAccessible::registerAccessibleInterface(new RowInterface(widget_, rows_.size())));
        return QAccessible::accessibleInterface(rows_[static_cast<std::size_t>(index)]);
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        const auto id = QAccessible::uniqueId(const_cast<QAccessibleInterface*>(child));
        const auto found = std::ranges::find(rows_, id);
        return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        const OverlayPicture* picture = widget_.picture();
        return picture && kind == QAccessible::Name ? QString::fromStdString(spokenText(picture->state()))
                                                    : QString();
    }

private:
    SuggestionOverlayWidget& widget_;
    mutable std::vector<QAccessible::Id> rows_;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* widget = dynamic_cast<SuggestionOverlayWidget*>(object);
    return widget ? new OverlayInterface(*widget) : nullptr;
}

} // namespace

void installOverlayAccessibility() {
    static const bool kIsInstalled = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
    static_cast<void>(kIsInstalled);
}

void tellAssistants(SuggestionOverlayWidget& widget) {
    if (!QAccessible::isActive())
        return;
    QAccessibleEvent renamed(&widget, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
    QAccessibleEvent alert(&widget, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

} // namespace varnel
