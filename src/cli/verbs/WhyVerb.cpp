#include "base/JSONWriter.h"
#include "cli/DecisionLines.h"
#include "cli/Verb.h"
#include "runtime/ControlClient.h"

namespace varnel {

namespace {

int run(const VerbCall& call, Console& console) {
    const auto answer = sendControlRequest(RuntimePaths::fromEnvironment(),
                                           {{"verb", "why"}, {"isForPeople", !call.has(kJSONOption.name)}});
    if (!answer)
        return fail(console, answer.error().message);
    if (call.has("--json")) {
        console.out.line(writeCompactJSON(*answer));
        return ExitStatus::fine;
    }
    DecisionLines lines(console.out);
    const auto member = answer->find("decisions");
    if (const JSONValue::Array* decisions = member == answer->end() ? nullptr : member->second.array())
        for (const JSONValue& decision : *decisions)
            if (decision.object())
                lines.add(*decision.object());
    lines.addOtherKeys(*answer, "otherKeys");
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {kJSONOption};

} // namespace

extern const Verb kWhyVerb{.name = "why",
                           .arguments = "",
                           .summary = "tells what the running application decided lately, and why",
                           .options = kOptions,
                           .run = run};

} // namespace varnel
