#include "keyboard/SequenceMachine.h"

#include "base/Localized.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

using Position = HotkeyLookupIndex::Position;
using State = SequenceMachine::State;

constexpr std::string_view kEscape = "escape";
constexpr std::string_view kDelete = "delete";

bool isLetter(std::string_view token) {
    return token.size() == 1 && token.front() >= 'a' && token.front() <= 'z';
}

/// While one of these is open every key is held back from the applications.
bool holdsKeyboard(const State& state) {
    return std::holds_alternative<SequenceMachine::Capture>(state) ||
           std::holds_alternative<SequenceMachine::DynamicChoiceState>(state);
}

struct PositionOf {
    const Position& root;
    Position operator()(const SequenceMachine::Idle&) const { return root; }
    Position operator()(const SequenceMachine::DynamicChoiceState& state) const { return state.baseSequence; }
    Position operator()(const auto& state) const { return state.position; }
};
Position positionOf(const State& state, const Position& root) {
    return std::visit(PositionOf{root}, state);
}

struct DeadlineOf {
    using Result = std::optional<TimePoint>;
    Result operator()(const SequenceMachine::Idle&) const { return std::nullopt; }
    Result operator()(const SequenceMachine::FrozenOverlay&) const { return std::nullopt; }
    Result operator()(const auto& state) const { return state.deadline; }
};

const SequenceMachine::DynamicChoiceState* shownChoices(const State& state) {
    if (auto* frozen = std::get_if<SequenceMachine::FrozenOverlay>(&state))
        return frozen->choices ? &*frozen->choices : nullptr;
    return std::get_if<SequenceMachine::DynamicChoiceState>(&state);
}

} // namespace

SequenceMachine::SequenceMachine(SequenceTimings timings, NeedsChoice needsChoice)
    : timings_(std::move(timings))
    , needsChoice_(std::move(needsChoice)) {}

SequenceStep SequenceMachine::setIndex(HotkeyLookupIndex index) {
    SequenceStep step = reset();
    index_ = std::move(index);
    return step;
}

SequenceStep SequenceMachine::handle(std::string_view token, TimePoint now) {
    const bool isOpen =
        !std::holds_alternative<Idle>(state_) && !std::holds_alternative<SelectionFeedback>(state_);
    if (isOpen && token == kEscape)
        return enter(Idle(), KeyDecision::swallow);
    if (auto* capture = std::get_if<Capture>(&state_))
        return handleCapture(*capture, token, now);
    if (auto* pending = std::get_if<PendingPassthrough>(&state_))
        return handlePassthrough(*pending, token, now);
    if (auto* choice = std::get_if<DynamicChoiceState>(&state_))
        return handleChoice(*choice, token, now);
    if (std::holds_alternative<FrozenOverlay>(state_))
        return {};
    return handleIdle(token, now);
}

SequenceStep SequenceMachine::trigger(const Position& position, TimePoint now) {
    const ConfigItem* item = index_.action(position);
    return item ? complete(position, *item, now) : SequenceStep();
}

SequenceStep SequenceMachine::handleIdle(std::string_view token, TimePoint now) {
    const auto position = index_.advance(index_.root(), token);
    if (!position || !leadsAnywhere(*position)) {
        if (std::holds_alternative<Idle>(state_))
            return {};
        return enter(Idle(), KeyDecision::passThrough);
    }
    if (!index_.action(*position) && index_.passesFirstKey(*position))
        return enter(PendingPassthrough{*position, now + timings_.modifierSequenceTimeoutProvider()},
                     KeyDecision::passThrough);
    return proceed(*position, now);
}

SequenceStep SequenceMachine::handleCapture(const Capture& state, std::string_view token, TimePoint now) {
    const auto position = index_.advance(state.position, token);
    if (!position || !leadsAnywhere(*position))
        return invalidInput();
    return proceed(*position, now);
}

SequenceStep SequenceMachine::handlePassthrough(const PendingPassthrough& state, std::string_view token,
                                                TimePoint now) {
    const auto position = continuation(state, token);
    return position ? proceed(*position, now) : handleIdle(token, now);
}

bool SequenceMachine::leadsAnywhere(const Position& position) const {
    return index_.action(position) || index_.isPrefix(position);
}

std::optional<Position> SequenceMachine::continuation(const PendingPassthrough& state,
                                                      std::string_view token) const {
    const auto position = index_.advance(state.position, token);
    const bool continues =
        position && leadsAnywhere(*position) &&
        (index_.allowsAnyContinuation(state.position) || index_.leadsToPassthroughGroup(*position));
    return continues ? position : std::nullopt;
}

std::vector<std::string> SequenceMachine::continuations(const PendingPassthrough& state) const {
    std::vector<std::string> tokens = index_.nextTokens(state.position).sorted();
    std::erase_if(tokens, [&](const std::string& token) { return !continuation(state, token); });
    return tokens;
}

