#include "app/AboutWindow.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QVBoxLayout>

namespace varnel {

AboutWindow::AboutWindow(const Facts& facts) {
    setWindowTitle(qtText(localized("About Varnel!")));
    auto* badge = new StateBadge(64, this);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(6);
    texts->addWidget(makeHeading(QStringLiteral("Varnel!")));
    texts->addWidget(makeNote(qtText(localized("Version %1", {facts.version}))));
    texts->addSpacing(8);
    texts->addWidget(makeParagraph(qtText(localized("Key sequences for the whole desktop."))));
    texts->addSpacing(8);
    texts->addWidget(makeNote(qtText(localized("Configuration: %1", {facts.configPath}))));
    texts->addWidget(makeNote(qtText(localized("Preferences: %1", {facts.preferencesPath}))));
    texts->addWidget(makeNote(qtText(localized("Free software under the MIT licence."))));
    texts->addStretch(1);
    auto* row = new QHBoxLayout;
    row->setSpacing(20);
    row->addWidget(badge, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    auto* close = makeMainButton(qtText(localized("Close")), this);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 20);
    layout->setSpacing(20);
    layout->addLayout(row);
    layout->addWidget(close, 0, Qt::AlignRight);
    const int width = fontMetrics().averageCharWidth() * 70;
    setMinimumWidth(width);
    resize(width, layout->totalHeightForWidth(width));
}

void AboutWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace varnel
