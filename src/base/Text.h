#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Text rules that do not depend on the process's locale. Inputs are UTF-8.

/// Without white space and line breaks (ASCII and Unicode `White_Space`) at both ends.
std::string_view trimmed(std::string_view text);
/// Lower case: ASCII, Latin-1, Greek, Cyrillic and the other simple one-to-one mappings of two- and
/// three-byte letters; other characters stay. Invalid UTF-8 is kept as it stands.
std::string lowercased(std::string_view text);
/// True when `text` is valid UTF-8 (no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);
/// The pieces between separators; an empty text gives one empty piece.
std::vector<std::string_view> split(std::string_view text, char separator);
std::string join(const std::vector<std::string>& parts, std::string_view separator);
/// One readable line of at most `limit` characters: control characters, line breaks and terminal escape sequences are removed
/// (line breaks become a space), an ellipsis marks the cut.
std::string singleLine(std::string_view text, std::size_t limit);
/// The candidate nearest to `word` by edit distance, the first of several; empty when there is none at all.
std::string nearestOfAll(std::string_view word, const std::vector<std::string>& candidates);
/// The same, when it is near enough to be a typing mistake; else empty.
std::string nearest(std::string_view word, const std::vector<std::string>& candidates);

} // namespace varnel
