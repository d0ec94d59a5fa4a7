#pragma once

#include "overlay/OverlayPicture.h"
#include "overlay/OverlaySurroundings.h"
#include "overlay/SuggestionOverlayPresenting.h"

#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QScreen;

namespace varnel {

/// The hint window: painted by hand, never focused, never clicked, above everything. Made once and hidden,
/// not deleted.
class SuggestionOverlayWidget final : public QWidget, public SuggestionOverlayPresenting {
public:
    /// `icon` may be empty. The surroundings must outlive the widget.
    SuggestionOverlayWidget(OverlaySurroundings& surroundings, IconSource icon);
    ~SuggestionOverlayWidget() override;

    void prepare(const OverlayAppearance& appearance) override;
    int show(const SuggestionOverlayState& state, const OverlayAppearance& appearance) override;
    void setTimeLeft(double fraction) override;
    void hide() override;
    /// An icon that was missing has come.
    void iconsChanged();

    /// What is on show, or was last.
    [[nodiscard]] const OverlayPicture* picture() const { return picture_.get(); }
    /// Where a row is drawn, in the window's coordinates.
    [[nodiscard]] std::optional<QRect> rowArea(std::size_t row) const;
    [[nodiscard]] bool isDark() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    void adoptBlending();
    void rehearse();
    void appear();
    void layOut(const SuggestionOverlayState& state, const OverlayAppearance& appearance);
    [[nodiscard]] QScreen* chosenScreen(OverlayPosition position);
    void place();
    void shape();
    [[nodiscard]] bool isBlended() const { return testAttribute(Qt::WA_TranslucentBackground); }
    [[nodiscard]] QRect pictureArea() const;

    OverlaySurroundings& surroundings_;
    IconSource icon_;
    OverlayAppearance appearance_;
    std::unique_ptr<OverlayStyle> style_;
    std::unique_ptr<OverlayPicture> picture_;
    double timeLeft_ = 1;
    QPoint pointer_; ///< where it was when the window appeared
    QScreen* screen_ = nullptr;
};

} // namespace varnel
