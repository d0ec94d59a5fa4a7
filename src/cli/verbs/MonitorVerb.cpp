#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "cli/DecisionLines.h"
#include "cli/Verb.h"
#include "runtime/ControlClient.h"

namespace varnel {

namespace {

int run(const VerbCall& call, Console& console) {
    DecisionLines lines(console.out);
    std::string refusal;
    const auto show = [&](const JSONValue::Object& line) {
        if (auto success = line.find("success"); success != line.end()) {
            const auto message = line.find("message");
            if (!success->second.boolean() || !*success->second.boolean())
                refusal = message != line.end() && message->second.string() ? *message->second.string() : "";
            return *success->second.boolean();
        }
        if (call.has("--json"))
            console.out.line(writeCompactJSON(line));
        else
            lines.add(line);
        console.out.flush();
        return !console.out.isClosed();
    };
    const auto ended =
        followControl(RuntimePaths::fromEnvironment(),
                      {{"verb", "monitor"}, {"isForPeople", !call.has(kJSONOption.name)}}, show);
    if (!refusal.empty() || !ended)
        return fail(console, refusal.empty() ? ended.error().message : refusal);
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {{"--json", "", "print one JSON object a line"}};

} // namespace

extern const Verb kMonitorVerb{.name = "monitor",
                               .arguments = "",
                               .summary = "shows what the running application decides, until interrupted",
                               .options = kOptions,
                               .run = run};

} // namespace varnel
