#include "overlay/PanelSurroundings.h"

#include <utility>

namespace varnel {
namespace {

constexpr std::uint64_t kNonactivatingPanel = 1u << 7;
constexpr std::int64_t kStatusWindowLevel = 25;
constexpr std::uint64_t kCanJoinAllSpaces = 1u << 0;
constexpr std::uint64_t kStationary = 1u << 4;
constexpr std::uint64_t kIgnoresCycle = 1u << 6;
constexpr std::uint64_t kFullScreenAuxiliary = 1u << 8;
constexpr std::int64_t kAnimationBehaviorNone = 2;

} // namespace

PanelSurroundings::PanelSurroundings(PanelTable table)
    : table_(std::move(table)) {}

std::optional<std::string> PanelSurroundings::keyLabel(KeyCode code) const {
    std::string text = table_.translateKey(code);
    const bool isVisible = !text.empty() && static_cast<unsigned char>(text[0]) > ' ' && text[0] != 0x7F &&
                           !text.starts_with("\xEF\x9C"); // keys without a character: arrows, function keys
    return isVisible ? std::optional(std::move(text)) : std::nullopt;
}

bool PanelSurroundings::prefersLessMotion() const {
    return table_.accessibilityDisplayShouldReduceMotion();
}

std::optional<DesktopPlace> PanelSurroundings::focusedPlace() {
    const auto [x, y] = table_.mainScreenCenter();
    return DesktopPlace{static_cast<int>(x), static_cast<int>(y), false};
}

void PanelSurroundings::adoptWindow(std::uintptr_t view) {
    table_.setStyleMask(view, table_.styleMask(view) | kNonactivatingPanel);
    table_.setLevel(view, kStatusWindowLevel);
    table_.setCollectionBehavior(view,
                                 kCanJoinAllSpaces | kStationary | kIgnoresCycle | kFullScreenAuxiliary);
    table_.setHidesOnDeactivate(view, false);
    table_.setIgnoresMouseEvents(view, true);
    table_.setAnimationBehavior(view, kAnimationBehaviorNone);
}

} // namespace varnel