/// The key belongs to a trigger: runs it or waits for the next step.
SequenceStep SequenceMachine::proceed(const Position& position, TimePoint now) {
    if (const ConfigItem* item = index_.action(position))
        return complete(position, *item, now);
    SequenceStep step = enter(Capture{position, std::nullopt}, KeyDecision::swallow);
    return hold(std::move(step), position, std::get<Capture>(state_), now);
}

SequenceStep SequenceMachine::complete(const Position& position, const ConfigItem& item, TimePoint now) {
    if (!item.action) {
        SequenceStep step = enter(Idle(), KeyDecision::swallow);
        step.message = localized("No handler found for action: %1", {item.name});
        return step;
    }
    if (needsChoice_ && needsChoice_(item)) {
        DynamicChoiceState choice;
        choice.id = ++lastChoiceRequest_;
        choice.item = &item;
        choice.baseSequence = position;
        choice.deadline = now + kChoiceLoadingLimit;
        SequenceStep step = enter(std::move(choice), KeyDecision::swallow);
        step.suppression = SequenceStep::Suppression::begin;
        step.suppressFor = kChoiceLoadingLimit;
        step.choicesWanted = &item;
        step.choiceRequest = lastChoiceRequest_;
        return step;
    }
    SequenceStep step =
        enter(SelectionFeedback{position, now + timings_.selectionFeedbackDurationProvider(), std::nullopt},
              KeyDecision::swallow);
    step.completed = &item;
    return step;
}

SequenceStep SequenceMachine::handleChoice(DynamicChoiceState& state, std::string_view token, TimePoint now) {
    if (token == kDelete) {
        if (!state.input.empty())
            state.input.pop_back();
        return acceptChoiceKey(state, now);
    }
    if (!isLetter(token))
        return invalidInput();
    state.input += token;
    return state.isLoading ? acceptChoiceKey(state, now) : showChoices(state, now);
}

/// The input has changed and can still become a label.
SequenceStep SequenceMachine::acceptChoiceKey(DynamicChoiceState& state, TimePoint now) {
    SequenceStep step;
    step.decision = KeyDecision::swallow;
    step.changed = true;
    return state.isLoading ? step : hold(std::move(step), state.baseSequence, state, now);
}

/// Compares the input with the labels. What was typed ahead may go on beyond one: that one was complete
/// first.
SequenceStep SequenceMachine::showChoices(DynamicChoiceState& state, TimePoint now) {
    for (const LabeledChoice& labeled : state.labeledChoices)
        if (state.input.starts_with(labeled.label))
            return take(labeled, now);
    const bool canBecomeLabel = std::ranges::any_of(
        state.labeledChoices, [&](const LabeledChoice& c) { return c.label.starts_with(state.input); });
    if (canBecomeLabel)
        return acceptChoiceKey(state, now);
    state.input.pop_back();
    return invalidInput();
}

SequenceStep SequenceMachine::choicesResolved(std::uint64_t choiceRequest,
                                              std::expected<DynamicChoiceList, std::string> answer,
                                              TimePoint now) {
    auto* state = std::get_if<DynamicChoiceState>(&state_);
    if (!state || !state->isLoading || state->id != choiceRequest)
        return {};
    if (!answer || answer->choices.empty()) {
        std::string message = answer ? localized("No choices for: %1", {state->item->name}) : answer.error();
        SequenceStep step = enter(Idle(), KeyDecision::swallow);
        step.message = std::move(message);
        return step;
    }
    state->isLoading = false;
    state->title = std::move(answer->title);
    state->labeledChoices = labeled(std::move(answer->choices), *state->item);
    if (state->labeledChoices.size() == 1)
        return take(state->labeledChoices.front(), now);
    return showChoices(*state, now);
}

SequenceStep SequenceMachine::take(const LabeledChoice& choice, TimePoint now) {
    const auto& open = std::get<DynamicChoiceState>(state_);
    const ConfigItem* item = open.item;
    SelectionFeedback feedback{open.baseSequence, now + timings_.selectionFeedbackDurationProvider(), choice};
    SequenceStep step = enter(std::move(feedback), KeyDecision::swallow);
    step.completed = item;
    step.choice = std::get<SelectionFeedback>(state_).choice->choice;
    return step;
}

/// A key that continues nothing: it never reaches the application unless the hints stay open.
SequenceStep SequenceMachine::invalidInput() {
    auto* choice = std::get_if<DynamicChoiceState>(&state_);
    const bool hasHints = !choice || !choice->isLoading;
    const Position position = positionOf(state_, index_.root());
    SequenceStep step;
    if (!hasHints || !timings_.keepsHintsOpenAfterInvalidInputProvider()) {
        step = enter(Idle(), KeyDecision::swallow);
    } else {
        FrozenOverlay frozen{position, std::nullopt};
        if (choice)
            frozen.choices = std::move(*choice);
        step = enter(std::move(frozen), KeyDecision::passThrough);
    }
    step.refusedAt = position;
    return step;
}

