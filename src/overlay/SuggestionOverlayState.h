#pragma once

#include "keyboard/HintState.h"

#include <cstddef>
#include <string>
#include <vector>

namespace varnel {

/// The labels of the keys that make up one step, modifiers first: {"Ctrl", "K"}.
using KeyCaps = std::vector<std::string>;

/// One key that may follow and what it leads to.
struct SuggestionRow {
    KeyCaps caps;
    std::string name;
    std::string detail;
    bool isGroup = false;
    std::size_t entryCount = 0; ///< of a group
    bool isRunning = false;
    bool isChosen = false;   ///< the row just taken
    bool isRuledOut = false; ///< its label does not begin with the letters typed
    HintAvailability availability = HintAvailability::available;
    std::string applicationPath; ///< of the application whose icon stands for it; empty: none
    friend bool operator==(const SuggestionRow&, const SuggestionRow&) = default;
};

/// Everything that the hint window shows, ready to be drawn: texts are the user's, keys are labelled, rows
/// are in their order.
struct SuggestionOverlayState {
    std::vector<KeyCaps> sequence;
    KeyCaps refused; ///< the key that did not continue it; empty: none
    std::string title;
    std::vector<SuggestionRow> rows;
    KeyCaps input;       ///< label letters typed so far
    std::string message; ///< one line below the rows; empty: none
    bool isFrozen = false;
    bool hasTimeLimit = false; ///< a step time-out is running
    int pageTurns = 0;         ///< the page to show, counted modulo the number of pages
    friend bool operator==(const SuggestionOverlayState&, const SuggestionOverlayState&) = default;
};

/// The row as a sentence for those who hear it: "F: Files, group with 3 entries".
std::string spokenText(const SuggestionRow& row);
/// The sequence, the title and the message: "G, B: Browsers".
std::string spokenText(const SuggestionOverlayState& state);
/// Why a row's key would not run it, in two or three words; empty when it would.
std::string availabilityText(HintAvailability availability);

} // namespace varnel
