#include "documents/KarabinerImport.h"
#include "documents/SXHKDImport.h"

#include "DocumentTestSupport.h"
#include "config/ConfigDocument.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace varnel {
namespace {

using namespace test;

/// The text with a few bytes or lines removed, doubled, exchanged or replaced.
std::string damaged(std::string text, std::mt19937& random) {
    constexpr std::string_view replacements = "{},;:@~_\\\"[]\n\t +1aZ\xFF";
    const auto below = [&](std::size_t limit) { return random() % std::max<std::size_t>(limit, 1); };
    for (std::size_t times = 1 + below(4); times > 0 && !text.empty(); --times) {
        const std::size_t at = below(text.size()), length = 1 + below(40);
        switch (below(4)) {
        case 0:
            text.erase(at, length);
            break;
        case 1:
            text.insert(at, text.substr(below(text.size()), length));
            break;
        case 2:
            text[at] = replacements[below(replacements.size())];
            break;
        default:
            text.resize(at);
        }
    }
    return text;
}

void expectSound(const ImportReport& report, const std::string& text) {
    ASSERT_EQ(report.rules, report.converted + report.omitted.size()) << text;
    std::set<std::vector<std::string>> actions;
    const auto lineCount = 1 + std::ranges::count(text, '\n');
    for (const auto* remarks : {&report.omitted, &report.notes})
        for (const ImportRemark& remark : *remarks)
            ASSERT_TRUE(remark.line >= 1 && remark.line <= lineCount && !remark.reason.empty()) << text;
    for (const ConfigItem& item : report.items) {
        const bool isNew =
            item.type == ItemType::group || actions.insert(KeyTokenCodec::liveSpelling(item.keys)).second;
        ASSERT_TRUE(isNew) << text;
    }
    for (const std::vector<std::string>& trigger : actions)
        for (std::size_t length = 1; length < trigger.size(); ++length)
            ASSERT_FALSE(
                actions.contains({trigger.begin(), trigger.begin() + static_cast<std::ptrdiff_t>(length)}))
                << text;
    const auto encoded = encodeDocument(report.items, {});
    ASSERT_TRUE(encoded) << text;
    const auto decoded = decodeDocument(*encoded);
    ASSERT_TRUE(decoded && decoded->items == report.items) << text;
}

TEST(Import, AccountsForEveryRuleOfDamagedFiles) {
    const std::string sxhkd = importExample("every-construct.sxhkdrc");
    const std::string karabiner = importExample("every-construct.karabiner.json");
    ASSERT_FALSE(sxhkd.empty() || karabiner.empty());
    std::mt19937 random(20);
    std::size_t karabinerRead = 0;
    for (int round = 0; round < 1000; ++round) {
        const std::string first = damaged(sxhkd, random);
        expectSound(importSXHKD(first), first);
        const std::string second = damaged(karabiner, random);
        if (const auto report = importKarabiner(second)) {
            ++karabinerRead;
            expectSound(*report, second);
        }
        if (testing::Test::HasFatalFailure())
            return;
    }
    EXPECT_GT(karabinerRead, 30u) << "too few variants were still JSON to show anything";
}

} // namespace
} // namespace varnel
