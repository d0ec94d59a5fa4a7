#pragma once

#include "base/TimePoint.h"
#include "keyboard/SuspensionReasons.h"

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// What the application is doing, as its icon tells it.
enum class HealthState {
    listening,
    paused,
    attention,    ///< listening, but something needs the user
    notCapturing, ///< no key reaches the application
};
std::string_view name(HealthState state); ///< the case's own name

/// Something that is wrong at present.
struct Problem {
    enum class Kind { capture, configuration, capability };
    Kind kind = Kind::capture;
    std::string text;  ///< one line
    std::string place; ///< a file with line and column, a folder; empty: no place
    friend bool operator==(const Problem&, const Problem&) = default;
};

/// What the sentence is made of.
struct HealthFacts {
    bool isCapturing = false;
    bool isSafe = false;      ///< the built-in configuration is in force, whatever the user has
    std::string captureError; ///< why not, as a sentence
    std::set<std::string> suspensionReasons;
    std::optional<Duration> pauseLeft; ///< of a pause that ends by itself
    std::size_t actionCount = 0;       ///< enabled actions
    std::vector<Problem> problems;     ///< the latest first
};

struct Health {
    HealthState state = HealthState::notCapturing;
    std::string sentence; ///< for the user, complete
    std::vector<Problem> problems;
    friend bool operator==(const Health&, const Health&) = default;
};
/// A problem with its place in one line: "config.json:3:12: expected a string".
std::string problemLine(const Problem& problem);
Health assessHealth(const HealthFacts& facts);

/// "4 minutes", "40 seconds": rounded so that it never reads as nothing while something is left.
std::string remainingTime(Duration left);

} // namespace varnel
