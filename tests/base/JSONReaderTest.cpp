#include "base/JSONReader.h"
#include "base/JSONPlainReader.h"
#include "base/JSONScanner.h"
#include "base/JSONStream.h"
#include "base/JSONWriter.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>

namespace varnel {
namespace {

using namespace std::string_literals;

std::string nested(int levels) {
    return std::string(static_cast<std::size_t>(levels), '[') +
           std::string(static_cast<std::size_t>(levels), ']');
}

/// Both readers of a text, which must agree.
std::expected<JSONValue, JSONError> read(const std::string& text) {
    auto fast = readJSON(text), plain = readJSONPlainly(text);
    EXPECT_EQ(fast.has_value(), plain.has_value()) << text.substr(0, 200);
    if (fast && plain) {
        EXPECT_EQ(*fast, *plain) << text.substr(0, 200);
    } else if (!fast && !plain) {
        EXPECT_EQ(fast.error(), plain.error()) << text.substr(0, 200);
    }
    return fast;
}

TEST(JSONReader, ReadsValidTexts) {
    const struct {
        std::string text, compact;
    } rows[] = {
        {"null", "null"},
        {" true ", "true"},
        {"\t\r\n-0", "-0"},
        {"[]", "[]"},
        {"{}", "{}"},
        {"\xEF\xBB\xBF{\"a\":1}", R"({"a":1})"},
        {R"({"b":1,"a":{"x":[1,2.50,-3e2]}})", R"({"a":{"x":[1,2.5,-300]},"b":1})"},
        {R"({"a":1,"b":2,"a":{"c":3}})", R"({"a":{"c":3},"b":2})"},
        {R"(["\u00e9\uD83D\ude00","\"\\\/\b\f\n\r\t"])", "[\"é😀\",\"\\\"\\\\/\\b\\f\\n\\r\\t\"]"},
        {R"("\u0000\u001f")", R"("\u0000\u001f")"},
        {"\"\xF4\x8F\xBF\xBF \x7F\"", "\"\xF4\x8F\xBF\xBF \x7F\""},
        {R"({"":0})", R"({"":0})"},
        {"18446744073709551616", "18446744073709552000"},
        {"123456789012345678901234567890", "1.2345678901234568e+29"},
        {"1.7976931348623157e308", "1.7976931348623157e+308"},
        {"0." + std::string(400, '0') + "1e400", "0.1"},
        {"1" + std::string(400, '0') + "e-400", "1"},
        {"4.9e-324", "5e-324"},
        {"1e-400", "0"},
        {"[0e999999999999999999999,-0E+99999999999999999999 ,1]", "[0,-0,1]"},
        {"{\"a\" :1e-99999999999999999999 , \"b\": 1.7976931348623158e308}",
         R"({"a":0,"b":1.7976931348623157e+308})"},
        {"2.2250738585072011e-308", "2.225073858507201e-308"},
        {"-0.12345678901234567890123", "-0.12345678901234568"},
    };
    for (const auto& row : rows) {
        const auto value = read(row.text);
        ASSERT_TRUE(value) << row.text << ": " << describe(value.error());
        EXPECT_EQ(writeCompactJSON(*value), row.compact) << row.text;
        if (row.text.starts_with("\xEF"))
            continue;
        const auto listed = read("[" + row.text + "]"); // only lists and objects reach the fast reader
        ASSERT_TRUE(listed) << row.text << ": " << describe(listed.error());
        EXPECT_EQ(writeCompactJSON(*listed), "[" + row.compact + "]") << row.text;
    }
}

TEST(JSONReader, SaysWhatIsWrongAndWhere) {
    const struct {
        std::string text, error;
    } rows[] = {
        {"", "expected a value, found the end of the text (line 1, column 1)"},
        {"\xEF\xBB\xBF", "expected a value, found the end of the text (line 1, column 1)"},
        {"{\n  \"a\" : ]\n}", "expected a value, found ']' (line 2, column 9)"},
        {"[1,]", "expected a value, found ']' (line 1, column 4)"},
        {"[1 2]", "expected ',' or ']', found '2' (line 1, column 4)"},
        {"[1", "expected ',' or ']', found the end of the text (line 1, column 3)"},
        {"{\"a\":1,}", "expected a key in quotes, found '}' (line 1, column 8)"},
        {"{\"a\" 1}", "expected ':', found '1' (line 1, column 6)"},
        {"{\"a\":1 \"b\":2}", "expected ',' or '}', found '\"' (line 1, column 8)"},
        {"{a:1}", "expected a key in quotes, found 'a' (line 1, column 2)"},
        {"// no\n1", "expected a value, found '/' (line 1, column 1)"},
        {"[1]\n]", "expected the end of the text, found ']' (line 2, column 1)"},
        {"1 2", "expected the end of the text, found '2' (line 1, column 3)"},
        {"nul", "expected a value, found 'n' (line 1, column 1)"},
        {"nulll", "expected the end of the text, found 'l' (line 1, column 5)"},
        {"[nulll]", "expected ',' or ']', found 'l' (line 1, column 6)"},
        {"{\"a\":truee}", "expected ',' or '}', found 'e' (line 1, column 10)"},
        {"[false-]", "expected ',' or ']', found '-' (line 1, column 7)"},
        {"[1-2]", "expected ',' or ']', found '-' (line 1, column 3)"},
        {"[\"a\"b]", "expected ',' or ']', found 'b' (line 1, column 5)"},
        {"NaN", "expected a value, found 'N' (line 1, column 1)"},
        {"[01]", "a number must not start with 0 (line 1, column 2)"},
        {"[1.]", "expected a digit, found ']' (line 1, column 4)"},
        {"[.5]", "expected a value, found '.' (line 1, column 2)"},
        {"[+1]", "expected a value, found '+' (line 1, column 2)"},
        {"[-]", "expected a digit, found ']' (line 1, column 3)"},
        {"1e", "expected a digit, found the end of the text (line 1, column 3)"},
        {"[\"ü\", 1e309]", "the number is too large (line 1, column 7)"},
        {"-1" + std::string(309, '0'), "the number is too large (line 1, column 1)"},
        {"1.7976931348623159e308", "the number is too large (line 1, column 1)"},
        {"\"abc", "this text has no closing quote (line 1, column 1)"},
        {"\"a\nb\"", "a line break inside a text must be written as \\n (line 1, column 3)"},
        {"\"a\tb\"", "a control character inside a text must be written as an escape (line 1, column 3)"},
        {"\"\0\""s, "a control character inside a text must be written as an escape (line 1, column 2)"},
        {"[\0]"s, "expected a value, found a control character (line 1, column 2)"},
        {"1\0"s, "expected the end of the text, found a control character (line 1, column 2)"},
        {R"(["\x"])", "unknown escape (line 1, column 3)"},
        {R"(["\u12g4"])", "expected four hexadecimal digits after \\u (line 1, column 3)"},
        {R"(["\ud800"])", "this surrogate lacks its other half (line 1, column 3)"},
        {R"(["\ud800\u0041"])", "this surrogate lacks its other half (line 1, column 3)"},
        {R"(["\udc00"])", "this surrogate lacks its other half (line 1, column 3)"},
        {R"({"\udfff":1})", "this surrogate lacks its other half (line 1, column 3)"},
        {"[\"\xFF\"]", "invalid UTF-8 (line 1, column 3)"},
        {"[\"ä\xC0\x80\"]", "invalid UTF-8 (line 1, column 4)"},
        {"[\"\xED\xA0\x80\"]", "invalid UTF-8 (line 1, column 3)"},
        {"[\"\xF4\x90\x80\x80\"]", "invalid UTF-8 (line 1, column 3)"},
        {"[\xC3\xA4]", "expected a value, found 'ä' (line 1, column 2)"},
        {nested(513), "nested deeper than 512 levels (line 1, column 513)"},
        {"\xFF\xFE[\0"s, "expected a value, found invalid UTF-8 (line 1, column 1)"},
    };
    for (const auto& row : rows) {
        const auto value = read(row.text);
        ASSERT_FALSE(value) << row.text;
        EXPECT_EQ(describe(value.error()), row.error) << row.text;
    }
}

TEST(JSONReader, LimitsTheDepthOnly) {
    EXPECT_TRUE(read(nested(512)));
    for (const int levels : {513, 1024, 1025, 5000, 1'000'000}) {
        EXPECT_FALSE(read(nested(levels)));
        EXPECT_FALSE(read(std::string(static_cast<std::size_t>(levels), '[')));
    }
    std::string objects = "1";
    for (int i = 0; i < 511; ++i)
        objects = "{\"a\":" + objects + "}";
    EXPECT_TRUE(read(objects));
    EXPECT_FALSE(read("[" + objects + "]") && read("[[" + objects + "]]"));
}

TEST(JSONReader, NeedsNothingBehindTheText) {
    // Every prefix of a text that has one of each kind; a sanitizer sees reads past the end.
    const std::string whole = R"({"a":[1,-2.5e3,true,false,null,"x\u00e9\ud83d\ude00y"],"b":{}})";
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::vector<char> exact(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(readJSON({exact.data(), exact.size()}).has_value(), size == whole.size()) << size;
        read(whole.substr(0, size));
    }
}

TEST(JSONReader, ReadsNumbersInAnyLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C"}) {
        std::setlocale(LC_ALL, name);
        EXPECT_EQ(read("[0.5]"), JSONValue(JSONValue::Array{0.5}));
        EXPECT_EQ(writeCompactJSON(0.5), "0.5");
    }
    std::setlocale(LC_ALL, before.c_str());
}

