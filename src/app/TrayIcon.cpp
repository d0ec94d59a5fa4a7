#include "app/TrayIcon.h"

#include "runtime/Application.h"

#include <QPainter>
#include <QPainterPath>

namespace varnel {

namespace {

constexpr const char* kSuspensionReason = "tray";

/// A key cap with a V; pale while keys are not captured.
QIcon drawIcon(bool active) {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(active ? 1.0 : 0.45);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(38, 42, 52));
    painter.drawRoundedRect(QRectF(4, 4, 56, 56), 14, 14);
    QPainterPath letter(QPointF(18, 18));
    letter.lineTo(32, 46);
    letter.lineTo(46, 18);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(letter);
    return QIcon(pixmap);
}

} // namespace

TrayIcon::TrayIcon(Application& application)
    : application_(application) {
    state_ = menu_.addAction(QString());
    state_->setEnabled(false);
    menu_.addSeparator();
    suspension_ = menu_.addAction(QString(), [this] { toggleSuspension(); });
    menu_.addAction(QObject::tr("Reload Configuration"), [this] { application_.reload(); });
    menu_.addSeparator();
    menu_.addAction(QObject::tr("Quit Varnel!"), [this] { application_.quit(); });
    icon_.setContextMenu(&menu_);
    status_ = application_.hotkeys().observe(HotkeyManager::Topic::status, [this] { update(); });
    update();
    icon_.show();
}

void TrayIcon::update() {
    const HotkeyManager& hotkeys = application_.hotkeys();
    bool suspended = hotkeys.isSuspended();
    QString line = QString::fromStdString(hotkeys.statusLine());
    QString toolTip = QStringLiteral("Varnel!\n") + line;
    for (const std::string& more : {hotkeys.trouble(), hotkeys.statusMessage()})
        if (!more.empty())
            toolTip += QLatin1Char('\n') + QString::fromStdString(more);
    state_->setText(line);
    suspension_->setText(suspended ? QObject::tr("Resume") : QObject::tr("Suspend"));
    icon_.setIcon(drawIcon(hotkeys.isGlobalOn() && !suspended));
    icon_.setToolTip(toolTip);
}

void TrayIcon::toggleSuspension() {
    HotkeyManager& hotkeys = application_.hotkeys();
    if (!hotkeys.isSuspended())
        return hotkeys.suspend(kSuspensionReason);
    // Whoever asks for keys to be captured again here means it, whatever they were suspended for.
    for (const std::string& reason : std::set<std::string>(hotkeys.suspensionReasons()))
        hotkeys.resume(reason);
}

} // namespace varnel
