#pragma once

#include "base/JSONReader.h"
#include "config/ConfigItem.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A manipulator where it stands in the file.
struct KarabinerEntry {
    JSONValue value;
    int line = 0;
    std::size_t rule = 0; ///< which of the rules it belongs to
    std::string ruleDescription;
    bool isAloneInRule = false;
    bool isEnabled = true;
};
/// The manipulators of a file, in its order. A rule without any gives one entry with the value null.
std::expected<std::vector<KarabinerEntry>, JSONError> readKarabiner(std::string_view text);

/// A variable that must have a value; nothing stands for any value but the idle one.
struct KarabinerRequirement {
    std::string variable;
    std::optional<JSONValue> value;
};

/// What events do, as far as it concerns us.
struct KarabinerEffect {
    std::vector<std::pair<std::string, JSONValue>> sets;
    std::optional<ConfigAction> action;
    /// Whether some variable gets a value that is not the idle one.
    [[nodiscard]] bool opens() const;
    /// Variables go back to the idle value, and that is all.
    [[nodiscard]] bool onlyResets() const;
};

/// A manipulator in our terms.
struct KarabinerManipulator {
    std::string step; ///< what is typed; empty for any key
    std::vector<KarabinerRequirement> requires_;
    KarabinerEffect effect;
    bool isHeldLayer = false; ///< letting the key go resets what it set
    std::vector<std::string> notes;
};
/// The error is a clause that tells why it has no counterpart.
std::expected<KarabinerManipulator, std::string> understandKarabiner(const JSONValue& manipulator);

/// What a variable has that nobody set.
bool isIdleValue(const JSONValue& value);

} // namespace varnel
