#include "base/JSONScanner.h"

#include "base/Localized.h"
#include "base/UTF8.h"

#include <cmath>
#include <cstdlib>
#include <locale.h>
#include <utility>
#if __has_include(<xlocale.h>)
#include <xlocale.h> // where macOS declares strtod_l
#endif

namespace varnel {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The value of a number that follows JSON's grammar, whatever the process's locale is.
double decimalValue(const std::string& number) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(number.c_str(), nullptr, plain);
}

} // namespace

JSONScanner::JSONScanner(std::string_view text, JSONPlaceVisitor* visitor, JSONHandler* handler)
    : text_(withoutByteOrderMark(text))
    , visitor_(visitor)
    , handler_(handler) {}

std::optional<JSONError> JSONScanner::scan() {
    skipSpace();
    if (value(1)) {
        skipSpace();
        if (!atEnd())
            fail(localized("expected %1, found %2", {localized("the end of the text"), found()}));
    }
    return std::move(error_);
}

JSONPosition JSONScanner::position(std::size_t offset) const {
    if (offset < countedTo_) {
        countedTo_ = 0;
        counted_ = {1, 1};
    }
    for (; countedTo_ < offset; ++countedTo_) {
        const auto byte = static_cast<unsigned char>(text_[countedTo_]);
        if (byte == '\n')
            counted_ = {counted_.line + 1, 1};
        else if ((byte & 0xC0) != 0x80)
            ++counted_.column;
    }
    return counted_;
}

std::string JSONScanner::found() const {
    if (atEnd())
        return localized("the end of the text");
    const std::size_t length = utf8CharacterLength(text_.substr(next_));
    if (length == 0)
        return localized("invalid UTF-8");
    if (static_cast<unsigned char>(peek()) < 0x20 || peek() == 0x7F)
        return localized("a control character");
    return "'" + std::string(text_.substr(next_, length)) + "'";
}

bool JSONScanner::failAt(std::size_t offset, std::string message) {
    if (!error_)
        error_ = JSONError{std::move(message), position(offset)};
    return false;
}

void JSONScanner::skipSpace() {
    while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r'))
        ++next_;
}

bool JSONScanner::value(int depth) {
    if (depth > kMaximumJSONDepth)
        return fail(localized("nested deeper than %1 levels", {std::to_string(kMaximumJSONDepth)}));
    if (visitor_)
        visitor_->value(path_, position(next_));
    std::string_view content;
    switch (peek()) {
    case '{':
        return tell(&JSONHandler::beginObject) && object(depth) && tell(&JSONHandler::endObject);
    case '[':
        return tell(&JSONHandler::beginArray) && array(depth) && tell(&JSONHandler::endArray);
    case '"':
        return string(content) && tell(&JSONHandler::string, content);
    case 't':
        return word("true") && tell(&JSONHandler::boolean, true);
    case 'f':
        return word("false") && tell(&JSONHandler::boolean, false);
    case 'n':
        return word("null") && tell(&JSONHandler::null);
    default:
        return peek() == '-' || isDigit(peek())
                   ? number()
                   : fail(localized("expected %1, found %2", {localized("a value"), found()}));
    }
}

bool JSONScanner::object(int depth) {
    ++next_;
    skipSpace();
    if (peek() == '}')
        return ++next_;
    while (true) {
        if (peek() != '"')
            return fail(localized("expected %1, found %2", {localized("a key in quotes"), found()}));
        const std::size_t begin = next_;
        std::string_view key;
        if (!string(key))
            return false;
        if (visitor_)
            visitor_->key(path_, std::string(key), position(begin));
        if (!tell(&JSONHandler::key, key))
            return false;
        std::string name(visitor_ ? key : std::string_view());
        skipSpace();
        if (peek() != ':')
            return fail(localized("expected %1, found %2", {"':'", found()}));
        ++next_;
        skipSpace();
        if (!step(std::move(name), depth))
            return false;
        skipSpace();
        if (peek() == '}')
            return ++next_;
        if (peek() != ',')
            return fail(localized("expected %1, found %2", {localized("',' or '}'"), found()}));
        ++next_;
        skipSpace();
    }
}

bool JSONScanner::array(int depth) {
    ++next_;
    skipSpace();
    if (peek() == ']')
        return ++next_;
    for (std::size_t index = 0;; ++index) {
        if (!step(index, depth))
            return false;
        skipSpace();
        if (peek() == ']')
            return ++next_;
        if (peek() != ',')
            return fail(localized("expected %1, found %2", {localized("',' or ']'"), found()}));
        ++next_;
        skipSpace();
    }
}

bool JSONScanner::step(JSONPathStep step, int depth) {
    if (!visitor_) // only a visitor wants to know the path
        return value(depth + 1);
    path_.push_back(std::move(step));
    const bool goesOn = value(depth + 1);
    path_.pop_back();
    return goesOn;
}

