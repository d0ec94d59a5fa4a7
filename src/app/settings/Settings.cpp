#include "app/settings/Settings.h"

#include "base/Localized.h"
#include "base/MemoryPreferenceStore.h"
#include "keyboard/TimingPreferences.h"
#include "overlay/OverlayPreferences.h"

#include <algorithm>

namespace varnel {

namespace {

constexpr int kMillisecondStep = 50;
constexpr int kProposedLimit = 3000;

#ifdef __APPLE__
constexpr bool kIsMacOS = true;
#else
constexpr bool kIsMacOS = false;
#endif

std::optional<int> inMilliseconds(std::optional<Duration> duration) {
    if (!duration)
        return std::nullopt;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(*duration).count());
}

NumberSetting milliseconds(const MillisecondPreference& preference, std::string title,
                           std::string explanation,
                           std::function<std::optional<Duration>(const PreferenceStore&)> read) {
    return {.key = preference.key,
            .title = std::move(title),
            .explanation = std::move(explanation),
            .unit = localized("ms"),
            .defaultValue = preference.defaultValue,
            .minimum = preference.minimum,
            .maximum = preference.maximum,
            .step = kMillisecondStep,
            .mayBeUnlimited = preference.defaultValue < preference.minimum,
            .inForce = [read = std::move(read)](const PreferenceStore& preferences) {
                return inMilliseconds(read(preferences));
            }};
}

ChoiceSetting choice(const WordPreference& preference, std::string title, std::string explanation,
                     std::vector<std::string> titles) {
    ChoiceSetting setting{preference.key, std::move(title), std::move(explanation), {}};
    for (std::size_t i = 0; i < preference.words.size(); ++i)
        setting.options.push_back({preference.words[i], std::move(titles.at(i))});
    return setting;
}

std::string withUnit(const NumberSetting& setting, long long value) {
    return localized("%1 %2", {std::to_string(value), setting.unit});
}

std::string rangeNote(const NumberSetting& setting) {
    const std::string least = std::to_string(setting.minimum), most = withUnit(setting, setting.maximum);
    if (setting.mayBeUnlimited)
        return localized("From %1 to %2.", {least, most});
    return localized("From %1 to %2; %3 by default.", {least, most, withUnit(setting, setting.defaultValue)});
}

std::string clampedNote(const NumberSetting& setting, long long typed, int inForce) {
    const std::string real = withUnit(setting, inForce);
    if (typed == 0)
        return localized("0 stands for the default: %1 is in force.", {real});
    if (inForce > typed)
        return localized("%1 is in force, the least that is possible.", {real});
    return localized("%1 is in force, the most that is possible.", {real});
}

NumberState stateOf(const NumberSetting& setting, std::optional<long long> stored,
                    std::optional<int> inForce) {
    NumberState state;
    state.value = stored.value_or(setting.defaultValue);
    state.isUnlimited = !inForce;
    state.isClamped = inForce && stored && *stored != *inForce;
    state.note = state.isClamped ? clampedNote(setting, *stored, *inForce) : rangeNote(setting);
    return state;
}

} // namespace

TimingSettings timingSettings() {
    return {
        .tapThreshold = milliseconds(
            kModifierTapThreshold, localized("&Tap / Hold Threshold"),
            localized("A modifier that is released within this time counts as a tap and can open a "
                      "sequence; one that is held longer only modifies other keys."),
            modifierTapThreshold),
        .stepTimeout =
            milliseconds(kSequenceStepTimeout, localized("Time for the &Next Key"),
                         localized("How long an open sequence waits for its next key. Then it ends, and the "
                                   "hints close."),
                         sequenceStepTimeout),
        .modifierTimeout = milliseconds(
            kModifierSequenceStepTimeout, localized("Time After &Modifier Tap"),
            localized("After a single modifier tap, the app waits only this long for the next key. Once the "
                      "timeout passes, the sequence and hints reset even if normal sequences are "
                      "unlimited."),
            modifierSequenceTimeout),
        .keepsHintsOpen = {kKeepHintsOpenAfterInvalidInput, localized("&Keep Hints Open After Invalid Input"),
                           kIsMacOS
                               ? localized("After invalid input, the current hints stay visible and keyboard "
                                           "shortcuts pass through to macOS. Press Esc to close the hints.")
                               : localized("After invalid input, the current hints stay visible and keyboard "
                                           "shortcuts pass through to your applications. Press Esc to close "
                                           "the hints."),
                           false},
        .endsUnattended = {kEndUnattendedSequences, localized("&End Unattended Sequences"),
                           localized("An open sequence holds the keyboard. One that could wait without end "
                                     "is ended when no key has come for %1 seconds, and you are told.",
                                     {std::to_string(kUnattendedSequenceLimit / 1s)}),
                           true},
    };
}

