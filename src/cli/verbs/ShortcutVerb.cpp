#include "base/Localized.h"
#include "base/Log.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "runtime/ControlClient.h"
#include "runtime/ShortcutSending.h"

namespace varnel {

namespace {

using Object = JSONValue::Object;

/// Commands that were triggered before come first.
constexpr Duration kPatience = 30s;

/// A message for the user; the shortcut is on its way when `isSent`.
struct Outcome {
    bool isSent = false;
    std::string message;
};

constexpr VerbOption kOptions[] = {
    {"--send", "", "deliver it: over the running application, else directly"},
    {"--local", "", "deliver it to the application in front, not to the whole system"},
    kJSONOption,
};

bool isTrue(const Object& answer, std::string_view key) {
    const auto member = answer.find(key);
    const bool* value = member == answer.end() ? nullptr : member->second.boolean();
    return value && *value;
}

/// The running application on our display takes the keys for its own and matches none of them; nothing when
/// there is no such application.
std::optional<Outcome> sendOverApplication(const std::string& token, bool isLocal) {
    const RuntimePaths paths = RuntimePaths::fromEnvironment();
    const auto answer = sendControlRequest(
        paths, {{"verb", "shortcut"}, {"token", token}, {"isLocal", isLocal}, {"display", paths.display}},
        kPatience);
    if (!answer) {
        if (answer.error().kind == ControlClientError::Kind::notRunning)
            return std::nullopt;
        return Outcome{false, answer.error().message};
    }
    if (isTrue(*answer, "isElsewhere"))
        return std::nullopt;
    const auto message = answer->find("message");
    const std::string* text = message == answer->end() ? nullptr : message->second.string();
    return Outcome{isTrue(*answer, "success"),
                   text ? *text : localized("Failed to send shortcut: %1", {token})};
}

Outcome sendDirectly(const std::string& token, bool isLocal, const ParsedKeyToken& parsed) {
    StandardErrorLog log;
    const ShortcutSending sending = openShortcutSending(log);
    KeyboardShortcutCommand command({token, token, isLocal ? "local" : "global"},
                                    {sending.eventPoster, sending.frontmostProcessIdentifier, log});
    const std::string message = command.execute().value_or("");
    sending.waitForRelease();
    return {message == KeyboardShortcutCommand::successMessage(parsed), message};
}

int run(const VerbCall& call, Console& console) {
    const std::string& token = call.arguments[0];
    const auto parsed = KeyTokenCodec::parse(token);
    if (!parsed) {
        const std::string why = KeyTokenCodec::explain(token);
        console.complain(
            why.empty() ? localized("'%1': a shortcut needs a key besides its modifiers", {token}) : why);
        return ExitStatus::failed;
    }
    for (const KeyboardShortcutEvent& event : makeShortcutEvents(parsed->normalizedToken, parsed->keyCode))
        console.out.line(JSONLine()
                             .text("type", name(event.type))
                             .number("keyCode", event.keyCode)
                             .number("flags", static_cast<double>(event.flags))
                             .boolean("isKeyDown", event.isKeyDown)
                             .finished());
    if (!call.has("--send"))
        return ExitStatus::fine;
    console.out.flush();
    const bool isLocal = call.has("--local");
    std::optional<Outcome> outcome = sendOverApplication(token, isLocal);
    if (!outcome)
        outcome = sendDirectly(token, isLocal, *parsed);
    if (!outcome->isSent)
        console.complain(outcome->message);
    return outcome->isSent ? ExitStatus::fine : ExitStatus::no;
}

} // namespace

extern const Verb kShortcutVerb{.name = "shortcut",
                                .arguments = "TOKEN",
                                .summary = "shows the key events of a shortcut, or sends it",
                                .minimumArguments = 1,
                                .maximumArguments = 1,
                                .options = kOptions,
                                .isForPrograms = true,
                                .run = run};

} // namespace varnel
