#include "app/settings/HintPreview.h"

#include "app/QtText.h"
#include "base/Localized.h"
#include "overlay/OverlayPicture.h"
#include "overlay/SuggestionModel.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace varnel {

namespace {

constexpr int kLines = 9; ///< of our own text: the preview's height, whatever the size of the hints
constexpr int kMargin = 14;
/// More than any sample needs.
constexpr OverlaySize kSpace{1600, 1000};

} // namespace

HintPreview::HintPreview(PreferenceStore& preferences, KeyNaming naming)
    : preferences_(preferences)
    , naming_(std::move(naming)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(qtText(localized("Preview of the hints")));
    options_ = overlayOptions(preferences_);
}

void HintPreview::refresh() {
    options_ = overlayOptions(preferences_);
    update();
}

QSize HintPreview::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 60, fontMetrics().height() * kLines + 2 * kMargin};
}

QSize HintPreview::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 30, sizeHint().height()};
}

void HintPreview::showEvent(QShowEvent* event) {
    refresh();
    QWidget::showEvent(event);
}

void HintPreview::paintEvent(QPaintEvent*) {
    const bool isDark = options_.theme == OverlayTheme::system ? palette().window().color().lightness() < 128
                                                               : options_.theme == OverlayTheme::dark;
    const OverlayColors& colors = overlayColors(isDark);
    const OverlayStyle style(options_.textSize);
    const OverlayPicture picture(sampleState(naming_), style, kSpace, options_.showsIcons);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // A piece of an invented desktop.
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Mid));
    painter.drawRoundedRect(rect(), 8, 8);
    const QSizeF room = rect().size() - QSize(2 * kMargin, 2 * kMargin);
    const double scale =
        std::min({1.0, room.width() / picture.size().width(), room.height() / picture.size().height()});
    painter.translate(width() / 2.0, height() / 2.0);
    painter.scale(scale, scale);
    painter.translate(-picture.size().width() / 2.0, -picture.size().height() / 2.0);
    const QRectF area(QPointF(0, 0), picture.size());
    painter.setOpacity(options_.showsHints ? 1 : 0.35);
    painter.setPen(QPen(qColor(colors.edge), 1));
    painter.setBrush(qColor(colors.background));
    painter.drawRoundedRect(area, style.radius, style.radius);
    picture.paint(painter, colors, {}, 1);
}

} // namespace varnel
