#pragma once

#include "keyboard/Decisions.h"
#include "keyboard/SequenceMachine.h"

#include <functional>
#include <optional>
#include <string_view>

namespace varnel {

/// Writes down what the rules of sequences decide, from how they stood before and after each step. Of a key
/// that belongs to no sequence it writes down nothing but one more such key; neither does a plain first key
/// that was let through become known unless its sequence goes on. Main thread.
class DecisionRecorder {
public:
    /// `machine` must outlive the recorder. `recorded` is called after each decision.
    DecisionRecorder(const SequenceMachine& machine, std::function<WallTime()> wallClock,
                     std::function<void()> recorded);

    /// How things stand before a step of the machine.
    struct Before {
        Interaction interaction;
        HotkeyLookupIndex::Position position;
    };
    [[nodiscard]] Before look() const;

    void keyHandled(const Before& before, std::string_view token, const SequenceStep& step) {
        if (step.changed)
            sequenceChanged(before, token, step);
        else if (step.decision == KeyDecision::passThrough)
            keyPassed();
    }
    void keyPassed() { log_.countOtherKey(); }
    /// Before the machine's deadline ends what is open.
    void expiring();
    void choicesArrived(const Before& before, const SequenceStep& step);
    /// Before the machine is reset or gets another index.
    void interrupted();
    void triggered(const ConfigItem& item);
    /// The modifier or key would have meant something had it not been held too long, or posted by us.
    void heldTooLong(std::string_view token, Duration held, Duration limit);
    void postedByUs(std::string_view token);
    void configurationLoaded(std::size_t itemCount);
    void commandFinished(std::string_view name, std::string_view message);
    /// A decision that is told by its kind and `message`.
    void note(Decision::Kind kind, std::string_view message = {});

    [[nodiscard]] const DecisionLog& log() const { return log_; }
    /// Which configuration is in force, as in `Decision::configuration`.
    [[nodiscard]] std::uint32_t configuration() const { return configuration_; }

private:
    [[nodiscard]] std::optional<Decision::Kind> kindOf(const Before& before, std::string_view token,
                                                       const SequenceStep& step) const;
    [[nodiscard]] bool mayBeNamed(const Before& before) const;
    void sequenceChanged(const Before& before, std::string_view token, const SequenceStep& step);
    Decision& add(Decision::Kind kind);
    void spellOut(Decision& decision, const HotkeyLookupIndex::Position& position) const;
    void recorded() const;

    const SequenceMachine& machine_;
    std::function<WallTime()> wallClock_;
    std::function<void()> recorded_;
    DecisionLog log_;
    std::uint32_t configuration_ = 0;
};

} // namespace varnel
