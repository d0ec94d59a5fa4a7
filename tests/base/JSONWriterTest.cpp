#include "base/JSONWriter.h"
#include "base/JSONReader.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>

namespace varnel {
namespace {

TEST(JSONWriter, WritesTheStyleOfUserFiles) {
    const auto value =
        readJSON(R"({"b":[],"a":{},"c":[1,[2,{"d":"x/y"}],[]],"é":"\u001f\u007f/\\\"","B":null,"":true})");
    ASSERT_TRUE(value);
    EXPECT_EQ(writePrettyJSON(*value), R"({
  "" : true,
  "B" : null,
  "a" : {

  },
  "b" : [

  ],
  "c" : [
    1,
    [
      2,
      {
        "d" : "x\/y"
      }
    ],
    [

    ]
  ],
  "é" : "\u001f)"
                                       "\x7F"
                                       R"(\/\\\""
})");
    EXPECT_EQ(writePrettyJSON(JSONValue::Object{}), "{\n\n}");
    EXPECT_EQ(writePrettyJSON(JSONValue::Array{}), "[\n\n]");
    EXPECT_EQ(writePrettyJSON("a/b"), R"("a\/b")");
    EXPECT_EQ(writeCompactJSON("é\xff\"\xe2\x82z\xc3"), R"("é�\"��z�")") << "bytes that are no UTF-8";
    EXPECT_EQ(writeCompactJSON(*value),
              R"({"":true,"B":null,"a":{},"b":[],"c":[1,[2,{"d":"x/y"}],[]],"é":"\u001f)"
              "\x7F"
              R"(/\\\""})");
}

TEST(JSONWriter, WritesNumbersAsECMAScriptDoes) {
    const struct {
        double value;
        std::string text;
    } rows[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {1, "1"},
        {-1.5, "-1.5"},
        {0.1, "0.1"},
        {100, "100"},
        {123.456, "123.456"},
        {1e20, "100000000000000000000"},
        {123456789012345680000.0, "123456789012345680000"},
        {1e21, "1e+21"},
        {1.5e21, "1.5e+21"},
        {1e-6, "0.000001"},
        {1.25e-6, "0.00000125"},
        {1e-7, "1e-7"},
        {1.5e-7, "1.5e-7"},
        {-1e300, "-1e+300"},
        {5e-324, "5e-324"},
        {1.7976931348623157e308, "1.7976931348623157e+308"},
        {9007199254740993.0, "9007199254740992"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1e100, "1e+100"},
    };
    for (const auto& row : rows) {
        std::string text;
        appendJSONNumber(text, row.value);
        EXPECT_EQ(text, row.text);
    }
}

TEST(JSONWriter, WritesNumbersThatReadBackTheSame) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 20'000; ++i) {
        const auto value = std::bit_cast<double>(random());
        if (value - value != 0) // not finite
            continue;
        std::string text;
        appendJSONNumber(text, value);
        const auto back = readJSON(text);
        ASSERT_TRUE(back) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(*back->number()), std::bit_cast<std::uint64_t>(value)) << text;
    }
}

} // namespace
} // namespace varnel
