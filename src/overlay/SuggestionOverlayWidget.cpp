#include "overlay/SuggestionOverlayWidget.h"

#include "overlay/OverlayAccessibility.h"
#include "overlay/OverlayFrame.h"
#include "overlay/SuggestionModel.h"

#include <QAccessible>
#include <QCursor>
#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPlatformSurfaceEvent>
#include <QScreen>

#include <utility>

namespace varnel {
namespace {

constexpr Qt::WindowFlags kFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                   Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput |
                                   Qt::NoDropShadowWindowHint | Qt::X11BypassWindowManagerHint;
/// The window leaves this part of the screen free.
constexpr double kFreeShare = 0.08;
constexpr const char* kCommonCharacters = "abcdefghijklmnopqrst\nuvwxyzABCDEFGHIJKLM\nNOPQRSTUVWXYZ\n"
                                          "0123456789 .,:;-+/\n()…·!?'\"←→↑↓#%&=";
/// The rehearsal's. Windows that need half as much memory or more find it already there.
constexpr QSize kRehearsedSize(1280, 800);
constexpr std::string_view kCommonKeys = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

OverlaySize overlaySize(QSize size) {
    return {size.width(), size.height()};
}

} // namespace

SuggestionOverlayWidget::SuggestionOverlayWidget(OverlaySurroundings& surroundings, IconSource icon)
    : QWidget(nullptr, kFlags)
    , surroundings_(surroundings)
    , icon_(std::move(icon)) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    // A tool window would vanish on macOS whenever another application is active, which is always.
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setFocusPolicy(Qt::NoFocus);
    setObjectName(QStringLiteral("SuggestionOverlay"));
    installOverlayAccessibility();
}

SuggestionOverlayWidget::~SuggestionOverlayWidget() = default;

void SuggestionOverlayWidget::prepare(const OverlayAppearance& appearance) {
    if (isVisible())
        return;
    adoptBlending();
    layOut(sampleState({{}, surroundings_.namesKeysBySymbols()}), appearance);
    resize(pictureArea().size() + 2 * QSize(pictureArea().x(), pictureArea().y()));
    winId();
    // Painting once loads the fonts and fills the caches of glyphs and keys, at the scale of the screen.
    QPixmap pixmap(size() * devicePixelRatioF());
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    render(&pixmap);
    QPainter painter(&pixmap);
    for (const QFont& font : {style_->text, style_->title, style_->small}) {
        painter.setFont(font);
        for (const QString& line : QString::fromUtf8(kCommonCharacters).split(QLatin1Char('\n')))
            painter.drawText(0, style_->em, line);
    }
    for (const char key : kCommonKeys)
        style_->caps.paint(painter, 0, style_->em, {std::string(1, key)}, KeyCapPainter::Look::plain,
                           overlayColors(isDark()));
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        rehearse();
    picture_.reset();
    // Asking connects to the desktop's accessibility service, which the first appearance would do otherwise.
    QAccessible::isActive();
    QCursor::pos();
}

int SuggestionOverlayWidget::show(const SuggestionOverlayState& state, const OverlayAppearance& appearance) {
    adoptBlending();
    if (!isVisible()) {
        pointer_ = QCursor::pos();
        screen_ = chosenScreen(appearance.position);
    }
    if (!QGuiApplication::screens().contains(screen_))
        screen_ = QGuiApplication::primaryScreen();
    const bool hadTimeLimit = picture_ && picture_->state().hasTimeLimit;
    if (state.hasTimeLimit && !hadTimeLimit)
        timeLeft_ = 1;
    layOut(state, appearance);
    place();
    if (isVisible()) {
        update();
        raise();
    } else {
        appear();
    }
    tellAssistants(*this);
    return picture_->pages();
}

/// Appears once where nobody sees it: what the toolkit and the server do for the first time takes three times
/// as long as all else.
void SuggestionOverlayWidget::rehearse() {
    const QSize size =
        QGuiApplication::primaryScreen()->size().boundedTo(kRehearsedSize / devicePixelRatioF());
    setGeometry(QRect(QPoint(-4 * size.width(), -4 * size.height()), size));
    appear();
    QWidget::hide();
}

/// Where the user looks: at the window that is typed into, or at the pointer where the hints are to be there.
QScreen* SuggestionOverlayWidget::chosenScreen(OverlayPosition position) {
    const auto focused = position == OverlayPosition::pointer ? std::nullopt : surroundings_.focusedPlace();
    if (!focused)
        return QGuiApplication::screenAt(pointer_);
    for (QScreen* screen : QGuiApplication::screens()) {
        // Qt counts a dense screen's pixels in larger units, from where the screen really begins.
        const QRect area = screen->geometry();
        const double unit = focused->isInPixels ? screen->devicePixelRatio() : 1;
        if (QRectF(area.topLeft(), QSizeF(area.size()) * unit).contains(focused->x, focused->y))
            return screen;
    }
    return QGuiApplication::screenAt(pointer_);
}

