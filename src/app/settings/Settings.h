#pragma once

#include "base/PreferenceStore.h"

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

// Preferences as the settings offer them: plain values, whose texts are the user's. An "&" in a title stands
// before the letter that leads there.

struct SwitchSetting {
    std::string_view key;
    std::string title;
    std::string explanation;
    bool defaultValue = false;
};

/// One of several words.
struct ChoiceSetting {
    struct Option {
        std::string_view word;
        std::string title;
    };
    std::string_view key;
    std::string title;
    std::string explanation;
    std::vector<Option> options; ///< the first is the default
};

/// A whole number.
struct NumberSetting {
    std::string_view key;
    std::string title;
    std::string explanation;
    std::string unit; ///< "ms"
    int defaultValue = 0, minimum = 0, maximum = 0, step = 1;
    bool mayBeUnlimited = false; ///< 0 stands for that
    /// The value that these preferences lead to; none: unlimited.
    std::function<std::optional<int>(const PreferenceStore&)> inForce;
};

/// The setting with all that belongs to it, in the order of the page.
struct TimingSettings {
    NumberSetting tapThreshold, stepTimeout, modifierTimeout;
    SwitchSetting keepsHintsOpen, endsUnattended;
};
TimingSettings timingSettings();

struct HintSettings {
    SwitchSetting showsHints, showsIcons;
    NumberSetting delay, textSize;
    ChoiceSetting position, theme, order, messages, motion;
};
HintSettings hintSettings();

/// How a number is shown.
struct NumberState {
    long long value = 0; ///< what was typed, or the default
    bool isUnlimited = false;
    bool isClamped = false; ///< another value than the typed one is in force
    std::string note;       ///< the range, or what is in force instead
    friend bool operator==(const NumberState&, const NumberState&) = default;
};
NumberState numberState(const NumberSetting& setting, const PreferenceStore& preferences);
/// As it would be with this number stored.
NumberState numberStateWith(const NumberSetting& setting, long long typed);
/// What an unlimited value becomes once it is to have a limit.
int proposedLimit(const NumberSetting& setting);

/// Keeps what was typed as it stands, also out of range. The error is a sentence.
std::expected<void, std::string> storeNumber(const NumberSetting& setting, PreferenceStore& preferences,
                                             long long typed);
/// The index of the option that is in force.
std::size_t chosenOption(const ChoiceSetting& setting, const PreferenceStore& preferences);

/// The text without the marks of its letters: "&Save && Quit" is "Save & Quit".
std::string withoutMnemonic(std::string_view text);

} // namespace varnel
