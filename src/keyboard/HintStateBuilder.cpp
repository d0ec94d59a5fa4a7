#include "keyboard/HintStateBuilder.h"

#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <limits>

namespace varnel {
namespace {

using Position = HotkeyLookupIndex::Position;

/// Adds to a `HintState` what belongs to one state of the machine.
class HintBuilder {
public:
    HintBuilder(const HotkeyLookupIndex& index, const HintSources& sources, HintState& hints)
        : index_(index)
        , sources_(sources)
        , hints_(hints) {}

    void operator()(const SequenceMachine::Idle&) const {}
    void operator()(const SequenceMachine::Capture& state) const {
        showNext(state.position);
        if (!state.waitsWithoutEnd)
            hints_.deadline = state.deadline;
    }
    void operator()(const SequenceMachine::PendingPassthrough& state) const { showNext(state.position); }
    void operator()(const SequenceMachine::DynamicChoiceState& state) const {
        showChoices(state);
        if (!state.isLoading && !state.waitsWithoutEnd)
            hints_.deadline = state.deadline;
    }
    void operator()(const SequenceMachine::FrozenOverlay& state) const {
        if (state.choices)
            showChoices(*state.choices);
        else
            showNext(state.position);
    }
    void operator()(const SequenceMachine::SelectionFeedback& state) const {
        hints_.sequence = index_.tokens(state.position);
        hints_.areChoices = state.choice.has_value();
        if (state.choice)
            hints_.rows.push_back(rowFor(*state.choice));
        else
            showSiblings(state.position);
        for (HintRow& row : hints_.rows)
            row.isChosen = state.choice || row.token == hints_.sequence.back();
    }

private:
    void showNext(const Position& position) const {
        hints_.sequence = index_.tokens(position);
        addRows(position);
        if (const ConfigItem* group = index_.group(position))
            hints_.title = group->name;
    }

    /// The rows among which the last key chose; alone when it was the first key.
    void showSiblings(const Position& position) const {
        const std::span typed(hints_.sequence);
        if (const auto parent = index_.find(typed.first(typed.size() - 1)))
            addRows(*parent);
        else
            hints_.rows.push_back(rowFor(typed.back(), position));
    }

    void showChoices(const SequenceMachine::DynamicChoiceState& state) const {
        hints_.sequence = index_.tokens(state.baseSequence);
        hints_.title = state.title ? state.title : std::optional(state.item->name);
        hints_.input = state.input;
        hints_.isLoading = state.isLoading;
        hints_.areChoices = true;
        for (const LabeledChoice& choice : state.labeledChoices)
            hints_.rows.push_back(rowFor(choice));
        for (std::size_t i = 0; i < hints_.rows.size(); ++i)
            hints_.rows[i].fileOrder = i;
    }

    void addRows(const Position& position) const {
        for (const std::string& token : index_.nextTokens(position).sorted())
            hints_.rows.push_back(rowFor(token, *index_.advance(position, token)));
    }

    [[nodiscard]] HintRow rowFor(const std::string& token, const Position& position) const {
        HintRow row;
        row.token = token;
        const ConfigItem* action = index_.action(position);
        row.isGroup = !action && index_.isPrefix(position);
        if (row.isGroup)
            row.entryCount = entryCount(position);
        row.fileOrder = fileOrder(position);
        if (!canBeTyped(token))
            row.availability = HintAvailability::unreachable;
        else if (action && action->action && sources_.availability)
            row.availability = sources_.availability(*action);
        const ConfigItem* named = action ? action : index_.group(position);
        if (!named)
            return row;
        row.metadata.name = named->name;
        row.metadata.applicationPath = applicationPath(*named);
        if (row.metadata.applicationPath && sources_.isRunning)
            row.metadata.isRunningApplication = sources_.isRunning(*row.metadata.applicationPath);
        return row;
    }

    [[nodiscard]] std::size_t entryCount(const Position& position) const {
        std::size_t count = 0;
        for (auto it = index_.nextTokens(position).begin(); it != index_.nextTokens(position).end(); ++it)
            ++count;
        return count;
    }

    /// Where the first item of this row stands in the file: the named one, or the first one below it.
    [[nodiscard]] std::size_t fileOrder(const Position& position) const {
        const ConfigItem* action = index_.action(position);
        const ConfigItem* named = action ? action : index_.group(position);
        std::size_t first = std::numeric_limits<std::size_t>::max();
        if (named)
            first = static_cast<std::size_t>(named - index_.items().data());
        if (const auto below = index_.itemsForPrefix(position); !action && !below.empty())
            first = std::min<std::size_t>(first, below.front());
        return first;
    }

    /// A keyboard produces chords of one key, and taps of one modifier.
    [[nodiscard]] static bool canBeTyped(const std::string& token) {
        return KeyTokenCodec::isModifierOnly(token) ? modifierNamed(token).has_value()
                                                    : KeyTokenCodec::parse(token).has_value();
    }

    [[nodiscard]] static HintRow rowFor(const LabeledChoice& choice) {
        HintRow row;
        row.token = choice.label;
        row.metadata.name = choice.choice.title;
        if (!choice.choice.detail.empty())
            row.metadata.detail = choice.choice.detail;
        row.metadata.isRunningApplication = choice.choice.isRunningApplication;
        if (!choice.choice.applicationPath.empty())
            row.metadata.applicationPath = choice.choice.applicationPath;
        return row;
    }

    [[nodiscard]] static std::optional<std::string> applicationPath(const ConfigItem& item) {
        if (!item.action || item.action->pluginID != core::application || item.action->actionID != "open")
            return std::nullopt;
        auto path = item.action->params.find("path");
        if (path == item.action->params.end() || !path->second.string())
            return std::nullopt;
        return *path->second.string();
    }

    const HotkeyLookupIndex& index_;
    const HintSources& sources_;
    HintState& hints_;
};

} // namespace

HintState buildHintState(const SequenceMachine& machine, const HintSources& sources) {
    HintState hints;
    hints.interaction = machine.interaction();
    std::visit(HintBuilder(machine.index(), sources, hints), machine.state());
    return hints;
}

} // namespace varnel
