#include "app/FirstWindow.h"

#include "app/FirstWindowPages.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QStackedWidget>

namespace varnel {

namespace {

constexpr int kMargin = 28;
constexpr int kDot = 8;

} // namespace

FirstWindow::FirstWindow(FirstWindowContext context)
    : wayOut_(new WayOutPage(context))
    , try_(new TryPage(context))
    , done_(new DonePage(context))
    , stack_(new QStackedWidget(this))
    , back_(makeButton(qtText(localized("Back")), this))
    , next_(makeMainButton({}, this)) {
    setWindowTitle(qtText(localized("Welcome to Varnel!")));
    for (QWidget* page : std::initializer_list<QWidget*>{wayOut_, try_, done_})
        stack_->addWidget(page);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    buttons->addWidget(back_);
    buttons->addWidget(next_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, 20);
    layout->setSpacing(20);
    layout->addWidget(stack_, 1);
    layout->addLayout(buttons);
    connect(back_, &QPushButton::clicked, this, [this] { showStep(stack_->currentIndex() - 1); });
    connect(next_, &QPushButton::clicked, this, [this] {
        if (stack_->currentIndex() + 1 < stack_->count())
            showStep(stack_->currentIndex() + 1);
        else
            close();
    });
    setFixedWidth(fontMetrics().averageCharWidth() * 94);
    showStep(0);
    // The hints, in the middle of the screen, leave what is to be tried in sight.
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QSize size = sizeHint();
    move(screen.left() + screen.width() / 25,
         screen.top() + std::max(0, (screen.height() - size.height()) / 3));
}

void FirstWindow::setState(const ShellState& state) {
    wayOut_->setState(state);
}

void FirstWindow::showStep(int step) {
    stack_->setCurrentIndex(step);
    back_->setVisible(step > 0);
    next_->setText(qtText(step + 1 < stack_->count() ? localized("Continue") : localized("Done")));
    next_->setFocus();
    update();
}

void FirstWindow::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // One dot a step, level with the buttons.
    const int y = next_->geometry().center().y() - kDot / 2;
    for (int step = 0; step < stack_->count(); ++step) {
        painter.setBrush(
            palette().color(step == stack_->currentIndex() ? QPalette::Highlight : QPalette::Mid));
        painter.drawEllipse(kMargin + step * 2 * kDot, y, kDot, kDot);
    }
}

} // namespace varnel
