#include "overlay/OverlayColors.h"

#include <algorithm>
#include <cmath>

namespace varnel {
namespace {

constexpr OverlayColors kDark{
    .background = {30, 32, 38},
    .edge = {66, 70, 80},
    .text = {240, 241, 244},
    .secondary = {166, 171, 183},
    .faint = {142, 147, 158},
    .cap = {52, 56, 66},
    .capEdge = {84, 90, 104},
    .capText = {244, 245, 248},
    .groupText = {139, 190, 255},
    .running = {88, 204, 128},
    .warning = {240, 180, 90},
    .chosen = {37, 99, 190},
    .chosenText = {255, 255, 255},
    .refused = {178, 46, 46},
    .refusedText = {255, 255, 255},
    .bar = {110, 168, 254},
    .barTrack = {48, 51, 60},
};
constexpr OverlayColors kLight{
    .background = {252, 252, 253},
    .edge = {206, 209, 216},
    .text = {28, 30, 36},
    .secondary = {90, 96, 108},
    .faint = {108, 113, 124},
    .cap = {240, 241, 244},
    .capEdge = {196, 200, 208},
    .capText = {28, 30, 36},
    .groupText = {20, 86, 184},
    .running = {22, 140, 68},
    .warning = {146, 82, 4},
    .chosen = {29, 92, 196},
    .chosenText = {255, 255, 255},
    .refused = {190, 38, 38},
    .refusedText = {255, 255, 255},
    .bar = {38, 108, 216},
    .barTrack = {230, 232, 237},
};

double linear(std::uint8_t channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double luminance(OverlayColor color) {
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

} // namespace

const OverlayColors& overlayColors(bool isDark) {
    return isDark ? kDark : kLight;
}

double contrast(OverlayColor a, OverlayColor b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace varnel
