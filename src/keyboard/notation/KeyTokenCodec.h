#pragma once

#include "keyboard/notation/KeyToken.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The textual form of chords. Pure functions; case and surrounding white space of a token do not matter.
namespace KeyTokenCodec {

/// Nothing for an empty token, an unknown key or modifier, a malformed `keycode` number, more than one key or
/// none at all.
std::optional<ParsedKeyToken> parse(std::string_view token);
/// Why `token` does not parse, as a sentence for the user ("unknown key 'foo'; did you mean 'f1'?");
/// modifier-only tokens and parsable ones give an empty text.
std::string explain(std::string_view token);
std::optional<std::string> normalize(std::string_view token);
/// The normalized token of a key with modifiers.
std::string format(std::string_view keyName, KeyFlags flags);
/// Whether the named modifier's bit is set; false for any other name.
bool hasModifier(std::string_view modifierName, KeyFlags flags);
/// One or more modifier names joined by "+": a tap of bare modifiers.
bool isModifierOnly(std::string_view token);
/// The key's name; "return" for 36, `keycode<N>` where the table has none.
std::string keyName(KeyCode code);
/// Makes `out` the token that a keyboard produces for a key with modifiers, without allocating when `out` has
/// the capacity (`kLongestLiveToken`).
void formatLive(KeyCode code, KeyFlags flags, std::string& out);
inline constexpr std::size_t kLongestLiveToken = 40;
/// What a keyboard produces for this token: the name looked up by key code, with its modifiers. A token that
/// does not parse keeps its trimmed lower-case text.
std::string liveSpelling(std::string_view token);
std::vector<std::string> liveSpelling(const std::vector<std::string>& tokens);

} // namespace KeyTokenCodec
} // namespace varnel
