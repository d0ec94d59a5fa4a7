#pragma once

#include "base/TimePoint.h"
#include "keyboard/DynamicChoices.h"
#include "keyboard/HintState.h"
#include "keyboard/HotkeyLookupIndex.h"
#include "keyboard/TimingPreferences.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace varnel {

/// An answer that takes longer is not waited for.
inline constexpr Duration kChoiceLoadingLimit = 10s;

enum class KeyDecision { passThrough, swallow };

/// What a step of the rules asks of the owner.
struct SequenceStep {
    KeyDecision decision = KeyDecision::passThrough;
    bool changed = false; ///< state, sequence or hints differ from before

    enum class Suppression {
        unchanged,
        begin, ///< swallow every key for `suppressFor`, or without end
        end,
    } suppression = Suppression::unchanged;
    std::optional<Duration> suppressFor;

    /// The action item to run, with `choice` when the user picked one. Valid as long as the index's items.
    const ConfigItem* completed = nullptr;
    std::optional<DynamicChoice> choice;
    /// The item whose choices are to be looked for; `choicesResolved` brings the answer, with this number.
    const ConfigItem* choicesWanted = nullptr;
    std::uint64_t choiceRequest = 0;
    std::optional<std::string> message; ///< for the status
    /// The key continued nothing of the sequence that was open here.
    std::optional<HotkeyLookupIndex::Position> refusedAt;
};

/// Decides, key by key, whether what is typed belongs to a trigger.
/// Reads no clock and owns no timer: callers pass the time of each event and call `expire` once
/// `nextDeadline` has come, before any event of that time. Main thread only.
class SequenceMachine {
public:
    using NeedsChoice = std::function<bool(const ConfigItem&)>;

    /// `needsChoice` tells which items ask the user before they run.
    explicit SequenceMachine(SequenceTimings timings, NeedsChoice needsChoice = {});

    /// Ends any interaction and goes on with another index.
    SequenceStep setIndex(HotkeyLookupIndex index);
    [[nodiscard]] const HotkeyLookupIndex& index() const { return index_; }

    /// Answers before the event's callback returns. Allocates nothing for a token that matches nothing.
    [[nodiscard]] SequenceStep handle(std::string_view token, TimePoint now);
    /// Runs the action at `position` as if the rest of its trigger had been typed.
    SequenceStep trigger(const HotkeyLookupIndex::Position& position, TimePoint now);
    [[nodiscard]] std::optional<TimePoint> nextDeadline() const;
    /// Nothing before the deadline: a late call can't end a younger interaction.
    SequenceStep expire(TimePoint now);
    /// Restarts the step timer of an open sequence, as an accepted key does.
    SequenceStep keepOpen(TimePoint now);
    /// How long the open sequence waits for its next token; none: without end.
    [[nodiscard]] std::optional<Duration> stepTimeout() const;
    /// The open sequence has no step time-out: its deadline, if any, only ends it when nobody types.
    [[nodiscard]] bool waitsWithoutEnd() const;
    /// Ends any interaction.
    SequenceStep reset();
    /// The answer for `choicesWanted`; nothing when the interaction that asked is over.
    SequenceStep choicesResolved(std::uint64_t choiceRequest,
                                 std::expected<DynamicChoiceList, std::string> answer, TimePoint now);

    [[nodiscard]] Interaction interaction() const;
    /// Tokens typed so far; the completed ones in `selectionFeedback`.
    [[nodiscard]] std::vector<std::string> sequence() const;
    /// The place of these tokens in the index; the root when there are none.
    [[nodiscard]] HotkeyLookupIndex::Position position() const;
    /// Next tokens of the open sequence or, where choices are on show, their labels; sorted.
    [[nodiscard]] std::vector<std::string> hintOptions() const;

    // idle → capture → selectionFeedback → idle
    // idle → pendingPassthrough → capture, selectionFeedback or idle
    // capture, pendingPassthrough, idle → dynamicChoice → selectionFeedback
    // capture, dynamicChoice → frozenOverlay → idle ("escape")
    // everything → idle
    struct Idle {};
    struct Capture {
        HotkeyLookupIndex::Position position;
        std::optional<TimePoint> deadline;
        bool waitsWithoutEnd =
            false; ///< no step time-out: the deadline, if any, only ends what nobody attends
    };
    struct PendingPassthrough {
        HotkeyLookupIndex::Position position;
        TimePoint deadline;
    };
    struct DynamicChoiceState {
        std::uint64_t id = 0;
        const ConfigItem* item = nullptr;
        HotkeyLookupIndex::Position baseSequence;
        std::optional<TimePoint> deadline;
        bool waitsWithoutEnd = false; ///< as in `Capture`
        bool isLoading = true;
        std::optional<std::string> title;
        std::vector<LabeledChoice> labeledChoices;
        std::string input; ///< may be typed ahead while loading
    };
    struct SelectionFeedback {
        HotkeyLookupIndex::Position position;
        TimePoint deadline;
        std::optional<LabeledChoice> choice;
    };
    struct FrozenOverlay {
        HotkeyLookupIndex::Position position;
        std::optional<DynamicChoiceState> choices; ///< when choices were on show
    };
    using State =
        std::variant<Idle, Capture, PendingPassthrough, DynamicChoiceState, SelectionFeedback, FrozenOverlay>;
    [[nodiscard]] const State& state() const { return state_; }
    /// The tokens with which a sequence whose first key was let through goes on.
    [[nodiscard]] std::vector<std::string> continuations(const PendingPassthrough& state) const;

private:
    /// Something can be typed that begins with, or is, this.
    [[nodiscard]] bool leadsAnywhere(const HotkeyLookupIndex::Position& position) const;
    [[nodiscard]] std::optional<HotkeyLookupIndex::Position> continuation(const PendingPassthrough& state,
                                                                          std::string_view token) const;
    SequenceStep handleIdle(std::string_view token, TimePoint now);
    SequenceStep handleCapture(const Capture& state, std::string_view token, TimePoint now);
    SequenceStep handlePassthrough(const PendingPassthrough& state, std::string_view token, TimePoint now);
    SequenceStep handleChoice(DynamicChoiceState& state, std::string_view token, TimePoint now);
    SequenceStep proceed(const HotkeyLookupIndex::Position& position, TimePoint now);
    SequenceStep complete(const HotkeyLookupIndex::Position& position, const ConfigItem& item, TimePoint now);
    SequenceStep acceptChoiceKey(DynamicChoiceState& state, TimePoint now);
    SequenceStep showChoices(DynamicChoiceState& state, TimePoint now);
    SequenceStep take(const LabeledChoice& choice, TimePoint now);
    SequenceStep invalidInput();
    SequenceStep enter(State state, KeyDecision decision);
    [[nodiscard]] std::optional<Duration> stepTimeoutAt(const HotkeyLookupIndex::Position& position) const;
    template <class OpenState>
    SequenceStep hold(SequenceStep step, const HotkeyLookupIndex::Position& position, OpenState& state,
                      TimePoint now) const;

    SequenceTimings timings_;
    NeedsChoice needsChoice_;
    HotkeyLookupIndex index_;
    State state_;
    std::uint64_t lastChoiceRequest_ = 0;
};

} // namespace varnel
