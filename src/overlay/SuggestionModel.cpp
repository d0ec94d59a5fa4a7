#include "overlay/SuggestionModel.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace varnel {
namespace {

/// Nobody reads more of a name, and plugins may send anything.
constexpr std::size_t kLongestText = 200;

/// What the rows of choices are typed with, instead of one key each.
bool showsChoices(const HintState& hints) {
    return !hints.rows.empty() && hints.interaction == Interaction::dynamicChoice;
}

SuggestionRow suggestionRow(const HintRow& hint, bool isChoice, const HintState& hints,
                            const KeyNaming& naming) {
    SuggestionRow row;
    row.caps = isChoice ? choiceCaps(hint.token, naming) : keyCaps(hint.token, naming);
    row.name = singleLine(hint.metadata.name.value_or(std::string()), kLongestText);
    row.detail = singleLine(hint.metadata.detail.value_or(std::string()), kLongestText);
    row.isGroup = hint.isGroup;
    if (row.isGroup && row.name.empty())
        row.name = localized("Group");
    row.entryCount = hint.entryCount;
    row.isRunning = hint.metadata.isRunningApplication;
    row.isChosen = hint.isChosen;
    row.isRuledOut = isChoice && !hint.token.starts_with(hints.input);
    row.availability = hint.availability;
    row.applicationPath = hint.metadata.applicationPath.value_or(std::string());
    return row;
}

std::vector<HintRow> ordered(std::vector<HintRow> rows, OverlayOrder order, const KeyNaming& naming) {
    if (order == OverlayOrder::file) {
        std::ranges::stable_sort(rows, {}, &HintRow::fileOrder);
        return rows;
    }
    struct Ranked {
        bool isGroup;
        KeyRank rank;
        std::size_t row;
    };
    std::vector<Ranked> ranked;
    for (std::size_t i = 0; i < rows.size(); ++i)
        ranked.push_back({rows[i].isGroup, keyRank(rows[i].token, naming), i});
    std::ranges::sort(ranked, [](const Ranked& a, const Ranked& b) {
        return std::tie(a.isGroup, a.rank) < std::tie(b.isGroup, b.rank);
    });
    std::vector<HintRow> result;
    for (const Ranked& r : ranked)
        result.push_back(std::move(rows[r.row]));
    return result;
}

std::string messageFor(const HintState& hints) {
    if (hints.isLoading)
        return localized("Loading…");
    if (hints.interaction == Interaction::frozenOverlay)
        return localized("Keys reach the application again. Escape closes these hints.");
    return {};
}

} // namespace

SuggestionOverlayState suggestionState(const HintState& hints, OverlayOrder order, const KeyNaming& naming) {
    SuggestionOverlayState state;
    for (const std::string& token : hints.sequence)
        state.sequence.push_back(keyCaps(token, naming));
    state.title = singleLine(hints.title.value_or(std::string()), kLongestText);
    // Choices taken or frozen are told by their place: they hang below a sequence that names no row.
    const bool isChoice = showsChoices(hints) || hints.areChoices;
    for (const HintRow& row : isChoice ? hints.rows : ordered(hints.rows, order, naming))
        state.rows.push_back(suggestionRow(row, isChoice, hints, naming));
    state.input = choiceCaps(hints.input, naming);
    state.message = messageFor(hints);
    state.isFrozen = hints.interaction == Interaction::frozenOverlay;
    state.hasTimeLimit = hints.deadline.has_value();
    state.pageTurns = hints.pageTurns;
    if (hints.refusal && state.isFrozen)
        showRefusal(state, *hints.refusal, naming);
    return state;
}

SuggestionOverlayState refusalState(const HintRefusal& refusal, const KeyNaming& naming) {
    SuggestionOverlayState state;
    for (const std::string& token : refusal.sequence)
        state.sequence.push_back(keyCaps(token, naming));
    showRefusal(state, refusal, naming);
    state.message = localized("Nothing is bound here.");
    return state;
}

void showRefusal(SuggestionOverlayState& state, const HintRefusal& refusal, const KeyNaming& naming) {
    state.refused = keyCaps(refusal.token, naming);
    state.hasTimeLimit = false;
}

SuggestionOverlayState sampleState(const KeyNaming& naming) {
    SuggestionOverlayState state;
    state.sequence = {keyCaps("cmd", naming), keyCaps("o", naming)};
    state.title = localized("Sample");
    const auto add = [&](std::string_view token, std::string name) -> SuggestionRow& {
        SuggestionRow& row = state.rows.emplace_back();
        row.caps = keyCaps(token, naming);
        row.name = std::move(name);
        return row;
    };
    add("b", localized("Browser")).isRunning = true;
    add("e", localized("Editor"));
    add("ctrl+l", localized("Lock the screen"));
    add("n", localized("Plugin action")).availability = HintAvailability::untrusted;
    add("t", localized("Terminal")).isChosen = true;
    SuggestionRow& group = add("w", localized("Windows"));
    group.isGroup = true;
    group.entryCount = 12;
    return state;
}

} // namespace varnel
