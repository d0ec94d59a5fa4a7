#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace varnel {

/// The length of the valid UTF-8 character at the start of `text` (no surrogate, no overlong form); 0 when
/// there is none.
std::size_t utf8CharacterLength(std::string_view text);
/// The code point of a valid character of that length.
unsigned decodeUTF8(std::string_view character);
void appendUTF8(std::string& out, unsigned codePoint);

/// How many columns of a terminal the character takes: East Asian characters and emoji count as two.
std::size_t columnsOf(unsigned codePoint);
std::size_t columnsOf(std::string_view text);

} // namespace varnel
