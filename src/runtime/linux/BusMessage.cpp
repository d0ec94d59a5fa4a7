#include "runtime/linux/BusMessage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace varnel {

namespace {

/// Programs of one computer agree on the order of bytes.
constexpr char kByteOrder = std::endian::native == std::endian::little ? 'l' : 'B';
constexpr std::uint8_t kVersion = 1;
constexpr std::size_t kFixedPart = 16;
constexpr std::size_t kLongest = 1 << 20;
constexpr int kDeepest = 64;

enum Field : std::uint8_t {
    pathField = 1,
    interfaceField = 2,
    memberField = 3,
    replyField = 5,
    destinationField = 6,
    signatureField = 8,
    descriptorsField = 9,
};

std::size_t aligned(std::size_t place, std::size_t boundary) {
    return (place + boundary - 1) / boundary * boundary;
}

std::string rawNumber(std::uint32_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::size_t alignmentOf(char type) {
    switch (type) {
    case 'y':
    case 'g':
    case 'v':
        return 1;
    case 'n':
    case 'q':
        return 2;
    case 'x':
    case 't':
    case 'd':
    case '(':
    case '{':
        return 8;
    default:
        return 4;
    }
}

/// How many characters of the signature the first type has; 0 when it is damaged.
std::size_t typeLength(std::string_view signature) {
    std::size_t length = 0;
    while (length < signature.size() && signature[length] == 'a')
        ++length;
    if (length == signature.size())
        return 0;
    if (signature[length] != '(' && signature[length] != '{')
        return length + 1;
    for (int open = 0; length < signature.size(); ++length) {
        const char c = signature[length];
        open += c == '(' || c == '{' ? 1 : c == ')' || c == '}' ? -1 : 0;
        if (open == 0)
            return length + 1;
    }
    return 0;
}

} // namespace

void BusWriter::align(std::size_t boundary) {
    bytes_.resize(aligned(bytes_.size(), boundary), '\0');
}

BusWriter& BusWriter::number(std::uint32_t value) {
    align(4);
    bytes_ += rawNumber(value);
    return *this;
}

BusWriter& BusWriter::text(std::string_view value) {
    number(static_cast<std::uint32_t>(value.size()));
    bytes_.append(value).push_back('\0');
    return *this;
}

void BusWriter::field(std::uint8_t code, std::string_view signature, std::string_view text) {
    if (text.empty())
        return;
    align(8);
    bytes_.push_back(static_cast<char>(code));
    bytes_.push_back(static_cast<char>(signature.size()));
    bytes_.append(signature).push_back('\0');
    if (signature != "g") {
        this->text(text);
        return;
    }
    bytes_.push_back(static_cast<char>(text.size()));
    bytes_.append(text).push_back('\0');
}

std::string encodeBusMessage(const BusMessage& message) {
    BusWriter writer;
    writer.bytes_ = {kByteOrder, static_cast<char>(message.type), '\0', static_cast<char>(kVersion)};
    writer.number(static_cast<std::uint32_t>(message.body.size())).number(message.serial).number(0);
    writer.field(pathField, "o", message.path);
    writer.field(interfaceField, "s", message.interface);
    writer.field(memberField, "s", message.member);
    writer.field(destinationField, "s", message.destination);
    writer.field(signatureField, "g", message.signature);
    const std::string fields = rawNumber(static_cast<std::uint32_t>(writer.bytes_.size() - kFixedPart));
    writer.bytes_.replace(kFixedPart - fields.size(), fields.size(), fields);
    writer.align(8);
    return std::move(writer.bytes_) + message.body;
}

std::string_view BusReader::take(std::size_t length) {
    if (hasFailed_ || length > bytes_.size() - place_) {
        hasFailed_ = true;
        place_ = bytes_.size();
        return {};
    }
    return bytes_.substr(std::exchange(place_, place_ + length), length);
}

void BusReader::align(std::size_t boundary) {
    (void)take(aligned(place_, boundary) - place_);
}

std::uint8_t BusReader::byte() {
    const std::string_view raw = take(1);
    return raw.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(raw[0]);
}

std::uint32_t BusReader::number() {
    align(4);
    std::uint32_t value = 0;
    if (const std::string_view raw = take(sizeof value); !raw.empty())
        std::memcpy(&value, raw.data(), sizeof value);
    return value;
}

std::string_view BusReader::text() {
    const std::string_view text = take(number());
    (void)take(1);
    return text;
}

std::string_view BusReader::signature() {
    const std::string_view text = take(byte());
    (void)take(1);
    return text;
}

std::size_t BusReader::arrayEnd(std::size_t elementAlignment) {
    const std::size_t length = number();
    align(elementAlignment);
    if (length > bytes_.size() - place_)
        (void)take(length); // fails
    return std::min(place_ + length, bytes_.size());
}

void BusReader::skip(std::string_view& signature, int depth) {
    const std::size_t length = typeLength(signature);
    if (length == 0 || depth > kDeepest) {
        (void)take(bytes_.size() + 1); // fails
        signature = {};
        return;
    }
    std::string_view type = signature.substr(0, length);
    signature.remove_prefix(length);
    switch (type[0]) {
    case 's':
    case 'o':
        (void)text();
        return;
    case 'g':
        (void)this->signature();
        return;
    case 'v': {
        std::string_view inner = this->signature();
        return skip(inner, depth + 1);
    }
    case 'a': {
        const std::size_t end = arrayEnd(alignmentOf(type[1]));
        (void)take(end - place_);
        return;
    }
    case '(':
    case '{': {
        align(8);
        std::string_view members = type.substr(1, type.size() - 2);
        while (!members.empty() && !hasFailed_)
            skip(members, depth + 1);
        return;
    }
    default: { // as long as its alignment
        const std::size_t size = alignmentOf(type[0]);
        align(size);
        (void)take(size);
    }
    }
}

std::expected<std::size_t, std::string> busMessageLength(std::string_view bytes) {
    if (bytes.size() < kFixedPart)
        return 0;
    if (bytes[0] != kByteOrder || bytes[3] != kVersion)
        return std::unexpected("not a message of this version and order of bytes");
    BusReader reader(bytes.substr(4, kFixedPart - 4));
    const std::size_t body = reader.number();
    (void)reader.number();
    const std::size_t fields = reader.number();
    if (body > kLongest || fields > kLongest)
        return std::unexpected("a message that is too long");
    return aligned(kFixedPart + fields, 8) + body;
}

std::expected<BusMessage, std::string> decodeBusMessage(std::string_view bytes) {
    const auto length = busMessageLength(bytes);
    if (!length || *length != bytes.size())
        return std::unexpected(length ? "a message of another length" : length.error());
    BusMessage message;
    BusReader reader(bytes);
    (void)reader.byte();
    message.type = static_cast<BusMessage::Type>(reader.byte());
    reader.align(8);
    message.serial = reader.number();
    const std::size_t end = reader.arrayEnd(8);
    while (reader.place() < end && !reader.hasFailed()) {
        reader.align(8);
        const std::uint8_t code = reader.byte();
        std::string_view signature = reader.signature();
        if ((code == replyField || code == descriptorsField) && signature == "u")
            (code == replyField ? message.replyTo : message.descriptors) = reader.number();
        else if (code == signatureField && signature == "g")
            message.signature = reader.signature();
        else if (code == pathField && signature == "o")
            message.path = reader.text();
        else if (signature == "s" &&
                 (code == interfaceField || code == memberField || code == destinationField))
            (code == interfaceField ? message.interface
             : code == memberField  ? message.member
                                    : message.destination) = reader.text();
        else
            reader.skip(signature);
    }
    reader.align(8);
    if (reader.hasFailed())
        return std::unexpected("a damaged message");
    message.body = bytes.substr(reader.place());
    return message;
}

} // namespace varnel
