#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// One hotkey of a file with its command, nothing expanded.
struct SXHKDBlock {
    int line = 0;        ///< of the hotkey, or of the command that has none
    std::string hotkey;  ///< empty for a command without a hotkey
    std::string command; ///< empty for a hotkey without a command
    std::string comment; ///< the last line of a comment right above
    friend bool operator==(const SXHKDBlock&, const SXHKDBlock&) = default;
};

/// Never fails; blocks that are no whole rule have an empty part.
std::vector<SXHKDBlock> readSXHKD(std::string_view text);

/// One hotkey after its `{a,b}` have been chosen.
struct SXHKDExpansion {
    std::string hotkey;
    std::string command;
    std::string choice; ///< what was chosen in the command, for the item's name
    friend bool operator==(const SXHKDExpansion&, const SXHKDExpansion&) = default;
};
/// What a block stands for; the error is a clause.
std::expected<std::vector<SXHKDExpansion>, std::string> expandSXHKD(const SXHKDBlock& block);

} // namespace varnel
