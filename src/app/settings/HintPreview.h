#pragma once

#include "base/PreferenceStore.h"
#include "overlay/KeyCaps.h"
#include "overlay/OverlayPreferences.h"

#include <QWidget>

namespace varnel {

/// Invented hints as the preferences would have them drawn, made smaller where there is too little room.
class HintPreview final : public QWidget {
public:
    /// The preferences must outlive the widget.
    HintPreview(PreferenceStore& preferences, KeyNaming naming);
    /// Reads the preferences again.
    void refresh();
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    PreferenceStore& preferences_;
    KeyNaming naming_;
    OverlayOptions options_;
};

} // namespace varnel
