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
    const Interaction interaction = machine_.interaction();
    return {interaction, interaction == Interaction::idle ? Position() : machine_.position()};
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
    if (now == Interaction::capture)
        return machine_.index().depth(machine_.position()) == 1 ? Kind::opened : Kind::continued;
    if (now == Interaction::pendingPassthrough && typesNothing(token))
        return Kind::letThrough;
    const bool isEscape = now == Interaction::idle && step.decision == KeyDecision::swallow;
    return isEscape && mayBeNamed(before) ? std::optional(Kind::cancelled) : std::nullopt;
}

void DecisionRecorder::sequenceChanged(const Before& before, std::string_view token,
                                       const SequenceStep& step) {
    const auto kind = kindOf(before, token, step);
    if (!kind) {
        if (step.decision == KeyDecision::passThrough)
            keyPassed();
        return;
    }
    Decision& decision = add(*kind);
    decision.token.append(token);
    const bool isFirstKey =
        machine_.index().depth(machine_.position()) == 1 || (*kind == Kind::noHandler && !mayBeNamed(before));
    if (!isFirstKey)
        spellOut(decision, before.position);
    if (const ConfigItem* item = step.completed ? step.completed : step.choicesWanted)
        decision.name.append(item->name);
    if (step.message)
        decision.message.append(*step.message);
    recorded();
}

void DecisionRecorder::expiring() {
    const Before before = look();
    if (before.interaction == Interaction::selectionFeedback || !mayBeNamed(before))
        return;
    const auto* choice = std::get_if<SequenceMachine::DynamicChoiceState>(&machine_.state());
    const bool isLoading = choice && choice->isLoading;
    const bool isUnattended = machine_.waitsWithoutEnd();
    Decision& decision = add(isLoading      ? Kind::choicesTooLate
                             : isUnattended ? Kind::unattended
                                            : Kind::timedOut);
    spellOut(decision, before.position);
    if (!isLoading)
        decision.limit = milliseconds(isUnattended ? kUnattendedSequenceLimit
                                                   : machine_.stepTimeout().value_or(Duration::zero()));
    recorded();
}

void DecisionRecorder::choicesArrived(const Before& before, const SequenceStep& step) {
    if (!step.completed && !step.refusedAt && !step.message)
        return;
    Decision& decision = add(step.completed ? Kind::chose : Kind::nothingToChoose);
    if (step.completed)
        decision.name.append(step.completed->name);
    else
        spellOut(decision, before.position);
    if (step.message)
        decision.message.append(*step.message);
    recorded();
}

void DecisionRecorder::interrupted() {
    const Before before = look();
    if (before.interaction == Interaction::idle || before.interaction == Interaction::selectionFeedback ||
        !mayBeNamed(before))
        return;
    spellOut(add(Kind::interrupted), before.position);
    recorded();
}

void DecisionRecorder::triggered(const ConfigItem& item) {
    add(Kind::triggered).name.append(item.name);
    recorded();
}

void DecisionRecorder::heldTooLong(std::string_view token, Duration held, Duration limit) {
    const Interaction now = machine_.interaction();
    const bool isOpen = now == Interaction::capture || now == Interaction::pendingPassthrough;
    if (!machine_.index().advance(isOpen ? machine_.position() : machine_.index().root(), token))
        return;
    Decision& decision = add(Kind::heldTooLong);
    decision.token.append(token);
    decision.held = milliseconds(held);
    decision.limit = milliseconds(limit);
    recorded();
}

void DecisionRecorder::postedByUs(std::string_view token) {
    if (!machine_.index().advance(machine_.index().root(), token))
        return;
    add(Kind::postedByUs).token.append(token);
    recorded();
}

void DecisionRecorder::configurationLoaded(std::size_t itemCount) {
    ++configuration_;
    add(Kind::configurationLoaded).count = static_cast<std::uint32_t>(itemCount);
    recorded();
}

void DecisionRecorder::commandFinished(std::string_view name, std::string_view message) {
    Decision& decision = add(Kind::commandFinished);
    decision.name.append(name);
    decision.message.append(message);
    recorded();
}

void DecisionRecorder::note(Decision::Kind kind, std::string_view message) {
    add(kind).message.append(message);
    recorded();
}

Decision& DecisionRecorder::add(Kind kind) {
    Decision& decision = log_.add(kind);
    decision.time = wallClock_();
    decision.configuration = configuration_;
    return decision;
}

void DecisionRecorder::spellOut(Decision& decision, const Position& position) const {
    machine_.index().forEachToken(position, [&decision](std::string_view token) {
        if (!decision.sequence.empty())
            decision.sequence.append(" ");
        decision.sequence.append(token);
    });
}

void DecisionRecorder::recorded() const {
    if (recorded_)
        recorded_();
}

} // namespace varnel
