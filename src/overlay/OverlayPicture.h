#pragma once

#include "overlay/OverlayStyle.h"
#include "overlay/SuggestionOverlayState.h"
#include "overlay/WrappedText.h"

#include <QPixmap>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QPainter;

namespace varnel {

/// Draws application icons; a null pixmap where there is none yet.
using IconSource = std::function<QPixmap(const std::string& applicationPath)>;

/// One state, laid out and ready to be painted.
class OverlayPicture {
public:
    /// The picture is never larger than `space`. `style` must outlive it.
    OverlayPicture(SuggestionOverlayState state, const OverlayStyle& style, OverlaySize space,
                   bool showsIcons);

    [[nodiscard]] const SuggestionOverlayState& state() const { return state_; }
    [[nodiscard]] QSize size() const { return size_; }
    [[nodiscard]] int pages() const { return rows_.pages; }
    /// Where a row stands; nothing when it is on another page.
    [[nodiscard]] std::optional<QRect> rowArea(std::size_t row) const;
    /// Where the time that is left is drawn.
    [[nodiscard]] QRect barArea() const;

    /// Paints everything inside the window's edge, with a painter that smooths edges. `timeLeft` from 1 to 0.
    void paint(QPainter& painter, const OverlayColors& colors, const IconSource& icon, double timeLeft) const;
    /// Of all that, what changes as time goes by.
    void paintBar(QPainter& painter, const OverlayColors& colors, double timeLeft) const;

private:
    using CapLook = KeyCapPainter::Look;
    [[nodiscard]] RowExtent extentOf(const SuggestionRow& row) const;
    [[nodiscard]] int headerWidth() const;
    [[nodiscard]] QString pageMark() const;
    [[nodiscard]] const QFontMetrics& footerMetrics() const;
    [[nodiscard]] WrappedText wrapMessage(int enoughWidth, int mostWidth) const;
    void paintHeader(QPainter& painter, const OverlayColors& colors) const;
    void paintRow(QPainter& painter, const OverlayColors& colors, const IconSource& icon,
                  std::size_t row) const;
    int paintTrailing(QPainter& painter, const OverlayColors& colors, const SuggestionRow& row,
                      const QRect& area) const;
    void paintIcon(QPainter& painter, const OverlayColors& colors, const SuggestionRow& row,
                   const QRect& area, const IconSource& icon) const;
    void paintFooter(QPainter& painter, const OverlayColors& colors) const;
    SuggestionOverlayState state_;
    const OverlayStyle& style_;
    bool hasIcons_ = false;
    bool hasHeader_ = false;
    bool hasFooter_ = false;
    RowLayout rows_;
    int markWidth_ = 0; ///< of the page's number
    WrappedText message_;
    QSize size_;
    QRect header_, body_, footer_;
};

} // namespace varnel
