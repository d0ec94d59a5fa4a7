// Messages of the desktop's bus, as other programs write them and as broken ones would.
#include "runtime/linux/BusMessage.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

BusMessage propertiesChanged() {
    return {.type = BusMessage::Type::signal,
            .serial = 7,
            .path = "/one",
            .interface = "org.freedesktop.DBus.Properties",
            .member = "PropertiesChanged",
            .signature = "s",
            .body = BusWriter().text("org.example").bytes()};
}

TEST(BusMessage, ReadsWhatItWrites) {
    const BusMessage message = propertiesChanged();
    const std::string bytes = encodeBusMessage(message);
    EXPECT_EQ(decodeBusMessage(bytes), message);
    EXPECT_EQ(busMessageLength(bytes.substr(0, 15)), std::size_t{0});
    EXPECT_EQ(busMessageLength(bytes + "the next one"), bytes.size());
}

TEST(BusMessage, DamagedBytesAreRefusedOrReadAsSomethingElse) {
    const std::string bytes = encodeBusMessage(propertiesChanged());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(decodeBusMessage(bytes.substr(0, length)));
    for (std::size_t place = 0; place < bytes.size(); ++place)
        for (const char value : {'\0', '\1', 'a', '(', '\x7f', '\xff'}) {
            std::string damaged = bytes;
            damaged[place] = value;
            if (const auto message = decodeBusMessage(damaged)) {
                EXPECT_LE(message->body.size(), bytes.size());
            }
        }
}

TEST(BusReader, SkipsValuesOfEveryType) {
    using namespace std::string_literals;
    const struct {
        std::string signature, bytes;
        std::size_t end; ///< 0: refused
    } rows[] = {
        {"y", "\1"s, 1},
        {"b", "\1\0\0\0"s, 4},
        {"x", "12345678"s, 8},
        {"s", "\2\0\0\0ab\0"s, 7},
        {"g", "\1s\0"s, 3},
        {"v", "\1y\0\5"s, 4},
        {"v", "\1u\0\0\5\0\0\0"s, 8},
        {"as", "\x09\0\0\0\1\0\0\0a\0\0\0\0\0\0\0"s, 13},
        {"a{sv}", "\0\0\0\0\0\0\0\0"s, 8},
        {"(yu)", "\1\0\0\0\2\0\0\0"s, 8},
        {"(y(yy))", "\1\0\0\0\0\0\0\0\1\1"s, 10},
        {"s", "\xff\xff\xff\xff"s, 0},
        {"as", "\xff\0\0\0"s, 0},
        {"(yu", "\1\0\0\0\2\0\0\0"s, 0},
        {"a", "\0\0\0\0"s, 0},
        {"v", "\3aaa\0"s, 0},
    };
    for (const auto& row : rows) {
        BusReader reader(row.bytes);
        std::string_view signature = row.signature;
        reader.skip(signature);
        EXPECT_EQ(reader.hasFailed(), row.end == 0) << row.signature;
        EXPECT_TRUE(row.end == 0 || row.end == reader.place()) << row.signature << reader.place();
        EXPECT_EQ(signature, "") << row.signature;
    }
    std::string deep = std::string(200, '(') + "y" + std::string(200, ')');
    BusReader reader("xxxxxxxx");
    std::string_view signature = deep;
    reader.skip(signature);
    EXPECT_TRUE(reader.hasFailed());
}

} // namespace
} // namespace varnel
