#pragma once

#include <cstdint>

namespace varnel {

/// An opaque colour.
struct OverlayColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    friend bool operator==(const OverlayColor&, const OverlayColor&) = default;
};

/// The colours of one theme. Every text colour stands out from what it is written on by 4.5 to 1 at least.
struct OverlayColors {
    OverlayColor background;
    OverlayColor edge;
    OverlayColor text;
    OverlayColor secondary; ///< details, messages, counts
    OverlayColor faint;     ///< rows that can't be run, choices ruled out
    OverlayColor cap;       ///< a key's face
    OverlayColor capEdge;
    OverlayColor capText;
    OverlayColor groupText; ///< names of groups and their cap's text
    OverlayColor running;   ///< the mark of running applications
    OverlayColor warning;   ///< why a row can't be run; text
    OverlayColor chosen;    ///< behind the chosen row
    OverlayColor chosenText;
    OverlayColor refused; ///< a refused key's face
    OverlayColor refusedText;
    OverlayColor bar; ///< the time that is left
    OverlayColor barTrack;
};
const OverlayColors& overlayColors(bool isDark);

/// How much two colours differ in lightness, from 1 to 21, as readability is measured on the web.
double contrast(OverlayColor a, OverlayColor b);

} // namespace varnel
