#pragma once

#include <QFont>
#include <QFontMetrics>
#include <QStaticText>

#include <string>
#include <unordered_map>

class QPainter;

namespace varnel {

/// Short texts in one font, each on one line. Finding out which glyphs stand where takes longer than painting
/// them, and the same names and key labels come again and again: what was found out is kept.
class TextRuns {
public:
    explicit TextRuns(const QFont& font)
        : font_(font)
        , metrics_(font) {}

    [[nodiscard]] int width(const std::string& text) const;
    /// Paints from `x` to the right in the painter's pen, around the height `middle`; shortened where it does
    /// not fit into `space`.
    void paint(QPainter& painter, double x, double middle, const std::string& text, int space) const;

private:
    struct Run {
        QStaticText text;
        int width = 0;
        double ascent = 0; ///< from the upper edge to the line that letters stand on
    };
    const Run& run(const std::string& text) const;

    QFont font_;
    QFontMetrics metrics_;
    mutable std::unordered_map<std::string, Run> runs_;
};

} // namespace varnel