HintSettings hintSettings() {
    const auto readDelay = [](const PreferenceStore& preferences) {
        return std::optional(overlayOptions(preferences).delay);
    };
    return {
        .showsHints = {kOverlayShowsHints, localized("&Show Hints"),
                       localized("Shows which keys may follow while you type a sequence. Without hints, "
                                 "refused keys and messages are still shown."),
                       kOverlayShowsHintsDefault},
        .showsIcons = {kOverlayShowsIcons,
                       localized("Show Application &Icons"),
                       {},
                       kOverlayShowsIconsDefault},
        .delay = milliseconds(kOverlayDelay, localized("&Delay"),
                              localized("How long a sequence is open before its hints appear. Whoever knows "
                                        "the keys is quicker and sees none."),
                              readDelay),
        .textSize = {.key = kOverlayTextSize.key,
                     .title = localized("Te&xt Size"),
                     .explanation = {},
                     .unit = localized("pt"),
                     .defaultValue = kOverlayTextSize.defaultValue,
                     .minimum = kOverlayTextSize.minimum,
                     .maximum = kOverlayTextSize.maximum,
                     .inForce =
                         [](const PreferenceStore& preferences) {
                             return std::optional(overlayOptions(preferences).textSize);
                         }},
        .position = choice(kOverlayPosition, localized("&Position"), {},
                           {localized("Centre of the screen"), localized("Bottom of the screen"),
                            localized("Top of the screen"), localized("Near the pointer")}),
        .theme = choice(kOverlayTheme, localized("&Theme"), localized("Of the hints and of these windows."),
                        {localized("As the system"), localized("Dark"), localized("Light")}),
        .order = choice(kOverlayOrder, localized("&Order"), {},
                        {localized("By key, actions first"), localized("As in the file")}),
        .messages =
            choice(kOverlayMessages, localized("&Messages"),
                   localized("What commands have to say appears for a moment."),
                   {localized("All"), localized("Only what needs your attention"), localized("None")}),
        .motion = choice(kOverlayMotion, localized("&Animation"), {},
                         {localized("As the system"), localized("None")}),
    };
}

NumberState numberState(const NumberSetting& setting, const PreferenceStore& preferences) {
    return stateOf(setting, integerPreference(preferences, setting.key), setting.inForce(preferences));
}

NumberState numberStateWith(const NumberSetting& setting, long long typed) {
    MemoryPreferenceStore preferences;
    (void)storeNumber(setting, preferences, typed);
    return numberState(setting, preferences);
}

int proposedLimit(const NumberSetting& setting) {
    return std::clamp(kProposedLimit, setting.minimum, setting.maximum);
}

std::expected<void, std::string> storeNumber(const NumberSetting& setting, PreferenceStore& preferences,
                                             long long typed) {
    return preferences.setValue(setting.key, JSONValue(static_cast<double>(typed)));
}

std::size_t chosenOption(const ChoiceSetting& setting, const PreferenceStore& preferences) {
    const auto stored = stringPreference(preferences, setting.key);
    for (std::size_t i = 0; stored && i < setting.options.size(); ++i)
        if (setting.options[i].word == *stored)
            return i;
    return 0;
}

std::string withoutMnemonic(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '&' && i + 1 < text.size())
            ++i;
        plain += text[i];
    }
    return plain;
}

} // namespace varnel
