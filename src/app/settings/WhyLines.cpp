#include "app/settings/WhyLines.h"

#include "base/Text.h"

#include <cstdio>
#include <ctime>
#include <ranges>

namespace varnel {

namespace {

constexpr std::size_t kLineLength = 1000;
constexpr std::size_t kTimeWidth = 14;

std::string timeOfDay(WallTime time) {
    const auto sinceEpoch = time.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const std::time_t value = seconds.count();
    std::tm local{};
    ::localtime_r(&value, &local);
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>((sinceEpoch - seconds).count()));
    return text;
}

bool isRefusal(Decision::Kind kind) {
    using Kind = Decision::Kind;
    switch (kind) {
    case Kind::nothingBound:
    case Kind::noSuchChoice:
    case Kind::hintsKept:
    case Kind::timedOut:
    case Kind::unattended:
    case Kind::nothingToChoose:
    case Kind::choicesTooLate:
    case Kind::noHandler:
    case Kind::interrupted:
    case Kind::heldTooLong:
    case Kind::postedByUs:
    case Kind::suspended:
    case Kind::panicKeys:
    case Kind::captureRefused:
    case Kind::captureStopped:
    case Kind::keyboardTaken:
    case Kind::configurationFailed:
        return true;
    default:
        return false;
    }
}

} // namespace

std::vector<WhyLine> whyLines(const DecisionLog& log, const DecisionContext& context) {
    std::vector<WhyLine> lines;
    const auto addOtherKeys = [&lines](std::uint64_t count) {
        if (count > 0)
            lines.push_back({0, {}, describeOtherKeys(count)});
    };
    addOtherKeys(log.otherKeys());
    for (const Decision& decision : std::views::reverse(log.since(0))) {
        lines.push_back({.number = decision.number,
                         .time = timeOfDay(decision.time),
                         .text = singleLine(describe(decision, context), kLineLength),
                         .isRefusal = isRefusal(decision.kind)});
        addOtherKeys(decision.otherKeysBefore);
    }
    return lines;
}

std::string plainText(const std::vector<WhyLine>& lines) {
    std::string text;
    for (const WhyLine& line : std::views::reverse(lines)) {
        std::string time = line.time;
        time.resize(kTimeWidth, ' ');
        text += time + line.text + "\n";
    }
    return text;
}

} // namespace varnel
