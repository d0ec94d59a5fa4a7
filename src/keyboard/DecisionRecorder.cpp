#include "keyboard/DecisionRecorder.h"

#include <utility>

namespace varnel {

namespace {

using Kind = Decision::Kind;
using Position = HotkeyLookupIndex::Position;

WallTime systemTime() {
    return std::chrono::time_point_cast<WallTime::duration>(std::chrono::system_clock::now());
}

/// A shortcut, of which no password is made.
bool typesNothing(std::string_view token) {
    return token.starts_with("cmd") || token.starts_with("ctrl");
}

std::chrono::milliseconds milliseconds(Duration duration) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

} // namespace

DecisionRecorder::DecisionRecorder(const SequenceMachine& machine, std::function<WallTime()> wallClock,
                                   std::function<void()> recorded)
    : machine_(machine)
    , wallClock_(wallClock ? std::move(wallClock) : systemTime)
    , recorded_(std::move(recorded)) {}

DecisionRecorder::Before DecisionRecorder::look() const {
    return {machine_.interaction(), machine_.position()};
}

/// A plain key that was let through was typed into an application, like a letter of a password, until the
/// next key tells otherwise.
bool DecisionRecorder::mayBeNamed(const Before& before) const {
    return before.interaction != Interaction::pendingPassthrough ||
           typesNothing(machine_.index().lastToken(before.position));
}

std::optional<Kind> DecisionRecorder::kindOf(const Before& before, std::string_view token,
                                             const SequenceStep& step) const {
    const Interaction now = machine_.interaction();
    if (step.refusedAt && now == Interaction::frozenOverlay)
        return Kind::hintsKept;
    if (step.refusedAt)
        return before.interaction == Interaction::dynamicChoice ? Kind::noSuchChoice : Kind::nothingBound;
    if (step.choicesWanted)
        return Kind::asked;
    if (step.completed)
        return step.choice ? Kind::chose : Kind::ran;
    if (step.message)
        return Kind::noHandler;
    if (!step.changed)
        return std::nullopt;
    if (now == Interaction::capture)
        return machine_.index().depth(machine_.position()) == 1 ? Kind::opened : Kind::continued;
    if (now == Interaction::pendingPassthrough && typesNothing(token))
        return Kind::letThrough;
    const bool isEscape = now == Interaction::idle && step.decision == KeyDecision::swallow;
    return isEscape && mayBeNamed(before) ? std::optional(Kind::cancelled) : std::nullopt;
}

void DecisionRecorder::keyHandled(const Before& before, std::string_view token, const SequenceStep& step) {
    const auto kind = kindOf(before, token, step);
    if (!kind) {
        if (step.decision == KeyDecision::passThrough)
            keyPassed();
        return;
    }
    const bool isFirstKey =
        machine_.index().depth(machine_.position()) == 1 || (*kind == Kind::noHandler && !mayBeNamed(before));
    Decision decision{.kind = *kind, .token = FixedText<40>(token)};
    if (!isFirstKey)
        decision.sequence = spelledOut(before.position);
    if (const ConfigItem* item = step.completed ? step.completed : step.choicesWanted)
        decision.name = FixedText<48>(item->name);
    if (step.message)
        decision.message = FixedText<200>(*step.message);
    record(decision);
}

void DecisionRecorder::expiring() {
    const Before before = look();
    if (before.interaction == Interaction::selectionFeedback || !mayBeNamed(before))
        return;
    Decision decision{.kind = Kind::timedOut, .sequence = spelledOut(before.position)};
    const auto* choice = std::get_if<SequenceMachine::DynamicChoiceState>(&machine_.state());
    if (choice && choice->isLoading) {
        decision.kind = Kind::choicesTooLate;
    } else if (machine_.waitsWithoutEnd()) {
        decision.kind = Kind::unattended;
        decision.limit = milliseconds(kUnattendedSequenceLimit);
    } else {
        decision.limit = milliseconds(machine_.stepTimeout().value_or(Duration::zero()));
    }
    record(decision);
}

void DecisionRecorder::choicesArrived(const Before& before, const SequenceStep& step) {
    if (step.completed) {
        record({.kind = Kind::chose, .name = FixedText<48>(step.completed->name)});
    } else if (step.refusedAt) {
        record({.kind = Kind::nothingToChoose, .sequence = spelledOut(before.position)});
    } else if (step.message) {
        record({.kind = Kind::nothingToChoose,
                .sequence = spelledOut(before.position),
                .message = FixedText<200>(*step.message)});
    }
}

void DecisionRecorder::interrupted() {
    const Before before = look();
    if (before.interaction != Interaction::idle && before.interaction != Interaction::selectionFeedback &&
        mayBeNamed(before))
        record({.kind = Kind::interrupted, .sequence = spelledOut(before.position)});
}

void DecisionRecorder::triggered(const ConfigItem& item) {
    record({.kind = Kind::triggered, .name = FixedText<48>(item.name)});
}

void DecisionRecorder::heldTooLong(std::string_view token, Duration held, Duration limit) {
    const Interaction now = machine_.interaction();
    const bool isOpen = now == Interaction::capture || now == Interaction::pendingPassthrough;
    if (machine_.index().advance(isOpen ? machine_.position() : machine_.index().root(), token))
        record({.kind = Kind::heldTooLong,
                .held = milliseconds(held),
                .limit = milliseconds(limit),
                .token = FixedText<40>(token)});
}

void DecisionRecorder::postedByUs(std::string_view token) {
    if (machine_.index().advance(machine_.index().root(), token))
        record({.kind = Kind::postedByUs, .token = FixedText<40>(token)});
}

void DecisionRecorder::configurationLoaded(std::size_t itemCount) {
    ++configuration_;
    record({.kind = Kind::configurationLoaded, .count = static_cast<std::uint32_t>(itemCount)});
}

void DecisionRecorder::commandFinished(std::string_view name, std::string_view message) {
    record({.kind = Kind::commandFinished, .name = FixedText<48>(name), .message = FixedText<200>(message)});
}

void DecisionRecorder::note(Decision::Kind kind, std::string_view message) {
    record({.kind = kind, .message = FixedText<200>(message)});
}

FixedText<64> DecisionRecorder::spelledOut(const Position& position) const {
    FixedText<64> text;
    machine_.index().forEachToken(position, [&](std::string_view token) {
        if (!text.empty())
            text.append(" ");
        text.append(token);
    });
    return text;
}

void DecisionRecorder::record(Decision decision) {
    decision.time = wallClock_();
    decision.configuration = configuration_;
    log_.record(std::move(decision));
    if (recorded_)
        recorded_();
}

} // namespace varnel
