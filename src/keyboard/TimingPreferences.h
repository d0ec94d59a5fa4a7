#pragma once

#include "base/PreferenceStore.h"
#include "base/TimePoint.h"

#include <functional>
#include <optional>
#include <string_view>

namespace varnel {

/// A preference in whole milliseconds: its key, its default and the range that the settings offer.
struct MillisecondPreference {
    std::string_view key;
    int defaultValue;
    int minimum;
    int maximum;
};
inline constexpr MillisecondPreference kModifierTapThreshold{"modifierTapThresholdMilliseconds", 250, 100,
                                                             1000};
/// 0 stands for "Unlimited".
inline constexpr MillisecondPreference kSequenceStepTimeout{"sequenceStepTimeoutMilliseconds", 0, 250, 30000};
inline constexpr MillisecondPreference kModifierSequenceStepTimeout{"modifierSequenceStepTimeoutMilliseconds",
                                                                    1000, 250, 5000};
inline constexpr std::string_view kKeepHintsOpenAfterInvalidInput = "keepHintsOpenAfterInvalidInput";
/// Whether a sequence that may wait without end is ended when no key comes for `kUnattendedSequenceLimit`: it
/// holds the keyboard as long. Boolean, true when absent.
inline constexpr std::string_view kEndUnattendedSequences = "endUnattendedSequences";
inline constexpr Duration kUnattendedSequenceLimit = 30s;
inline constexpr Duration kSelectionFeedbackDuration = 250ms;

/// The values in force, brought into range. Read at each use.
Duration modifierTapThreshold(const PreferenceStore& preferences);
/// None: a sequence waits for its next key without end.
std::optional<Duration> sequenceStepTimeout(const PreferenceStore& preferences);
Duration modifierSequenceTimeout(const PreferenceStore& preferences);
std::optional<Duration> unattendedSequenceLimit(const PreferenceStore& preferences);

/// Where the sequence rules read their times; each is asked at the moment of use.
struct SequenceTimings {
    std::function<std::optional<Duration>()> sequenceStepTimeoutProvider;
    std::function<Duration()> modifierSequenceTimeoutProvider;
    std::function<Duration()> selectionFeedbackDurationProvider;
    std::function<bool()> keepsHintsOpenAfterInvalidInputProvider;
    /// How long a sequence without a step time-out may stay open without a key; none: without end.
    std::function<std::optional<Duration>()> unattendedLimitProvider = {};
};

/// `preferences` must outlive the result.
SequenceTimings sequenceTimings(const PreferenceStore& preferences);

} // namespace varnel
