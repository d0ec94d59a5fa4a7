#include "overlay/OverlayStyle.h"

#include <QApplication>

namespace varnel {
namespace {

/// More than anybody's configuration shows; choices could bring new texts for ever.
constexpr std::size_t kMostWidths = 4000;

QFont sized(double points, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPointSizeF(points);
    font.setWeight(weight);
    return font;
}

} // namespace

int TextWidths::of(const std::string& text) const {
    if (widths_.size() >= kMostWidths)
        widths_.clear();
    const auto [entry, isNew] = widths_.try_emplace(text, 0);
    if (isNew)
        entry->second = metrics_.horizontalAdvance(QString::fromStdString(text));
    return entry->second;
}

QString TextWidths::fitted(const std::string& text, int space) const {
    const QString whole = QString::fromStdString(text);
    return of(text) <= space ? whole : metrics_.elidedText(whole, Qt::ElideRight, space);
}

OverlayStyle::OverlayStyle(int textSize)
    : text(sized(textSize, QFont::Normal))
    , title(sized(textSize, QFont::DemiBold))
    , small(sized(textSize * 0.86, QFont::Normal))
    , cap(sized(textSize * 0.86, QFont::Medium))
    , textMetrics(text)
    , titleMetrics(title)
    , smallMetrics(small)
    , capMetrics(cap)
    , textWidths(text)
    , smallWidths(small)
    , capWidths(cap)
    , em(textMetrics.height())
    , padding(em)
    , radius(em * 3 / 4)
    , rowHeight(em * 15 / 8)
    , capHeight(em * 11 / 8)
    , capPadding(em * 3 / 8)
    , capGap(em / 5)
    , gap(em * 5 / 8)
    , iconSize(em * 9 / 8)
    , barHeight(qMax(3, em / 6))
    , shadow(em) {}

RowMetrics OverlayStyle::rowMetrics() const {
    return {.height = rowHeight,
            .capGap = gap,
            .columnGap = em * 2,
            .longestText = em * 19,
            .leastColumn = em * 9};
}

} // namespace varnel
