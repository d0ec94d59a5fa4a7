#pragma once

#include "base/TimePoint.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The states of the sequence engine.
enum class Interaction { idle, capture, pendingPassthrough, dynamicChoice, selectionFeedback, frozenOverlay };
/// "idle", "capture", "pendingPassthrough", …
std::string_view interactionName(Interaction interaction);

/// What is known of one hint row beside its key.
struct OptionMetadata {
    std::optional<std::string> name;
    std::optional<std::string> detail;
    bool isRunningApplication = false;
    std::optional<std::string> applicationPath;
    friend bool operator==(const OptionMetadata&, const OptionMetadata&) = default;
};

/// Whether typing a row's key does what the row says.
enum class HintAvailability {
    available,
    disabled,    ///< its capability is switched off
    untrusted,   ///< its capability is not trusted, or was changed since
    missing,     ///< there is no such capability, or it can't be used
    unreachable, ///< no keyboard produces this key
};

struct HintRow {
    std::string token; ///< the next key, or a choice's label
    OptionMetadata metadata;
    bool isGroup = false;       ///< more keys follow
    std::size_t entryCount = 0; ///< of a group: the keys that may follow
    bool isChosen = false;      ///< the row just taken, in `selectionFeedback`
    HintAvailability availability = HintAvailability::available;
    std::size_t fileOrder = 0; ///< ascending as the items stand in the file; choices by their order
    friend bool operator==(const HintRow&, const HintRow&) = default;
};

/// A key that continued nothing and therefore ended, or froze, a sequence.
struct HintRefusal {
    std::string token;
    std::vector<std::string> sequence; ///< typed before it
    std::uint64_t number = 0;          ///< tells two refusals of the same key apart
    friend bool operator==(const HintRefusal&, const HintRefusal&) = default;
};

/// What an overlay shows. A plain value.
struct HintState {
    Interaction interaction = Interaction::idle;
    std::vector<std::string> sequence; ///< typed so far; the completed one in `selectionFeedback`
    std::optional<std::string> title;  ///< the group's name, or what is to be chosen
    std::vector<HintRow> rows;         ///< sorted by token; choices in their own order
    std::string input;                 ///< label letters typed so far
    bool isLoading = false;            ///< choices are still being looked for
    bool areChoices = false;           ///< the rows' tokens are labels, typed letter by letter
    /// When the step time-out ends the sequence; none while there is no such limit.
    std::optional<TimePoint> deadline;
    std::optional<HintRefusal> refusal; ///< kept until the next key is accepted
    int pageTurns = 0; ///< pages turned forward less those turned back since the last accepted key

    /// Nothing is shown while idle or while a first key was let through.
    [[nodiscard]] bool isVisible() const {
        return interaction != Interaction::idle && interaction != Interaction::pendingPassthrough;
    }
    friend bool operator==(const HintState&, const HintState&) = default;
};

} // namespace varnel
