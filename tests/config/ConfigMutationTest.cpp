#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFix.h"
#include "tests/config/ConfigTestSupport.h"

#include <gtest/gtest.h>

#include <random>

namespace varnel {
namespace {

struct Damaged {
    std::string text, what;
    int firstLine, lastLine;
};

int lineAt(std::string_view text, std::size_t offset) {
    return 1 + static_cast<int>(std::ranges::count(text.substr(0, offset), '\n'));
}

/// Damages one place as editors, merges and broken transfers do.
class Vandal {
public:
    Damaged damage(std::string text) {
        static constexpr std::string_view kSigns = "{}[],:\"\\ x0\n\x01\xff#";
        const std::size_t at = below(text.size());
        const std::size_t start = text.rfind('\n', at) + 1,
                          end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string line = text.substr(start, end - start);
        int first = lineAt(text, start), last = first;
        std::string what;
        switch (below(8)) {
        case 0:
            what = "delete a character";
            text.erase(at, 1);
            break;
        case 1:
            what = "insert a character";
            text.insert(at, 1, kSigns[below(kSigns.size())]);
            last += 1;
            break;
        case 2:
            what = "replace a character";
            text[at] = kSigns[below(kSigns.size())];
            last += 1;
            break;
        case 3:
            what = "delete a line";
            text.erase(start, end - start);
            break;
        case 4:
            what = "repeat a line";
            text.insert(start, line);
            last += 1;
            break;
        case 5:
            what = "cut the rest off";
            text.resize(at);
            break;
        case 6:
            what = "misspell a word";
            first = last = lineAt(text, spoil(text, at));
            break;
        default: {
            const std::size_t sign = std::min(text.find_first_of("{}[],:\"", at), text.size() - 1);
            what = std::string("delete a ") + text[sign];
            first = last = lineAt(text, sign);
            text.erase(sign, 1);
        }
        }
        return {std::move(text), what, first, last};
    }

private:
    static std::size_t spoil(std::string& text, std::size_t at) {
        const std::size_t letter = std::min(text.find_first_of("aeiost", at), text.size() - 1);
        text[letter] = 'q';
        return letter;
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }
    std::mt19937 random_{20260101};
};

/// Whether the object or array that begins on `line` is still open on the line of the damage.
bool isOpenAt(std::string_view text, int line, int damage) {
    int depth = 0, number = 1;
    bool isInside = false;
    for (const char c : text) {
        number += c == '\n' ? 1 : 0;
        depth += number < line ? 0 : c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
        if (number == damage && depth > 0)
            isInside = true;
        if (number > line && depth <= 0)
            break;
    }
    return isInside;
}

TEST(ConfigMutation, NamesThePlaceOfTheDamageInTwoThousandDamagedFiles) {
    constexpr int kVariantsPerFile = 500;
    Vandal vandal;
    int damaged = 0, refused = 0;
    for (const char* name : {"saved", "formatted", "handwritten", "older"}) {
        const std::string path = std::string(VARNEL_TEST_DATA "/config/") + name + ".json";
        const std::string text = test::readText(path);
        ASSERT_TRUE(decodeDocument(text)) << path;
        for (int variant = 0; variant < kVariantsPerFile; ++variant, ++damaged) {
            const Damaged broken = vandal.damage(text);
            (void)fixDocument(broken.text);
            for (const Diagnostic& found : checkDocument(broken.text, builtInActions())) {
                EXPECT_GT(found.position.line, 0) << found.message;
                if (found.severity != Severity::error)
                    continue;
                ++refused;
                const int line = found.position.line;
                const bool isNear = line >= broken.firstLine - 1 && line <= broken.lastLine + 1;
                // Where a member has gone altogether, its object is all that can be named.
                const bool isObjectNamed =
                    found.message.contains("found nothing") && isOpenAt(broken.text, line, broken.firstLine);
                EXPECT_TRUE(isNear || isObjectNamed)
                    << name << " variant " << variant << ", " << broken.what << " at line "
                    << broken.firstLine << ": " << describe(found, path);
            }
        }
    }
    EXPECT_EQ(damaged, 2000);
    EXPECT_GT(refused, 1000);
}

} // namespace
} // namespace varnel
