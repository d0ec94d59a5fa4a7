#pragma once

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

struct HintRow {
    std::string token; ///< the next key, or a choice's label
    OptionMetadata metadata;
    bool isGroup = false;  ///< more keys follow
    bool isChosen = false; ///< the row just taken, in `selectionFeedback`
    friend bool operator==(const HintRow&, const HintRow&) = default;
};

/// What an overlay shows. A plain value.
struct HintState {
    Interaction interaction = Interaction::idle;
    std::vector<std::string> sequence; ///< typed so far; the completed one in `selectionFeedback`
    std::optional<std::string> title;  ///< the group's name, or what is to be chosen
    std::vector<HintRow> rows;         ///< sorted by token; choices in their own order
    std::string input;                 ///< label letters typed so far
    bool isLoading = false;            ///< choices are still being looked for

    /// Nothing is shown while idle or while a first key was let through.
    [[nodiscard]] bool isVisible() const {
        return interaction != Interaction::idle && interaction != Interaction::pendingPassthrough;
    }
    friend bool operator==(const HintState&, const HintState&) = default;
};

} // namespace varnel
