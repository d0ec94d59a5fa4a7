#include "base/Uuid.h"

#include <cstdlib>
#include <sys/random.h>
#include <unistd.h>

namespace varnel {

namespace {

/// Where a hyphen stands in the text.
bool isHyphenPlace(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

int hexadecimalValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

} // namespace

Uuid Uuid::random() {
    Uuid uuid;
    if (getentropy(uuid.bytes.data(), uuid.bytes.size()) != 0)
        std::abort(); // the system has no randomness: identifiers would collide
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36)
        return std::nullopt;
    Uuid uuid;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPlace(i)) {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        const int value = hexadecimalValue(text[i]);
        if (value < 0)
            return std::nullopt;
        std::uint8_t& byte = uuid.bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
    }
    return uuid;
}

std::string Uuid::text() const {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(36);
    for (const std::uint8_t byte : bytes) {
        if (isHyphenPlace(out.size()))
            out += '-';
        out += kDigits[byte >> 4];
        out += kDigits[byte & 15];
    }
    return out;
}

} // namespace varnel
