#include "overlay/OverlayStyle.h"

#include <QApplication>

namespace varnel {
namespace {

QFont sized(double points, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPointSizeF(points);
    font.setWeight(weight);
    return font;
}

} // namespace

OverlayStyle::OverlayStyle(int textSize)
    : text(sized(textSize, QFont::Normal))
    , title(sized(textSize, QFont::DemiBold))
    , small(sized(textSize * 0.86, QFont::Normal))
    , cap(sized(textSize * 0.86, QFont::Medium))
    , textMetrics(text)
    , titleMetrics(title)
    , smallMetrics(small)
    , capMetrics(cap)
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