SequenceStep SequenceMachine::enter(State state, KeyDecision decision) {
    SequenceStep step;
    step.decision = decision;
    step.changed = true;
    if (holdsKeyboard(state_) && !holdsKeyboard(state))
        step.suppression = SequenceStep::Suppression::end;
    state_ = std::move(state);
    return step;
}

/// Restarts the step timer of an open sequence and holds the keyboard as long. Without a step time-out it is
/// held until the sequence ends, if only because nobody types.
template <class OpenState>
SequenceStep SequenceMachine::hold(SequenceStep step, const Position& position, OpenState& state,
                                   TimePoint now) const {
    std::optional<Duration> timeout = stepTimeoutAt(position);
    step.suppression = SequenceStep::Suppression::begin;
    step.suppressFor = timeout;
    state.waitsWithoutEnd = !timeout;
    if (!timeout && timings_.unattendedLimitProvider)
        timeout = timings_.unattendedLimitProvider();
    state.deadline = timeout ? std::optional(now + *timeout) : std::nullopt;
    return step;
}

std::optional<Duration> SequenceMachine::stepTimeoutAt(const Position& position) const {
    const bool isModifierTap =
        index_.depth(position) == 1 && KeyTokenCodec::isModifierOnly(index_.lastToken(position));
    return isModifierTap ? timings_.modifierSequenceTimeoutProvider()
                         : timings_.sequenceStepTimeoutProvider();
}

std::optional<Duration> SequenceMachine::stepTimeout() const {
    return std::holds_alternative<PendingPassthrough>(state_) ? timings_.modifierSequenceTimeoutProvider()
                                                              : stepTimeoutAt(position());
}

std::optional<TimePoint> SequenceMachine::nextDeadline() const {
    return std::visit(DeadlineOf(), state_);
}

SequenceStep SequenceMachine::expire(TimePoint now) {
    const auto deadline = nextDeadline();
    if (!deadline || now < *deadline)
        return {};
    std::optional<std::string> message;
    if (auto* choice = std::get_if<DynamicChoiceState>(&state_); choice && choice->isLoading)
        message = localized("Finding the choices took too long: %1", {choice->item->name});
    if (waitsWithoutEnd())
        message = localized("The open sequence was ended: no key came for a long time");
    SequenceStep step = enter(Idle(), KeyDecision::passThrough);
    step.message = std::move(message);
    return step;
}

bool SequenceMachine::waitsWithoutEnd() const {
    if (const auto* capture = std::get_if<Capture>(&state_))
        return capture->waitsWithoutEnd;
    const auto* choice = std::get_if<DynamicChoiceState>(&state_);
    return choice && choice->waitsWithoutEnd;
}

SequenceStep SequenceMachine::keepOpen(TimePoint now) {
    if (auto* capture = std::get_if<Capture>(&state_)) {
        SequenceStep step;
        step.decision = KeyDecision::swallow;
        step.changed = true;
        return hold(std::move(step), capture->position, *capture, now);
    }
    if (auto* choice = std::get_if<DynamicChoiceState>(&state_))
        return acceptChoiceKey(*choice, now);
    return {};
}

SequenceStep SequenceMachine::reset() {
    return std::holds_alternative<Idle>(state_) ? SequenceStep() : enter(Idle(), KeyDecision::passThrough);
}

Interaction SequenceMachine::interaction() const {
    constexpr Interaction kByAlternative[] = {
        Interaction::idle,          Interaction::capture,           Interaction::pendingPassthrough,
        Interaction::dynamicChoice, Interaction::selectionFeedback, Interaction::frozenOverlay};
    static_assert(std::size(kByAlternative) == std::variant_size_v<State>);
    return kByAlternative[state_.index()];
}

std::vector<std::string> SequenceMachine::sequence() const {
    return index_.tokens(position());
}

HotkeyLookupIndex::Position SequenceMachine::position() const {
    return positionOf(state_, index_.root());
}

std::vector<std::string> SequenceMachine::hintOptions() const {
    if (std::holds_alternative<Idle>(state_) || std::holds_alternative<SelectionFeedback>(state_))
        return {};
    const DynamicChoiceState* choices = shownChoices(state_);
    if (!choices)
        return index_.nextTokens(positionOf(state_, index_.root())).sorted();
    std::vector<std::string> labels;
    labels.reserve(choices->labeledChoices.size());
    for (const LabeledChoice& labeled : choices->labeledChoices)
        labels.push_back(labeled.label);
    std::ranges::sort(labels);
    return labels;
}

} // namespace varnel