/// Counts pieces and stops at one of them.
class StoppingHandler : public JSONHandler {
public:
    explicit StoppingHandler(int limit)
        : limit_(limit) {}
    bool beginObject() override { return note("{"); }
    bool endObject() override { return note("}"); }
    bool beginArray() override { return note("["); }
    bool endArray() override { return note("]"); }
    bool key(std::string_view key) override { return note(key); }
    bool string(std::string_view text) override { return note(text); }
    bool number(double) override { return note("1"); }
    bool boolean(bool) override { return note("t"); }
    bool null() override { return note("0"); }
    std::string seen;

private:
    bool note(std::string_view piece) {
        seen += piece;
        return --limit_ > 0;
    }
    int limit_;
};

bool readFast(std::string_view text, JSONHandler& handler) {
    return parseJSON(text, handler).has_value();
}
bool readWithTheScanner(std::string_view text, JSONHandler& handler) {
    return !JSONScanner(text, nullptr, &handler).scan();
}

TEST(JSONStream, GivesThePiecesInOrderUntilTheHandlerStops) {
    const std::string whole = "{k[1t0s{}]}";
    for (const auto& read : {readFast, readWithTheScanner}) {
        for (int limit = 1; limit <= static_cast<int>(whole.size()); ++limit) {
            StoppingHandler handler(limit);
            EXPECT_TRUE(read(R"({"k":[5,false,null,"s",{}]})", handler)) << limit;
            EXPECT_EQ(handler.seen, whole.substr(0, static_cast<std::size_t>(limit)));
        }
        StoppingHandler handler(3);
        EXPECT_TRUE(read("[1,2,nonsense]", handler)) << "what follows the stop is not looked at";
    }
}

