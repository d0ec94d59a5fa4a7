#include "overlay/TextRuns.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace varnel {
namespace {

/// More than most configurations show; choices could bring new texts for ever.
constexpr std::size_t kMostRuns = 1000;

/// Letters that come from another font may be taller than this one's.
double ascentOf(const QString& text, const QFont& font) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return line.isValid() ? line.ascent() : 0;
}

} // namespace

int TextRuns::width(const std::string& text) const {
    return run(text).width;
}

void TextRuns::paint(QPainter& painter, double x, double middle, const std::string& text, int space) const {
    const Run& known = run(text);
    const QPointF start(x, std::round(middle - metrics_.height() / 2.0) + metrics_.ascent());
    painter.setFont(font_);
    if (known.width <= space)
        return painter.drawStaticText(start - QPointF(0, known.ascent), known.text);
    const QString shortened = metrics_.elidedText(QString::fromStdString(text), Qt::ElideRight, space);
    painter.drawText(start, shortened);
}

const TextRuns::Run& TextRuns::run(const std::string& text) const {
    if (runs_.size() >= kMostRuns)
        runs_.clear();
    const auto [entry, isNew] = runs_.try_emplace(text);
    if (isNew) {
        const bool isASCII =
            std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        const QString whole = QString::fromStdString(text);
        entry->second.ascent = isASCII ? metrics_.ascent() : ascentOf(whole, font_);
        QStaticText& glyphs = entry->second.text;
        glyphs.setTextFormat(Qt::PlainText);
        glyphs.setText(whole);
        glyphs.prepare(QTransform(), font_);
        entry->second.width = static_cast<int>(std::lround(glyphs.size().width()));
    }
    return entry->second;
}

} // namespace varnel
