#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "cli/Verb.h"
#include "runtime/ControlClient.h"

namespace varnel {

namespace {

using Object = JSONValue::Object;

std::string textOf(const Object& answer, std::string_view key) {
    auto member = answer.find(key);
    const std::string* text = member == answer.end() ? nullptr : member->second.string();
    return text ? *text : std::string();
}

bool isTrue(const Object& answer, std::string_view key) {
    auto member = answer.find(key);
    const bool* value = member == answer.end() ? nullptr : member->second.boolean();
    return value && *value;
}

/// The status for people: the line, and what is amiss.
void printStatus(const Object& answer, Console& console) {
    console.out.line(textOf(answer, "statusLine"));
    if (std::string trouble = textOf(answer, "trouble"); !trouble.empty())
        console.out.line(localized("Trouble: %1", {trouble}));
    if (std::string error = textOf(answer, "configError"); !error.empty())
        console.out.line(localized("Configuration: %1", {error}));
    auto findings = answer.find("configFindings");
    if (const Object* found = findings == answer.end() ? nullptr : findings->second.object())
        if (std::string first = textOf(*found, "first"); !first.empty())
            console.out.line(localized("Check: %1", {first}));
    if (std::string notice = textOf(answer, "notice"); !notice.empty())
        console.out.line(notice);
}

/// Sends the request and prints the answer; a refusal ends with `refused`.
int send(Object request, const VerbCall& call, Console& console, int refused) {
    request["isForPeople"] = !call.has(kJSONOption.name);
    bool asksForStatus = textOf(request, "verb") == "status";
    auto answer = sendControlRequest(RuntimePaths::fromEnvironment(), request);
    if (!answer) {
        bool notRunning = answer.error().kind == ControlClientError::Kind::notRunning;
        if (call.has("--json"))
            console.out.line(writeCompactJSON(
                Object{{"success", false}, {"running", !notRunning}, {"message", answer.error().message}}));
        console.complain(answer.error().message);
        return asksForStatus && notRunning ? ExitStatus::no : ExitStatus::failed;
    }
    bool success = isTrue(*answer, "success");
    std::string message = textOf(*answer, "message");
    if (call.has("--json"))
        console.out.line(writeCompactJSON(*answer));
    else if (asksForStatus && success)
        printStatus(*answer, console);
    else if (success && !message.empty())
        console.out.line(message);
    if (!success)
        console.complain(message);
    return success ? ExitStatus::fine : refused;
}

int runStatus(const VerbCall& call, Console& console) {
    return send({{"verb", "status"}}, call, console, ExitStatus::failed);
}
int runReload(const VerbCall& call, Console& console) {
    return send({{"verb", "reload"}}, call, console, ExitStatus::failed);
}
int runSuspend(const VerbCall& call, Console& console) {
    return send({{"verb", "suspend"}, {"reason", call.arguments[0]}}, call, console, ExitStatus::failed);
}
int runResume(const VerbCall& call, Console& console) {
    Object request{{"verb", "resume"}};
    if (!call.arguments.empty())
        request["reason"] = call.arguments[0];
    return send(request, call, console, ExitStatus::failed);
}
int runTrigger(const VerbCall& call, Console& console) {
    JSONValue::Array tokens(call.arguments.begin(), call.arguments.end());
    return send({{"verb", "trigger"}, {"tokens", std::move(tokens)}}, call, console, ExitStatus::no);
}
int runQuit(const VerbCall& call, Console& console) {
    return send({{"verb", "quit"}}, call, console, ExitStatus::failed);
}

constexpr VerbOption kOptions[] = {kJSONOption};

} // namespace

extern const Verb kStatusVerb{.name = "status",
                              .arguments = "",
                              .summary = "tells how the running application is",
                              .options = kOptions,
                              .run = runStatus};
extern const Verb kReloadVerb{.name = "reload",
                              .arguments = "",
                              .summary = "has the running application read its configuration at once",
                              .options = kOptions,
                              .run = runReload};
extern const Verb kSuspendVerb{.name = "suspend",
                               .arguments = "REASON",
                               .summary = "lets all keys pass until the reason is resumed",
                               .minimumArguments = 1,
                               .maximumArguments = 1,
                               .options = kOptions,
                               .run = runSuspend};
extern const Verb kResumeVerb{.name = "resume",
                              .arguments = "[REASON]",
                              .summary = "takes a reason for suspension back, or all of them",
                              .minimumArguments = 0,
                              .maximumArguments = 1,
                              .options = kOptions,
                              .run = runResume};
extern const Verb kTriggerVerb{.name = "trigger",
                               .arguments = "TOKEN…",
                               .summary = "runs what a sequence is bound to, as if it had been typed",
                               .minimumArguments = 1,
                               .maximumArguments = kAnyNumber,
                               .options = kOptions,
                               .run = runTrigger};
extern const Verb kQuitVerb{.name = "quit",
                            .arguments = "",
                            .summary = "ends the running application",
                            .options = kOptions,
                            .run = runQuit};

} // namespace varnel
