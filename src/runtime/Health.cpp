#include "runtime/Health.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>

namespace varnel {

namespace {

std::string listeningSentence(const HealthFacts& facts) {
    if (facts.isSafe)
        return localized("Safe start: listening for the built-in shortcuts only.");
    if (facts.actionCount == 0)
        return localized("Listening, but the configuration has no shortcuts yet.");
    if (facts.actionCount == 1)
        return localized("Listening for 1 shortcut.");
    return localized("Listening for %1 shortcuts.", {std::to_string(facts.actionCount)});
}

std::string attentionSentence(const Problem& problem) {
    switch (problem.kind) {
    case Problem::Kind::configuration:
        return localized("Listening with the earlier shortcuts: the configuration has an error.");
    case Problem::Kind::capability:
        return localized("Listening, but a capability cannot run.");
    case Problem::Kind::capture:
        break;
    }
    return localized("Listening, but %1.", {problem.text});
}

std::string pausedSentence(const HealthFacts& facts) {
    const auto& reasons = facts.suspensionReasons;
    if (reasons.contains(kLockedReason))
        return localized("Not listening while the screen is locked.");
    if (reasons.contains(kPanicReason))
        return localized("Paused by the panic keys until you resume.");
    if (reasons.contains(kPauseReason)) {
        if (facts.pauseLeft)
            return localized("Paused for another %1.", {remainingTime(*facts.pauseLeft)});
        return localized("Paused until you resume.");
    }
    std::string list;
    for (const std::string& reason : reasons)
        list += (list.empty() ? "" : ", ") + singleLine(reason, 60);
    return localized("Paused: %1.", {list});
}

} // namespace

std::string_view name(HealthState state) {
    switch (state) {
    case HealthState::listening:
        return "listening";
    case HealthState::paused:
        return "paused";
    case HealthState::attention:
        return "attention";
    case HealthState::notCapturing:
        break;
    }
    return "notCapturing";
}

Health assessHealth(const HealthFacts& facts) {
    Health health;
    health.problems = facts.problems;
    if (!facts.isCapturing) {
        health.state = HealthState::notCapturing;
        health.sentence = facts.captureError.empty()
                              ? localized("Keys are not captured.")
                              : localized("Keys are not captured: %1", {facts.captureError});
    } else if (!facts.suspensionReasons.empty()) {
        health.state = HealthState::paused;
        health.sentence = pausedSentence(facts);
    } else if (!facts.problems.empty()) {
        health.state = HealthState::attention;
        health.sentence = attentionSentence(facts.problems.front());
    } else {
        health.state = HealthState::listening;
        health.sentence = listeningSentence(facts);
    }
    return health;
}

std::string problemLine(const Problem& problem) {
    if (problem.kind != Problem::Kind::configuration || problem.place.empty())
        return problem.text; // names what it is about
    return lastPathComponent(problem.place) + ": " + problem.text;
}

std::string remainingTime(Duration left) {
    const auto seconds = std::max<long long>(1, std::chrono::ceil<std::chrono::seconds>(left).count());
    if (seconds == 1)
        return localized("1 second");
    if (seconds < 60)
        return localized("%1 seconds", {std::to_string(seconds)});
    const long long minutes = (seconds + 59) / 60;
    return minutes == 1 ? localized("1 minute") : localized("%1 minutes", {std::to_string(minutes)});
}

} // namespace varnel
