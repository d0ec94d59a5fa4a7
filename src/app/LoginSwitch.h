#pragma once

#include "base/PreferenceStore.h"
#include "runtime/LaunchAtLogin.h"

#include <QWidget>

class QCheckBox;
class QLabel;

namespace varnel {

/// The check box for launch at login, with what will really happen below it: the user may have changed it
/// elsewhere, so it is read again whenever this is shown.
class LoginSwitch : public QWidget {
public:
    /// Both must outlive the switch.
    LoginSwitch(LaunchAtLogin& login, PreferenceStore& preferences, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void read();

    LaunchAtLogin& login_;
    PreferenceStore& preferences_;
    QCheckBox* box_;
    QLabel* state_;
};

} // namespace varnel
