#pragma once

#include "base/JSONValue.h"
#include "base/TimePoint.h"
#include "keyboard/notation/KeyToken.h"

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace varnel::simulation {

/// What is wrong with a script, and on which line (from 1).
struct ScriptError {
    std::size_t line = 0;
    std::string message;
    friend bool operator==(const ScriptError&, const ScriptError&) = default;
};
/// "line 3: unknown statement 'pres'; did you mean 'press'?"
std::string describe(const ScriptError& error);

struct Press {
    ParsedKeyToken token;
};
struct Hold {
    Modifier modifier;
    Duration duration;
};
struct ModifierChange {
    Modifier modifier;
    bool isDown;
};
struct KeyDown {
    ParsedKeyToken token;
    bool isRepeat;
};
struct Wait {
    Duration duration;
};
struct SetPreference {
    std::string key;
    JSONValue value;
};
struct Suspension {
    std::string reason;
    bool isSuspended;
};
struct Reload {
    std::string path;
};
struct Choices {
    std::vector<std::string> titles;
};

struct Statement {
    std::size_t line = 0;
    std::variant<Press, Hold, ModifierChange, KeyDown, Wait, SetPreference, Suspension, Reload, Choices>
        action;
};

/// Reads a whole script: one statement a line, `#` begins a comment.
std::expected<std::vector<Statement>, ScriptError> parseScript(std::string_view script);

} // namespace varnel::simulation