bool JSONScanner::string(std::string_view& content) {
    const std::size_t begin = next_++;
    std::size_t copied = next_; // up to here the content is in `unescaped_`
    unescaped_.clear();
    while (true) {
        if (atEnd())
            return failAt(begin, localized("this text has no closing quote"));
        const char c = text_[next_];
        if (c == '"')
            break;
        if (c == '\\') {
            unescaped_ += text_.substr(copied, next_ - copied);
            if (!escape(unescaped_))
                return false;
            copied = next_;
        } else if (!character()) {
            return false;
        }
    }
    const bool hasEscapes = copied > begin + 1;
    if (hasEscapes)
        unescaped_ += text_.substr(copied, next_ - copied);
    content = hasEscapes ? std::string_view(unescaped_) : text_.substr(copied, next_ - copied);
    ++next_;
    return true;
}

bool JSONScanner::character() {
    const auto byte = static_cast<unsigned char>(text_[next_]);
    if (byte < 0x20)
        return fail(byte == '\n'
                        ? localized("a line break inside a text must be written as \\n")
                        : localized("a control character inside a text must be written as an escape"));
    const std::size_t length = byte < 0x80 ? 1 : utf8CharacterLength(text_.substr(next_));
    if (length == 0)
        return fail(localized("invalid UTF-8"));
    next_ += length;
    return true;
}

bool JSONScanner::escape(std::string& content) {
    const std::size_t begin = next_++;
    constexpr std::string_view kLetters = "\"\\/bfnrt", kMeanings = "\"\\/\b\f\n\r\t";
    if (const auto index = atEnd() ? std::string_view::npos : kLetters.find(peek());
        index != std::string_view::npos) {
        content += kMeanings[index];
        return ++next_;
    }
    if (peek() != 'u')
        return failAt(begin, localized("unknown escape"));
    ++next_;
    auto code = hexadecimal();
    if (!code)
        return failAt(begin, localized("expected four hexadecimal digits after \\u"));
    if (*code >= 0xD800 && *code < 0xDC00 && text_.substr(next_).starts_with("\\u")) {
        next_ += 2;
        const auto low = hexadecimal();
        if (low && *low >= 0xDC00 && *low < 0xE000)
            code = 0x10000 + ((*code - 0xD800) << 10) + (*low - 0xDC00);
    }
    if (*code >= 0xD800 && *code < 0xE000)
        return failAt(begin, localized("this surrogate lacks its other half"));
    appendUTF8(content, *code);
    return true;
}

std::optional<unsigned> JSONScanner::hexadecimal() {
    unsigned code = 0;
    for (int i = 0; i < 4; ++i, ++next_) {
        constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
        const auto digit = atEnd() ? std::string_view::npos : kDigits.find(peek());
        if (digit == std::string_view::npos)
            return std::nullopt;
        code = code * 16 + static_cast<unsigned>(digit < 16 ? digit : digit - 6);
    }
    return code;
}

bool JSONScanner::number() {
    const std::size_t begin = next_;
    const auto digits = [this] {
        const std::size_t first = next_;
        while (isDigit(peek()))
            ++next_;
        return next_ > first;
    };
    if (peek() == '-')
        ++next_;
    const bool leadingZero = peek() == '0';
    const std::size_t firstDigit = next_;
    if (!digits())
        return fail(localized("expected %1, found %2", {localized("a digit"), found()}));
    if (leadingZero && next_ > firstDigit + 1)
        return failAt(begin, localized("a number must not start with 0"));
    if (peek() == '.') {
        ++next_;
        if (!digits())
            return fail(localized("expected %1, found %2", {localized("a digit"), found()}));
    }
    if (peek() == 'e' || peek() == 'E') {
        ++next_;
        if (peek() == '+' || peek() == '-')
            ++next_;
        if (!digits())
            return fail(localized("expected %1, found %2", {localized("a digit"), found()}));
    }
    const double value = decimalValue(std::string(text_.substr(begin, next_ - begin)));
    if (std::isinf(value))
        return failAt(begin, localized("the number is too large"));
    return tell(&JSONHandler::number, value);
}

bool JSONScanner::word(std::string_view word) {
    if (!text_.substr(next_).starts_with(word))
        return fail(localized("expected %1, found %2", {localized("a value"), found()}));
    next_ += word.size();
    return true;
}

std::string_view withoutByteOrderMark(std::string_view text) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    return text.starts_with(kMark) ? text.substr(kMark.size()) : text;
}

std::string describe(const JSONError& error) {
    return localized("%1 (line %2, column %3)", {error.message, std::to_string(error.position.line),
                                                 std::to_string(error.position.column)});
}

} // namespace varnel
