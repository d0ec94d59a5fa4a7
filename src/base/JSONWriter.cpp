#include "base/JSONWriter.h"

#include "base/UTF8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace varnel {

namespace {

/// Writes a container's content compactly.
class CompactWriter {
public:
    explicit CompactWriter(std::string& out)
        : out_(out) {}

    void value(const JSONValue& value) {
        if (const auto* members = value.object()) {
            char separator = '{';
            for (const auto& [key, member] : *members) {
                out_ += std::exchange(separator, ',');
                appendJSONString(out_, key, false);
                out_ += ':';
                this->value(member);
            }
            out_ += members->empty() ? "{}" : "}";
        } else if (const auto* elements = value.array()) {
            char separator = '[';
            for (const JSONValue& element : *elements) {
                out_ += std::exchange(separator, ',');
                this->value(element);
            }
            out_ += elements->empty() ? "[]" : "]";
        } else if (const auto* text = value.string()) {
            appendJSONString(out_, *text, false);
        } else if (const auto* number = value.number()) {
            appendJSONNumber(out_, *number);
        } else if (const auto* truth = value.boolean()) {
            out_ += *truth ? "true" : "false";
        } else {
            out_ += "null";
        }
    }

private:
    std::string& out_;
};

/// The shortest decimal digits that read back as the same number, and the power of ten of the first one.
struct Decimal {
    char digits[24];
    int count = 0;
    int exponent = 0;
};

Decimal shortestDecimal(double positive) {
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, positive, std::chars_format::scientific).ptr;
    Decimal decimal;
    const char* next = text;
    for (; *next != 'e'; ++next)
        if (*next != '.')
            decimal.digits[decimal.count++] = *next;
    next += next[1] == '+' ? 2 : 1;
    std::from_chars(next, end, decimal.exponent);
    return decimal;
}

} // namespace

void appendJSONNumber(std::string& out, double value) {
    if (std::signbit(value))
        out += '-';
    if (value == 0) {
        out += '0';
        return;
    }
    const Decimal decimal = shortestDecimal(std::fabs(value));
    const std::string_view digits(decimal.digits, static_cast<std::size_t>(decimal.count));
    const int pointAfter = decimal.exponent + 1;
    if (pointAfter > 21 || pointAfter <= -6) {
        out += digits[0];
        if (digits.size() > 1)
            out.append(".").append(digits.substr(1));
        out += decimal.exponent < 0 ? "e-" : "e+";
        out += std::to_string(std::abs(decimal.exponent));
    } else if (pointAfter <= 0) {
        out.append("0.").append(static_cast<std::size_t>(-pointAfter), '0').append(digits);
    } else if (pointAfter >= decimal.count) {
        out.append(digits).append(static_cast<std::size_t>(pointAfter - decimal.count), '0');
    } else {
        const auto whole = static_cast<std::size_t>(pointAfter);
        out.append(digits.substr(0, whole)).append(".").append(digits.substr(whole));
    }
}

void appendJSONString(std::string& out, std::string_view text, bool escapeSlashes) {
    constexpr std::string_view kShort = "\"\\\b\f\n\r\t", kLetters = "\"\\bfnrt";
    constexpr char kHex[] = "0123456789abcdef";
    out += '"';
    std::size_t plain = 0; // where the part begins that needs no escape
    for (std::size_t i = 0, next = 0; i < text.size(); i = next) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = byte < 0x80 ? 1 : utf8CharacterLength(text.substr(i));
        next = i + std::max<std::size_t>(length, 1);
        if (length > 0 && byte >= 0x20 && byte != '"' && byte != '\\' && !(byte == '/' && escapeSlashes))
            continue;
        out.append(text.substr(plain, i - plain));
        plain = next;
        if (length == 0)
            out += "\uFFFD";
        else if (byte == '/')
            out += "\\/";
        else if (const auto index = kShort.find(text[i]); index != std::string_view::npos)
            out.append(1, '\\').append(1, kLetters[index]);
        else
            out.append("\\u00").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
    }
    out.append(text.substr(plain));
    out += '"';
}

std::string writeCompactJSON(const JSONValue& value) {
    std::string out;
    CompactWriter(out).value(value);
    return out;
}

std::string writePrettyJSON(const JSONValue& value) {
    std::string out;
    JSONPrettyWriter(out).value(value);
    return out;
}

void JSONPrettyWriter::newLine() {
    out_.append("\n").append(static_cast<std::size_t>(depth_) * 2, ' ');
}

void JSONPrettyWriter::separate() {
    if (std::exchange(afterKey_, false) || depth_ == 0)
        return;
    if (!std::exchange(first_, false))
        out_ += ',';
    newLine();
}

void JSONPrettyWriter::open(char bracket) {
    separate();
    out_ += bracket;
    ++depth_;
    first_ = true;
}

void JSONPrettyWriter::close(char bracket) {
    --depth_;
    if (std::exchange(first_, false))
        out_ += '\n'; // the empty line of an empty container
    newLine();
    out_ += bracket;
}

void JSONPrettyWriter::beginObject() {
    open('{');
}
void JSONPrettyWriter::endObject() {
    close('}');
}
void JSONPrettyWriter::beginArray() {
    open('[');
}
void JSONPrettyWriter::endArray() {
    close(']');
}

void JSONPrettyWriter::key(std::string_view key) {
    separate();
    appendJSONString(out_, key, true);
    out_ += " : ";
    afterKey_ = true;
}

void JSONPrettyWriter::string(std::string_view text) {
    separate();
    appendJSONString(out_, text, true);
}

void JSONPrettyWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
}

void JSONPrettyWriter::number(double value) {
    separate();
    appendJSONNumber(out_, value);
}

void JSONPrettyWriter::null() {
    separate();
    out_ += "null";
}

void JSONPrettyWriter::value(const JSONValue& value) {
    if (const auto* members = value.object()) {
        beginObject();
        for (const auto& [name, member] : *members) {
            key(name);
            this->value(member);
        }
        endObject();
    } else if (const auto* elements = value.array()) {
        beginArray();
        for (const JSONValue& element : *elements)
            this->value(element);
        endArray();
    } else if (const auto* text = value.string()) {
        string(*text);
    } else if (const auto* number = value.number()) {
        this->number(*number);
    } else if (const auto* truth = value.boolean()) {
        boolean(*truth);
    } else {
        null();
    }
}

} // namespace varnel
