#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// How keys are shown to people: as what is printed on them.
namespace KeyCaps {

/// The caps of one step, modifiers first: "ctrl+leftbracket" gives "Ctrl" and "[". A step that is no token
/// gives one cap with its text.
std::vector<std::string> ofStep(std::string_view step);
/// "Ctrl+[".
std::string stepText(std::string_view step);
/// "Ctrl+J, W, G"; empty without steps.
std::string triggerText(const std::vector<std::string>& steps);

} // namespace KeyCaps
} // namespace varnel
