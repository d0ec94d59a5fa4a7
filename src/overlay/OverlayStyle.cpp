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
    , textMetrics(text)
    , titleMetrics(title)
    , smallMetrics(small)
    , textRuns(text)
    , smallRuns(small)
    , em(textMetrics.height())
    , padding(em)
    , radius(em * 3 / 4)
    , rowHeight(em * 15 / 8)
    , gap(em * 5 / 8)
    , iconSize(em * 9 / 8)
    , barHeight(qMax(3, em / 6))
    , shadow(em)
    , caps(sized(textSize * 0.86, QFont::Medium), em) {}

RowMetrics OverlayStyle::rowMetrics() const {
    return {.height = rowHeight,
            .capGap = gap,
            .columnGap = em * 2,
            .longestText = em * 19,
            .leastColumn = em * 9};
}

} // namespace varnel
