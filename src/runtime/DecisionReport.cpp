#include "runtime/DecisionReport.h"

#include "base/Localization.h"
#include "keyboard/HotkeyManager.h"

#include <cstdio>
#include <ctime>
#include <memory>

namespace varnel {

std::string isoTime(WallTime time) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t second = whole.time_since_epoch().count();
    std::tm parts{};
    ::gmtime_r(&second, &parts);
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>((time - whole).count()));
    return text;
}

JSONValue::Object decisionReport(const Decision& decision, const DecisionContext& context) {
    JSONValue::Object report{{"number", static_cast<double>(decision.number)},
                             {"time", isoTime(decision.time)},
                             {"kind", std::string(decisionName(decision.kind))},
                             {"text", describe(decision, context)},
                             {"otherKeysBefore", static_cast<double>(decision.otherKeysBefore)}};
    const auto addText = [&](const char* key, std::string_view text) {
        if (!text.empty())
            report[key] = std::string(text);
    };
    const auto addNumber = [&](const char* key, long long number) {
        if (number != 0)
            report[key] = static_cast<double>(number);
    };
    addText("token", decision.token.view());
    addText("sequence", decision.sequence.view());
    addText("name", decision.name.view());
    addText("message", decision.message.view());
    addNumber("heldMilliseconds", decision.held.count());
    addNumber("limitMilliseconds", decision.limit.count());
    addNumber("count", decision.count);
    return report;
}

JSONValue::Object decisionsReport(const HotkeyManager& hotkeys) {
    const DecisionContext context = hotkeys.decisionContext();
    JSONValue::Array decisions;
    for (const Decision& decision : hotkeys.decisions().since(0))
        decisions.emplace_back(decisionReport(decision, context));
    return {{"decisions", std::move(decisions)},
            {"otherKeys", static_cast<double>(hotkeys.decisions().otherKeys())}};
}

ControlServer::Feed decisionFeed(HotkeyManager& hotkeys, bool isForPeople) {
    auto told = std::make_shared<std::uint64_t>(hotkeys.decisions().total());
    auto greeted = std::make_shared<bool>(false);
    return {.next = [&hotkeys, isForPeople, told, greeted]() -> std::optional<JSONValue::Object> {
                if (!std::exchange(*greeted, true))
                    return JSONValue::Object{{"success", true}, {"after", static_cast<double>(*told)}};
                const auto decision = hotkeys.decisions().firstAfter(*told);
                if (!decision)
                    return std::nullopt;
                *told = decision->number;
                const EnglishTexts english(!isForPeople);
                return decisionReport(*decision, hotkeys.decisionContext());
            },
            .observe =
                [&hotkeys](std::function<void()> news) {
                    return hotkeys.observe(HotkeyManager::Topic::decisions, std::move(news));
                }};
}

} // namespace varnel
