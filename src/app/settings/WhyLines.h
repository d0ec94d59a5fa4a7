#pragma once

#include "keyboard/Decisions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnel {

/// One line of the list that answers why nothing happened.
struct WhyLine {
    std::uint64_t number = 0; ///< of the decision; 0: keys that were only counted
    std::string time;         ///< of day, on the clock of this place; empty for counted keys
    std::string text;
    bool isRefusal = false; ///< it tells why something did not happen
    friend bool operator==(const WhyLine&, const WhyLine&) = default;
};

/// All decisions that are kept, the latest first, and between them the keys that were only counted.
std::vector<WhyLine> whyLines(const DecisionLog& log, const DecisionContext& context);
/// As text to paste into a message, oldest first, as `varnel why` prints it.
std::string plainText(const std::vector<WhyLine>& lines);

} // namespace varnel
