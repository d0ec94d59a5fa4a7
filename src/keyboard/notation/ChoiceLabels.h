#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Short letter strings that the user types to pick one of several choices.
namespace ChoiceLabels {

inline constexpr std::string_view kHomeRowAlphabet = "jfkdlsahg";
inline constexpr std::string_view kFullAlphabet = "jfkdlsahgurmviecowxpqzytnb";

/// `count` distinct labels, none the beginning of another; empty for a count below 1.
std::vector<std::string> labels(long long count, bool useFullAlphabet);

/// What generated labels always are and labels from elsewhere must be: not empty, letters of the full
/// alphabet only, none equal to or the beginning of another.
bool areValid(const std::vector<std::string>& labels);

/// The choices' own labels, trimmed and in lower case, when every choice has one and they are valid together.
std::optional<std::vector<std::string>> ownLabels(const std::vector<std::optional<std::string>>& labels);

} // namespace ChoiceLabels
} // namespace varnel
