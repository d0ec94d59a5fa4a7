#pragma once

#include <QFont>
#include <QStringList>

namespace varnel {

/// A text on a few lines.
struct WrappedText {
    QStringList lines;
    int width = 0; ///< of the longest line
};
/// Breaks the text into `mostLines` at most, none wider than `mostWidth`, into as few as fit a width of
/// `enoughWidth`, or else a larger one. Lines are about equally long. What does not fit at all is cut.
WrappedText wrapText(const QString& text, const QFont& font, int enoughWidth, int mostWidth, int mostLines);

} // namespace varnel
