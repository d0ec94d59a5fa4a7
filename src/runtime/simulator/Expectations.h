#pragma once

#include "config/ConfigCheck.h"
#include "keyboard/HotkeyLookupIndex.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel::simulation {

/// One line of an expectations file: `ctrl+j w g -> Chrome`.
struct Expectation {
    JSONPosition position; ///< of its first key
    std::vector<std::string> keys;
    std::optional<std::string> name; ///< of the item that the last key runs; none: nothing runs
};

/// What an expectations file says. Lines that cannot be understood are errors, and the others still count.
struct ExpectationsFile {
    std::vector<Expectation> expectations;
    std::vector<Diagnostic> errors;
};

/// One expectation a line: the keys, "->", and the name of the item that must run or `nothing`. A name that
/// is no plain text stands in quotes, as in JSON. `#` at the beginning or after white space begins a comment.
ExpectationsFile parseExpectations(std::string_view text);

/// Types every expectation's keys into the simulated application, each from the idle state, and reports those
/// that end otherwise, with the errors of the file, in the order of the lines. `path` of a finding is `file`.
std::vector<Diagnostic> checkExpectations(std::string_view text, const std::string& file,
                                          const ConfigItems& items);

} // namespace varnel::simulation
