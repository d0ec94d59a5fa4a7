#include "base/UTF8.h"

namespace varnel {

std::size_t utf8CharacterLength(std::string_view text) {
    if (text.empty())
        return 0;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const unsigned char second = byte(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second >= 0xA0;
    const bool beyondUnicode = first == 0xF4 && second >= 0x90;
    return overlong || surrogate || beyondUnicode ? 0 : length;
}

unsigned decodeUTF8(std::string_view character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
    if (character.size() == 1)
        return byte(0);
    unsigned code = byte(0) & (0xFFU >> (character.size() + 1));
    for (std::size_t i = 1; i < character.size(); ++i)
        code = code << 6 | (byte(i) & 0x3FU);
    return code;
}

void appendUTF8(std::string& out, unsigned codePoint) {
    const auto tail = [&](int shift) { return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F)); };
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += static_cast<char>(0xC0 | codePoint >> 6);
        out += tail(0);
    } else if (codePoint < 0x10000) {
        out += static_cast<char>(0xE0 | codePoint >> 12);
        out += tail(6);
        out += tail(0);
    } else {
        out += static_cast<char>(0xF0 | codePoint >> 18);
        out += tail(12);
        out += tail(6);
        out += tail(0);
    }
}

std::size_t columnsOf(unsigned c) {
    const bool isMark = (c >= 0x300 && c <= 0x36F) || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F);
    if (isMark)
        return 0;
    const bool isWide = (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) ||
                        (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
                        (c >= 0xFF00 && c <= 0xFF60) || (c >= 0x1F300 && c <= 0x1FAFF) ||
                        (c >= 0x20000 && c <= 0x3FFFD);
    return isWide ? 2 : 1;
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const std::size_t length = utf8CharacterLength(text);
        columns += length == 0 ? 1 : columnsOf(decodeUTF8(text.substr(0, length)));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return columns;
}

} // namespace varnel
