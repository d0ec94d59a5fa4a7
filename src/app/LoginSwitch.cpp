#include "app/LoginSwitch.h"

#include "app/Look.h"
#include "app/QtText.h"
#include "base/Localized.h"

#include <QCheckBox>
#include <QVBoxLayout>

namespace varnel {

LoginSwitch::LoginSwitch(LaunchAtLogin& login, PreferenceStore& preferences, QWidget* parent)
    : QWidget(parent)
    , login_(login)
    , preferences_(preferences)
    , box_(new QCheckBox(qtText(localized("Start Varnel! at login")), this))
    , state_(makeNote({}, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(box_);
    layout->addWidget(state_);
    setObjectName(QString::fromUtf8(kLaunchAtLoginDesired.data()));
    setFocusProxy(box_);
    connect(box_, &QCheckBox::clicked, this, [this](bool wanted) {
        const auto changed = setLaunchAtLogin(login_, preferences_, wanted);
        read();
        if (!changed)
            state_->setText(qtText(changed.error()));
    });
    read();
}

void LoginSwitch::read() {
    const LaunchAtLoginState state = login_.state();
    box_->setChecked(state.kind == LaunchAtLoginState::Kind::on);
    state_->setText(qtText(describe(state)));
}

void LoginSwitch::showEvent(QShowEvent* event) {
    read();
    QWidget::showEvent(event);
}

} // namespace varnel
