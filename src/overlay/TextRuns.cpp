#include "overlay/TextRuns.h"

#include <QPainter>

#include <cmath>

namespace varnel {
namespace {

/// More than most configurations show; choices could bring new texts for ever.
constexpr std::size_t kMostRuns = 1000;

} // namespace

int TextRuns::width(const std::string& text) const {
    return run(text).width;
}

void TextRuns::paint(QPainter& painter, double x, double middle, const std::string& text, int space) const {
    const QPointF corner(x, std::round(middle - metrics_.height() / 2.0));
    const Run& known = run(text);
    painter.setFont(font_);
    if (known.width <= space)
        return painter.drawStaticText(corner, known.text);
    const QString shortened = metrics_.elidedText(QString::fromStdString(text), Qt::ElideRight, space);
    painter.drawText(corner + QPointF(0, metrics_.ascent()), shortened);
}

const TextRuns::Run& TextRuns::run(const std::string& text) const {
    if (runs_.size() >= kMostRuns)
        runs_.clear();
    const auto [entry, isNew] = runs_.try_emplace(text);
    if (isNew) {
        QStaticText& glyphs = entry->second.text;
        glyphs.setTextFormat(Qt::PlainText);
        glyphs.setText(QString::fromStdString(text));
        glyphs.prepare(QTransform(), font_);
        entry->second.width = static_cast<int>(std::lround(glyphs.size().width()));
    }
    return entry->second;
}

} // namespace varnel
