#pragma once

#include "base/PreferenceStore.h"
#include "keyboard/TimingPreferences.h"

#include <span>
#include <string_view>

namespace varnel {

/// A preference that is one of several words; the first is the default.
struct WordPreference {
    std::string_view key;
    std::span<const std::string_view> words;
};
/// A whole number: its key, its default and the range that the settings offer.
struct NumberPreference {
    std::string_view key;
    int defaultValue;
    int minimum;
    int maximum;
};

namespace overlayWords {
inline constexpr std::string_view kPosition[] = {"center", "bottom", "top", "pointer"};
inline constexpr std::string_view kTheme[] = {"system", "dark", "light"};
inline constexpr std::string_view kOrder[] = {"keys", "file"};
inline constexpr std::string_view kMessages[] = {"all", "noteworthy", "none"};
inline constexpr std::string_view kMotion[] = {"system", "less"};
} // namespace overlayWords

/// Off: no hints are shown, but refused keys and messages still are.
inline constexpr std::string_view kOverlayShowsHints = "overlayShowsHints";
inline constexpr bool kOverlayShowsHintsDefault = true;
/// How long a sequence is open before its hints appear for the first time.
inline constexpr MillisecondPreference kOverlayDelay{"overlayDelayMilliseconds", 0, 0, 5000};
inline constexpr WordPreference kOverlayPosition{"overlayPosition", overlayWords::kPosition};
/// In points; the window grows with it.
inline constexpr NumberPreference kOverlayTextSize{"overlayTextSize", 11, 7, 28};
inline constexpr WordPreference kOverlayTheme{"overlayTheme", overlayWords::kTheme};
/// "keys": actions before groups, each in the natural order of their keys. "file": as they stand in the file.
inline constexpr WordPreference kOverlayOrder{"overlayOrder", overlayWords::kOrder};
inline constexpr std::string_view kOverlayShowsIcons = "overlayShowsApplicationIcons";
inline constexpr bool kOverlayShowsIconsDefault = true;
/// Which messages of commands appear for a moment: "noteworthy" leaves out that something was executed.
inline constexpr WordPreference kOverlayMessages{"overlayMessages", overlayWords::kMessages};
inline constexpr WordPreference kOverlayMotion{"overlayMotion", overlayWords::kMotion};

enum class OverlayPosition : int { center, bottom, top, pointer };
enum class OverlayTheme { system, dark, light };
enum class OverlayOrder { keys, file };
enum class OverlayMessages { all, noteworthy, none };

/// The values in force. What is absent, unknown or of another kind counts as the default; numbers are brought
/// into range.
struct OverlayOptions {
    bool showsHints = kOverlayShowsHintsDefault;
    Duration delay{};
    OverlayPosition position = OverlayPosition::center;
    int textSize = kOverlayTextSize.defaultValue;
    OverlayTheme theme = OverlayTheme::system;
    OverlayOrder order = OverlayOrder::keys;
    bool showsIcons = kOverlayShowsIconsDefault;
    OverlayMessages messages = OverlayMessages::all;
    bool wantsLessMotion = false;
    friend bool operator==(const OverlayOptions&, const OverlayOptions&) = default;
};
OverlayOptions overlayOptions(const PreferenceStore& preferences);

} // namespace varnel
