#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>

namespace varnel {

/// A message of the desktop's message bus (D-Bus), as far as this program needs one. A plain value.
struct BusMessage {
    enum class Type : std::uint8_t { call = 1, reply = 2, error = 3, signal = 4 } type = Type::call;
    std::uint32_t serial = 0;  ///< never 0 in a message that was sent
    std::uint32_t replyTo = 0; ///< the call's serial
    std::string path = {}, interface = {}, member = {}, destination = {};
    std::string signature = {}; ///< of the values in `body`
    std::string body = {};
    std::uint32_t descriptors = 0; ///< how many come with it

    friend bool operator==(const BusMessage&, const BusMessage&) = default;
};

/// Writes the values of a body, one after the other.
class BusWriter {
public:
    BusWriter& number(std::uint32_t value);
    /// A text or the path of an object. Holds no NUL.
    BusWriter& text(std::string_view value);
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
    friend std::string encodeBusMessage(const BusMessage& message);
    void align(std::size_t boundary);
    void field(std::uint8_t code, std::string_view signature, std::string_view text);
    std::string bytes_;
};

/// Reads values in the order in which they stand. A value that is not there or damaged ends the reading: from
/// then on everything is empty.
class BusReader {
public:
    explicit BusReader(std::string_view bytes)
        : bytes_(bytes) {}

    [[nodiscard]] std::uint8_t byte();
    [[nodiscard]] std::uint32_t number();
    [[nodiscard]] bool boolean() { return number() != 0; }
    [[nodiscard]] std::string_view text();
    [[nodiscard]] std::string_view signature();
    /// The end of an array's elements, which begin at the reader's place then.
    [[nodiscard]] std::size_t arrayEnd(std::size_t elementAlignment);
    void align(std::size_t boundary);
    /// One value of the first type in `signature`, which is taken from it.
    void skip(std::string_view& signature, int depth = 0);
    [[nodiscard]] std::size_t place() const { return place_; }
    [[nodiscard]] bool hasFailed() const { return hasFailed_; }

private:
    std::string_view take(std::size_t length);
    std::string_view bytes_;
    std::size_t place_ = 0;
    bool hasFailed_ = false;
};

/// The bytes of a message.
std::string encodeBusMessage(const BusMessage& message);

/// How many bytes the message takes that begins so; 0 while that cannot be told yet. The error: these bytes
/// are no message, or one that is longer than any that this program waits for.
std::expected<std::size_t, std::string> busMessageLength(std::string_view bytes);

/// The message that these bytes are, all of them.
std::expected<BusMessage, std::string> decodeBusMessage(std::string_view bytes);

} // namespace varnel
