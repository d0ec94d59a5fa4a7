#include "overlay/OverlayPreferences.h"

#include <algorithm>

namespace varnel {
namespace {

/// The enumerators stand in the order of the words.
template <typename Enum>
Enum word(const PreferenceStore& preferences, const WordPreference& preference) {
    const auto stored = stringPreference(preferences, preference.key);
    const auto found = stored ? std::ranges::find(preference.words, *stored) : preference.words.end();
    return found == preference.words.end() ? Enum{} : static_cast<Enum>(found - preference.words.begin());
}

int number(const PreferenceStore& preferences, const NumberPreference& preference) {
    const long long value = integerPreference(preferences, preference.key).value_or(preference.defaultValue);
    return static_cast<int>(std::clamp<long long>(value, preference.minimum, preference.maximum));
}

} // namespace

OverlayOptions overlayOptions(const PreferenceStore& preferences) {
    OverlayOptions options;
    options.showsHints = booleanPreference(preferences, kOverlayShowsHints, kOverlayShowsHintsDefault);
    options.delay =
        std::chrono::milliseconds(number(preferences, {kOverlayDelay.key, kOverlayDelay.defaultValue,
                                                       kOverlayDelay.minimum, kOverlayDelay.maximum}));
    options.position = word<OverlayPosition>(preferences, kOverlayPosition);
    options.textSize = number(preferences, kOverlayTextSize);
    options.theme = word<OverlayTheme>(preferences, kOverlayTheme);
    options.order = word<OverlayOrder>(preferences, kOverlayOrder);
    options.showsIcons = booleanPreference(preferences, kOverlayShowsIcons, kOverlayShowsIconsDefault);
    options.messages = word<OverlayMessages>(preferences, kOverlayMessages);
    enum class Motion { system, less };
    options.wantsLessMotion = word<Motion>(preferences, kOverlayMotion) == Motion::less;
    return options;
}

} // namespace varnel
