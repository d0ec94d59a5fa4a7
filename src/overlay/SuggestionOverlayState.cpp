#include "overlay/SuggestionOverlayState.h"

#include "base/Localized.h"
#include "base/Text.h"

namespace varnel {
namespace {

std::string spokenCaps(const KeyCaps& caps) {
    return join(caps, "+");
}

} // namespace

std::string availabilityText(HintAvailability availability) {
    switch (availability) {
    case HintAvailability::available:
        return {};
    case HintAvailability::disabled:
        return localized("switched off");
    case HintAvailability::untrusted:
        return localized("not trusted");
    case HintAvailability::missing:
        return localized("not available");
    case HintAvailability::unreachable:
        return localized("can't be typed");
    }
    return {};
}

std::string spokenText(const SuggestionRow& row) {
    std::vector<std::string> facts;
    for (const std::string& text : {row.name, row.detail})
        if (!text.empty())
            facts.push_back(text);
    if (row.isGroup)
        facts.push_back(row.entryCount == 1
                            ? localized("group with 1 entry")
                            : localized("group with %1 entries", {std::to_string(row.entryCount)}));
    if (row.isRunning)
        facts.push_back(localized("running"));
    if (row.isChosen)
        facts.push_back(localized("chosen"));
    if (std::string text = availabilityText(row.availability); !text.empty())
        facts.push_back(std::move(text));
    return spokenCaps(row.caps) + (facts.empty() ? "" : ": ") + join(facts, ", ");
}

std::string spokenText(const SuggestionOverlayState& state) {
    std::vector<std::string> keys;
    for (const KeyCaps& step : state.sequence)
        keys.push_back(spokenCaps(step));
    for (const std::string& letter : state.input)
        keys.push_back(letter);
    std::string text = join(keys, ", ");
    if (!state.refused.empty())
        text += ". " + localized("%1 is not bound here", {spokenCaps(state.refused)});
    for (const std::string& more : {state.title, state.message})
        if (!more.empty())
            text += (text.empty() ? "" : ". ") + more;
    return text;
}

} // namespace varnel