/// A window with translucent parts is the slower one, and costs memory in the server, where nobody blends
/// windows: the native window is made anew when that changes.
void SuggestionOverlayWidget::adoptBlending() {
    const bool isBlended = surroundings_.blendsWindows();
    if (isBlended == testAttribute(Qt::WA_TranslucentBackground))
        return;
    hide();
    destroy();
    setAttribute(Qt::WA_TranslucentBackground, isBlended);
    setAttribute(Qt::WA_OpaquePaintEvent, !isBlended);
}

/// Paints at once instead of when the server asks for it, which a compositor may keep it from for a while.
void SuggestionOverlayWidget::appear() {
    QWidget::show();
    setAttribute(Qt::WA_Mapped);
    repaint();
}

void SuggestionOverlayWidget::hide() {
    QWidget::hide();
}

void SuggestionOverlayWidget::setTimeLeft(double fraction) {
    if (!picture_ || !isVisible() || fraction == timeLeft_)
        return;
    timeLeft_ = fraction;
    update(picture_->barArea().translated(pictureArea().topLeft()));
}

void SuggestionOverlayWidget::iconsChanged() {
    if (isVisible())
        update();
}

std::optional<QRect> SuggestionOverlayWidget::rowArea(std::size_t row) const {
    const auto area = picture_ ? picture_->rowArea(row) : std::nullopt;
    return area ? std::optional(area->translated(pictureArea().topLeft())) : std::nullopt;
}

bool SuggestionOverlayWidget::isDark() const {
    if (appearance_.theme != OverlayTheme::system)
        return appearance_.theme == OverlayTheme::dark;
    const QPalette colors = QGuiApplication::palette();
    return colors.color(QPalette::Window).lightness() < colors.color(QPalette::WindowText).lightness();
}

void SuggestionOverlayWidget::layOut(const SuggestionOverlayState& state,
                                     const OverlayAppearance& appearance) {
    if (!style_ || appearance.textSize != appearance_.textSize)
        style_ = std::make_unique<OverlayStyle>(appearance.textSize);
    appearance_ = appearance;
    const QScreen* screen = screen_ ? screen_ : QGuiApplication::primaryScreen();
    const QSize space = screen->availableGeometry().size() * (1 - kFreeShare);
    picture_ = std::make_unique<OverlayPicture>(state, *style_, overlaySize(space), appearance.showsIcons);
}

/// The picture within the window, which is larger by the shadow around it.
QRect SuggestionOverlayWidget::pictureArea() const {
    const int margin = isBlended() ? style_->shadow : 0;
    return {QPoint(margin, margin), picture_->size()};
}

void SuggestionOverlayWidget::place() {
    const QRect screen = screen_->availableGeometry();
    const OverlayPoint at =
        placeOverlay(overlaySize(picture_->size()), {{screen.x(), screen.y()}, overlaySize(screen.size())},
                     {pointer_.x(), pointer_.y()}, appearance_.position);
    const QPoint margin = pictureArea().topLeft();
    const QSize size = picture_->size() + QSize(2 * margin.x(), 2 * margin.y());
    setScreen(screen_);
    setGeometry(QRect(QPoint(at.x, at.y) - margin, size));
    shape();
}

/// Without somebody who blends windows, corners that are not painted would be black: cut them off.
void SuggestionOverlayWidget::shape() {
    if (isBlended()) {
        clearMask();
        return;
    }
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()), style_->radius, style_->radius);
    setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void SuggestionOverlayWidget::paintEvent(QPaintEvent* event) {
    if (!picture_)
        return;
    const OverlayColors& colors = overlayColors(isDark());
    const QRect area = pictureArea();
    QPainter painter(this);
    painter.setClipRegion(event->region());
    (isBlended() ? paintBlendedFrame : paintCutFrame)(painter, area, *style_, colors);
    painter.translate(area.topLeft());
    if (picture_->barArea().translated(area.topLeft()).contains(event->rect()))
        picture_->paintBar(painter, colors, timeLeft_);
    else
        picture_->paint(painter, colors, icon_, timeLeft_);
}

bool SuggestionOverlayWidget::event(QEvent* event) {
    if (event->type() == QEvent::PlatformSurface &&
        static_cast<QPlatformSurfaceEvent*>(event)->surfaceEventType() ==
            QPlatformSurfaceEvent::SurfaceCreated)
        surroundings_.adoptWindow(internalWinId());
    return QWidget::event(event);
}

} // namespace varnel
