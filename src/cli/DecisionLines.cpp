#include "cli/DecisionLines.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/Decisions.h"

#include <cstdio>
#include <ctime>

namespace varnel {

namespace {

constexpr std::string_view kNoTime = "              ";

std::uint64_t numberOf(const JSONValue::Object& object, std::string_view key) {
    const auto member = object.find(key);
    const double* number = member == object.end() ? nullptr : member->second.number();
    return number && *number > 0 ? static_cast<std::uint64_t>(*number) : 0;
}

std::string textOf(const JSONValue::Object& object, std::string_view key) {
    const auto member = object.find(key);
    const std::string* text = member == object.end() ? nullptr : member->second.string();
    return text ? *text : std::string();
}

/// "10:20:30.123" on the clock of this place.
std::string timeOfDay(const std::string& isoTime) {
    std::tm parts{};
    int milliseconds = 0;
    if (std::sscanf(isoTime.c_str(), "%d-%d-%dT%d:%d:%d.%dZ", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                    &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &milliseconds) != 7)
        return std::string(kNoTime);
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const std::time_t time = ::timegm(&parts);
    std::tm local{};
    ::localtime_r(&time, &local);
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d  ", local.tm_hour, local.tm_min, local.tm_sec,
                  milliseconds);
    return text;
}

} // namespace

void DecisionLines::add(const JSONValue::Object& decision) {
    const std::uint64_t number = numberOf(decision, "number");
    if (last_ != 0 && number > last_ + 1)
        out_.line(std::string(kNoTime) +
                  localized("%1 decisions were missed", {std::to_string(number - last_ - 1)}));
    last_ = number;
    addOtherKeys(decision, "otherKeysBefore");
    out_.line(timeOfDay(textOf(decision, "time")) + singleLine(textOf(decision, "text"), 1000));
}

void DecisionLines::addOtherKeys(const JSONValue::Object& report, std::string_view key) {
    if (const std::uint64_t count = numberOf(report, key); count > 0)
        out_.line(std::string(kNoTime) + describeOtherKeys(count));
}

} // namespace varnel
