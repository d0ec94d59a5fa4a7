#include "overlay/WrappedText.h"

#include <QFontMetrics>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace varnel {
namespace {

/// All lines that the text takes at this width.
QStringList brokenAt(int width, const QString& text, const QFont& font) {
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        lines.append(text.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

} // namespace

WrappedText wrapText(const QString& text, const QFont& font, int enoughWidth, int mostWidth, int mostLines) {
    const QFontMetrics metrics(font);
    int tooNarrow = std::min(enoughWidth, mostWidth) - 1;
    int wideEnough = mostWidth;
    WrappedText wrapped{brokenAt(mostWidth, text, font)};
    for (int width = tooNarrow + 1; wideEnough - tooNarrow > 1; width = (tooNarrow + wideEnough) / 2) {
        QStringList lines = brokenAt(width, text, font);
        if (lines.size() <= mostLines) {
            wideEnough = width;
            wrapped.lines = std::move(lines);
        } else {
            tooNarrow = width;
        }
    }
    const auto count = static_cast<int>(wrapped.lines.size());
    if (count > 1 && count <= mostLines && enoughWidth > 1)
        return wrapText(text, font, 1, wideEnough, count); // no last line of a single word
    if (count > mostLines) {
        const QStringList rest = wrapped.lines.mid(mostLines - 1);
        wrapped.lines = wrapped.lines.mid(0, mostLines - 1);
        wrapped.lines.append(metrics.elidedText(rest.join(QLatin1Char(' ')), Qt::ElideRight, mostWidth));
    }
    for (const QString& line : wrapped.lines)
        wrapped.width = std::max(wrapped.width, metrics.horizontalAdvance(line));
    return wrapped;
}

} // namespace varnel
