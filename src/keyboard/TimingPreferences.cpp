#include "keyboard/TimingPreferences.h"

#include <algorithm>

namespace varnel {
namespace {

long long storedMilliseconds(const PreferenceStore& preferences, const MillisecondPreference& preference) {
    return integerPreference(preferences, preference.key).value_or(0);
}

Duration inRange(long long value, const MillisecondPreference& preference) {
    return std::chrono::milliseconds(std::clamp<long long>(value, preference.minimum, preference.maximum));
}

/// 0 is what an absent preference reads as, so it means the default.
Duration inRangeOrDefault(const PreferenceStore& preferences, const MillisecondPreference& preference) {
    const long long value = storedMilliseconds(preferences, preference);
    return inRange(value == 0 ? preference.defaultValue : value, preference);
}

} // namespace

Duration modifierTapThreshold(const PreferenceStore& preferences) {
    return inRangeOrDefault(preferences, kModifierTapThreshold);
}

std::optional<Duration> sequenceStepTimeout(const PreferenceStore& preferences) {
    const long long value = storedMilliseconds(preferences, kSequenceStepTimeout);
    return value < 1 ? std::nullopt : std::optional(inRange(value, kSequenceStepTimeout));
}

Duration modifierSequenceTimeout(const PreferenceStore& preferences) {
    return inRangeOrDefault(preferences, kModifierSequenceStepTimeout);
}

std::optional<Duration> unattendedSequenceLimit(const PreferenceStore& preferences) {
    const bool ends = booleanPreference(preferences, kEndUnattendedSequences, true);
    return ends ? std::optional(kUnattendedSequenceLimit) : std::nullopt;
}

SequenceTimings sequenceTimings(const PreferenceStore& preferences) {
    return {
        .sequenceStepTimeoutProvider = [&preferences] { return sequenceStepTimeout(preferences); },
        .modifierSequenceTimeoutProvider = [&preferences] { return modifierSequenceTimeout(preferences); },
        .selectionFeedbackDurationProvider = [] { return kSelectionFeedbackDuration; },
        .keepsHintsOpenAfterInvalidInputProvider =
            [&preferences] { return booleanPreference(preferences, kKeepHintsOpenAfterInvalidInput, false); },
        .unattendedLimitProvider = [&preferences] { return unattendedSequenceLimit(preferences); },
    };
}

} // namespace varnel
