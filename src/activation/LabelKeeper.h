#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Gives things letter labels that stay theirs for as long as they are there: what the user's fingers have
/// learned holds although other windows open and close. Labels of things that are gone are free again. No
/// label is the beginning of another.
class LabelKeeper {
public:
    /// A label for each identifier, in the same order; identifiers that are not named any more are forgotten.
    /// None for a thing when there are too many (hundreds). The same things should be asked for with the same
    /// alphabet.
    std::vector<std::optional<std::string>> labels(const std::vector<std::string>& identifiers,
                                                   std::string_view alphabet);

    /// The label of a place in an endless row: one letter for the first ones, then two and three, all of
    /// those after the alphabet's last letter. So that a label never changes, its length is not decided by
    /// how many things there are. `alphabet` has at least two letters.
    static std::optional<std::string> label(std::size_t place, std::string_view alphabet);

private:
    std::map<std::string, std::size_t> places_;
};

} // namespace varnel
