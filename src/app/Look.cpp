#include "app/Look.h"

#include "app/QtText.h"
#include "app/StateIcon.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>

namespace varnel {

namespace {

const QColor kAccent(0x14, 0x76, 0x88);

constexpr int kStepGap = 10;
constexpr int kCapGap = 3;
constexpr int kButtonPadding = 6;

struct Shades {
    QColor window, base, alternate, text, quiet, button, edge, highlight, link;
};

const Shades& shades(bool isDark) {
    static const Shades light{QColor(0xf5, 0xf5, 0xf6), QColor(0xff, 0xff, 0xff),
                              QColor(0xf0, 0xf1, 0xf2), QColor(0x1c, 0x1e, 0x22),
                              QColor(0x5c, 0x61, 0x6a), QColor(0xfb, 0xfb, 0xfc),
                              QColor(0xd4, 0xd6, 0xda), kAccent,
                              QColor(0x0d, 0x69, 0x7a)};
    static const Shades dark{QColor(0x1f, 0x21, 0x26), QColor(0x28, 0x2b, 0x31),
                             QColor(0x2d, 0x30, 0x37), QColor(0xe8, 0xe9, 0xec),
                             QColor(0xa6, 0xac, 0xb6), QColor(0x32, 0x36, 0x3d),
                             QColor(0x42, 0x46, 0x4f), kAccent,
                             QColor(0x5f, 0xc4, 0xd6)};
    return isDark ? dark : light;
}

void paintCheckMark(QPainter& painter, const QPointF& start, double size) {
    QPainterPath hook(start);
    hook.lineTo(start + QPointF(0.375, 0.3625) * size);
    hook.lineTo(start + QPointF(1.025, -0.4125) * size);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, size / 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(hook);
}

/// The plain style's check boxes can hardly be seen on a dark window.
class PlainStyle final : public QProxyStyle {
public:
    PlainStyle()
        : QProxyStyle(QStringLiteral("fusion")) {}

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        if (element != PE_IndicatorCheckBox || (option->state & State_NoChange))
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        const bool isOn = option->state & State_On;
        const QPalette& palette = option->palette;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(palette.color(isOn ? QPalette::Highlight : QPalette::PlaceholderText), 1));
        painter->setBrush(palette.color(isOn ? QPalette::Highlight : QPalette::Base));
        const QRectF box = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        painter->drawRoundedRect(box, 3, 3);
        if (isOn)
            paintCheckMark(*painter, box.topLeft() + QPointF(0.22, 0.52) * box.width(), box.width() * 0.55);
        painter->restore();
    }
};

QLabel* makeLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setFocusPolicy(Qt::NoFocus);
    return label;
}

QLabel* enlarged(QLabel* label, double factor) {
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    return label;
}

} // namespace

void applyTheme(bool isDark) {
    if (isPlainStyle() && !dynamic_cast<const PlainStyle*>(QApplication::style()))
        QApplication::setStyle(new PlainStyle);
    const Shades& colors = shades(isDark);
    QPalette palette(colors.button, colors.window);
    palette.setColor(QPalette::Window, colors.window);
    palette.setColor(QPalette::WindowText, colors.text);
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.alternate);
    palette.setColor(QPalette::Text, colors.text);
    palette.setColor(QPalette::Button, colors.button);
    palette.setColor(QPalette::ButtonText, colors.text);
    palette.setColor(QPalette::ToolTipBase, colors.base);
    palette.setColor(QPalette::ToolTipText, colors.text);
    palette.setColor(QPalette::PlaceholderText, colors.quiet);
    palette.setColor(QPalette::Mid, colors.edge);
    palette.setColor(QPalette::Highlight, colors.highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, colors.link);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colors.quiet);
    QApplication::setPalette(palette);
}

bool isPlainStyle() {
    const QStyle* style = QApplication::style();
    return style->objectName() == QLatin1String("fusion") || dynamic_cast<const PlainStyle*>(style);
}

QLabel* makeHeading(const QString& text, QWidget* parent) {
    return enlarged(makeLabel(text, parent), 1.7);
}

QLabel* makeTitle(const QString& text, QWidget* parent) {
    return enlarged(makeLabel(text, parent), 1.3);
}

QLabel* makeParagraph(const QString& text, QWidget* parent) {
    return makeLabel(text, parent);
}

QLabel* makeNote(const QString& text, QWidget* parent) {
    QLabel* label = makeLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QPushButton* makeButton(const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setMinimumWidth(button->sizeHint().width() + 2 * kButtonPadding);
    return button;
}

QPushButton* makeMainButton(const QString& text, QWidget* parent) {
    QPushButton* button = makeButton(text, parent);
    button->setDefault(true);
    button->setAutoDefault(true);
    return button;
}

Card::Card(QWidget* parent)
    : QFrame(parent) {
    setContentsMargins(4, 4, 4, 4);
}

void Card::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
}

StateBadge::StateBadge(int size, QWidget* parent)
    : QWidget(parent)
    , size_(size) {
    setFixedSize(size, size);
}

void StateBadge::setState(HealthState state) {
    state_ = state;
    update();
}

void StateBadge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintStateIcon(painter, state_, size_);
}

KeyCapsView::KeyCapsView(Steps steps, QWidget* parent)
    : QWidget(parent)
    , steps_(std::move(steps)) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void KeyCapsView::setSteps(Steps steps) {
    steps_ = std::move(steps);
    updateGeometry();
    update();
}

int KeyCapsView::capHeight() const {
    return fontMetrics().height() + 8;
}

int KeyCapsView::capWidth(const std::string& label) const {
    return std::max(capHeight(), fontMetrics().horizontalAdvance(qtText(label)) + 14);
}

QSize KeyCapsView::sizeHint() const {
    int width = 0;
    for (const auto& step : steps_) {
        for (const std::string& label : step)
            width += capWidth(label) + kCapGap;
        width += kStepGap - kCapGap;
    }
    return {std::max(0, width - kStepGap), capHeight() + 1};
}

void KeyCapsView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor edge = palette().color(QPalette::Mid);
    double x = 0.5;
    for (const auto& step : steps_) {
        for (const std::string& label : step) {
            const QRectF cap(x, 0.5, capWidth(label) - 1, capHeight() - 1);
            painter.setPen(edge);
            painter.setBrush(edge);
            painter.drawRoundedRect(cap.translated(0, 1), 4, 4); // the cap's lower edge
            painter.setBrush(palette().color(QPalette::Button));
            painter.drawRoundedRect(cap, 4, 4);
            painter.setPen(palette().color(QPalette::Text));
            painter.drawText(cap, Qt::AlignCenter, qtText(label));
            x += capWidth(label) + kCapGap;
        }
        x += kStepGap - kCapGap;
    }
}

DoneMark::DoneMark(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void DoneMark::setDone(bool done) {
    isDone_ = done;
    update();
}

QSize DoneMark::sizeHint() const {
    return {22, 22};
}

void DoneMark::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle = QRectF(2, 2, 18, 18);
    painter.setPen(QPen(palette().color(isDone_ ? QPalette::Highlight : QPalette::Mid), 1.5));
    painter.setBrush(isDone_ ? palette().brush(QPalette::Highlight) : QBrush(Qt::NoBrush));
    painter.drawEllipse(circle);
    if (!isDone_)
        return;
    paintCheckMark(painter, {7, 11.3}, 8);
}

void bringForward(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace varnel