TEST(JSONPosition, IsFoundForPathsAndTheirLongestExistingPart) {
    const std::string text =
        "{\n  \"items\" : [\n    { \"ü\" : \"ö\", \"keys\" : 7 },\n    8 ],\n  \"items2\" : 0,\n"
        "  \"items\" : [ 1, { \"a b\" : [ [ 2 ] ] } ] }";
    const struct {
        JSONPath path;
        std::string name;
        JSONPosition position;
    } rows[] = {
        {{}, "", {1, 1}},
        {{"items"}, "items", {6, 13}},
        {{"items", 0U}, "items[0]", {6, 15}},
        {{"items", 1U, "a b", 0U, 0U}, "items[1][\"a b\"][0][0]", {6, 32}},
        {{"items", 5U, "keys"}, "items[5].keys", {6, 13}},
        {{"other"}, "other", {1, 1}},
        {{"a\"b"}, "[\"a\\\"b\"]", {1, 1}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(describe(row.path), row.name);
        EXPECT_EQ(findJSONPosition(text, row.path), row.position)
            << row.name << " at " << findJSONPosition(text, row.path).line << ":"
            << findJSONPosition(text, row.path).column;
    }
    EXPECT_EQ(findJSONPosition("[\"äöü😀\", 1]", {1U}), (JSONPosition{1, 10}));
}

TEST(JSONDuplicates, AreFoundOnEveryLevel) {
    const auto found =
        findDuplicateKeys("{\"a\":[{\"x\":1,\n\"y\":2,\"\\u0078\":3},{\"x\":4}],\"b\":{\"a\":1},\"a\":0}");
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(describe(found[0].object) + "/" + found[0].key, "a[0]/x");
    EXPECT_EQ(found[0].position, (JSONPosition{2, 7}));
    EXPECT_EQ(describe(found[1].object) + "/" + found[1].key, "/a");
}

} // namespace
} // namespace varnel
