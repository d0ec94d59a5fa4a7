#include "documents/Markup.h"

#include "base/UTF8.h"

#include <algorithm>

namespace varnel::Markup {
namespace {

constexpr unsigned kReplacement = 0xFFFD;

/// Calls `use` with each character's text and number.
template <typename Use>
void forEachCharacter(std::string_view text, Use use) {
    static constexpr std::string_view replacement = "\xEF\xBF\xBD";
    while (!text.empty()) {
        const std::size_t length = utf8CharacterLength(text);
        if (length == 0)
            use(replacement, kReplacement);
        else
            use(text.substr(0, length), decodeUTF8(text.substr(0, length)));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
}

/// Characters that XML does not allow, escaped or not.
bool isForbidden(unsigned character) {
    const bool isControl = character < 0x20 && character != '\t' && character != '\n' && character != '\r';
    return isControl || character == 0xFFFE || character == 0xFFFF;
}

bool isDirectionControl(unsigned c) {
    return c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

bool isRightToLeft(unsigned c) {
    return (c >= 0x590 && c <= 0x8FF) || (c >= 0xFB1D && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFC) ||
           (c >= 0x10800 && c <= 0x10FFF) || (c >= 0x1E800 && c <= 0x1EFFF);
}

} // namespace

std::string xml(std::string_view text) {
    std::string out;
    forEachCharacter(text, [&](std::string_view character, unsigned number) {
        switch (number) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            isForbidden(number) ? appendUTF8(out, kReplacement) : void(out += character);
        }
    });
    return out;
}

std::string markdown(std::string_view text) {
    static constexpr std::string_view special = R"(\`*_[]|~$)";
    std::string out;
    forEachCharacter(text, [&](std::string_view character, unsigned number) {
        if (number == '\n' || number == '\r' || number == '\t')
            out += ' ';
        else if (number == '<')
            out += "&lt;";
        else if (number == '>')
            out += "&gt;";
        else if (number == '&')
            out += "&amp;";
        else if (isForbidden(number))
            appendUTF8(out, kReplacement);
        else if (number < 0x80 && special.find(static_cast<char>(number)) != std::string_view::npos)
            (out += '\\') += character;
        else
            out += character;
    });
    return out;
}

std::string isolated(std::string_view text) {
    bool turns = false;
    std::string plain;
    forEachCharacter(text, [&](std::string_view character, unsigned number) {
        turns |= isRightToLeft(number);
        if (!isDirectionControl(number))
            plain += character;
    });
    return turns ? "\u2068" + plain + "\u2069" : plain;
}

std::string shortened(std::string_view text, std::size_t columns) {
    if (columnsOf(text) <= columns)
        return std::string(text);
    std::string out;
    std::size_t used = 1;
    bool isFull = columns == 0;
    forEachCharacter(text, [&](std::string_view character, unsigned number) {
        isFull = isFull || used + columnsOf(number) > columns;
        if (isFull)
            return;
        used += columnsOf(number);
        out += character;
    });
    while (out.ends_with(' '))
        out.pop_back();
    return out + "…";
}

} // namespace varnel::Markup
