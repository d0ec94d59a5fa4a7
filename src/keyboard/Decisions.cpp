#include "keyboard/Decisions.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace varnel {

std::string_view decisionName(Decision::Kind kind) {
    constexpr std::string_view kNames[] = {"opened",
                                           "continued",
                                           "letThrough",
                                           "ran",
                                           "asked",
                                           "chose",
                                           "triggered",
                                           "nothingBound",
                                           "noSuchChoice",
                                           "hintsKept",
                                           "cancelled",
                                           "timedOut",
                                           "unattended",
                                           "nothingToChoose",
                                           "choicesTooLate",
                                           "noHandler",
                                           "interrupted",
                                           "heldTooLong",
                                           "postedByUs",
                                           "commandFinished",
                                           "suspended",
                                           "resumed",
                                           "panicKeys",
                                           "captureStarted",
                                           "captureRefused",
                                           "captureStopped",
                                           "keyboardTaken",
                                           "keyboardFree",
                                           "configurationLoaded",
                                           "configurationFailed"};
    static_assert(std::size(kNames) == static_cast<std::size_t>(Decision::Kind::configurationFailed) + 1);
    return kNames[static_cast<std::size_t>(kind)];
}

DecisionLog::DecisionLog() {
    ring_.reserve(kCapacity);
}

Decision& DecisionLog::add(Decision::Kind kind) {
    Decision& decision =
        ring_.size() < kCapacity ? ring_.emplace_back() : ring_[static_cast<std::size_t>(total_ % kCapacity)];
    decision.kind = kind;
    decision.number = ++total_;
    decision.otherKeysBefore = std::exchange(otherKeys_, 0);
    decision.count = 0;
    decision.held = decision.limit = std::chrono::milliseconds(0);
    decision.token.clear();
    decision.sequence.clear();
    decision.name.clear();
    decision.message.clear();
    return decision;
}

std::vector<Decision> DecisionLog::since(std::uint64_t number) const {
    std::vector<Decision> decisions;
    for (auto next = firstAfter(number); next; next = firstAfter(next->number))
        decisions.push_back(*next);
    return decisions;
}

std::optional<Decision> DecisionLog::firstAfter(std::uint64_t number) const {
    const std::uint64_t next = std::max(number, total_ - ring_.size()) + 1;
    return next <= total_ ? std::optional(ring_[(next - 1) % kCapacity]) : std::nullopt;
}

} // namespace varnel
