#include "runtime/ControlRequests.h"

#include "base/Localization.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "runtime/Application.h"
#include "runtime/DecisionReport.h"

#include <unistd.h>

namespace varnel {

namespace {

using Object = JSONValue::Object;

Object succeeded(std::string message = {}) {
    Object answer{{"success", true}};
    if (!message.empty())
        answer["message"] = std::move(message);
    return answer;
}

Object failed(std::string message) {
    return {{"success", false}, {"message", std::move(message)}};
}

JSONValue::Array texts(const auto& values) {
    JSONValue::Array list;
    for (const std::string& value : values)
        list.emplace_back(value);
    return list;
}

const std::string* textMember(const Object& request, std::string_view key) {
    auto member = request.find(key);
    return member == request.end() ? nullptr : member->second.string();
}

/// Texts are in the user's language only where people read the answer.
bool isForPrograms(const Object& request) {
    auto member = request.find("isForPeople");
    const bool* isForPeople = member == request.end() ? nullptr : member->second.boolean();
    return !isForPeople || !*isForPeople;
}

std::string statusLine(const HotkeyManager& hotkeys, const Object& request) {
    const EnglishTexts english(isForPrograms(request));
    return hotkeys.statusLine();
}

/// The strings of the member `tokens`; empty when it is anything else.
std::vector<std::string> tokensOf(const Object& request) {
    std::vector<std::string> tokens;
    auto member = request.find("tokens");
    const JSONValue::Array* values = member == request.end() ? nullptr : member->second.array();
    if (!values)
        return {};
    for (const JSONValue& value : *values) {
        if (!value.string())
            return {};
        tokens.push_back(KeyTokenCodec::liveSpelling(*value.string()));
    }
    return tokens;
}

Object reload(Application& application, const Object& request) {
    application.reload();
    application.plugins().scan();
    const EnglishTexts english(isForPrograms(request));
    if (const auto& error = application.config().loadError())
        return failed(describe(*error));
    return succeeded(
        localized("Loaded %1 root items", {std::to_string(application.config().rootItems().size())}));
}

Object reasonExpected(const Object& request) {
    const EnglishTexts english(isForPrograms(request));
    return failed(localized("expected a reason"));
}

Object suspend(Application& application, const Object& request) {
    const std::string* reason = textMember(request, "reason");
    if (!reason || trimmed(*reason).empty())
        return reasonExpected(request);
    application.hotkeys().suspend(*reason);
    return succeeded(statusLine(application.hotkeys(), request));
}

/// Takes one reason back, or all of them when none is named.
Object resume(Application& application, const Object& request) {
    HotkeyManager& hotkeys = application.hotkeys();
    if (!request.contains("reason")) {
        for (const std::string& reason : std::set<std::string>(hotkeys.suspensionReasons()))
            hotkeys.resume(reason);
        return succeeded(statusLine(hotkeys, request));
    }
    const std::string* reason = textMember(request, "reason");
    if (!reason || trimmed(*reason).empty())
        return reasonExpected(request);
    hotkeys.resume(*reason);
    return succeeded(statusLine(hotkeys, request));
}

Object triggerAnswer(const ConfigItem* item, const std::vector<std::string>& tokens, const Object& request) {
    const EnglishTexts english(isForPrograms(request));
    Object answer = item ? succeeded(localized("Triggered: %1", {item->name}))
                         : failed(localized("No action has the trigger %1", {join(tokens, " ")}));
    answer["match"] = nullptr;
    if (item)
        answer["match"] = Object{{"id", item->id.text()}, {"name", item->name}, {"type", "action"}};
    return answer;
}

Object trigger(Application& application, const Object& request) {
    std::vector<std::string> tokens = tokensOf(request);
    if (tokens.empty())
        return failed("tokens are expected");
    const ConfigItem* item = application.hotkeys().hotkeyIndex().exactMatch(tokens);
    if (item && item->type != ItemType::action)
        item = nullptr;
    Object answer = triggerAnswer(item, tokens, request);
    if (item)
        application.hotkeys().trigger(tokens);
    return answer;
}

/// A request of a program that runs on another display; none when it may be carried out.
std::optional<Object> refusedElsewhere(Application& application, const Object& request) {
    const std::string* display = textMember(request, "display");
    if (!display || *display == application.options().paths.display)
        return std::nullopt;
    Object refusal = failed(localized("the running application is on another display"));
    refusal["isElsewhere"] = true;
    return refusal;
}

/// A second start brings the first to the front.
Object show(Application& application, const Object& request) {
    if (auto refusal = refusedElsewhere(application, request))
        return *refusal;
    return application.present() ? succeeded() : failed(localized("the running application has no windows"));
}

/// Sends a shortcut over the application, whose tap then knows the keys for its own.
void sendShortcut(Application& application, const Object& request, const ControlServer::Answer& answer) {
    if (auto refusal = refusedElsewhere(application, request))
        return answer(*refusal);
    const std::string* token = textMember(request, "token");
    const auto parsed = token ? KeyTokenCodec::parse(*token) : std::nullopt;
    if (!parsed)
        return answer(failed("a token is expected"));
    auto isLocal = request.find("isLocal");
    const bool* local = isLocal == request.end() ? nullptr : isLocal->second.boolean();
    application.sendShortcut(
        *token, local && *local,
        [answer, sent = KeyboardShortcutCommand::successMessage(*parsed)](std::string message) {
            answer(message == sent ? succeeded(std::move(message)) : failed(std::move(message)));
        });
}

/// The status, and what the system tells only this process.
Object diagnose(Application& application) {
    Object answer = applicationStatus(application);
    answer["success"] = true;
    answer["system"] = application.selfReport();
    return answer;
}

Object answerAtOnce(Application& application, const Object& request) {
    const std::string* verb = textMember(request, "verb");
    if (!verb)
        return failed("a verb is expected");
    if (*verb == "status") {
        const EnglishTexts english(isForPrograms(request));
        Object answer = applicationStatus(application);
        answer["success"] = true;
        return answer;
    }
    if (*verb == "diagnose")
        return diagnose(application);
    if (*verb == "reload")
        return reload(application, request);
    if (*verb == "suspend")
        return suspend(application, request);
    if (*verb == "resume")
        return resume(application, request);
    if (*verb == "why") {
        const EnglishTexts english(isForPrograms(request));
        Object answer = decisionsReport(application.hotkeys());
        answer["success"] = true;
        return answer;
    }
    if (*verb == "trigger")
        return trigger(application, request);
    if (*verb == "show")
        return show(application, request);
    if (*verb == "quit") {
        application.quit();
        return succeeded();
    }
    return failed("unknown verb '" + singleLine(*verb, 40) + "'");
}

/// What the user should know of how things stand, and what to do about it; empty when all is as usual.
std::string notice(const Application& application) {
    if (application.hotkeys().suspensionReasons().contains(kPanicReason))
        return localized(
            "Paused by the panic keys (left ctrl, space and escape together). “varnel resume” or "
            "the tray's menu goes on.");
    if (application.options().isSafe)
        return localized("Started with --safe: the built-in configuration is in force and nothing is saved.");
    return {};
}

} // namespace

JSONValue::Object applicationStatus(Application& application) {
    const HotkeyManager& hotkeys = application.hotkeys();
    const ConfigManager& config = application.config();
    Object status{
        {"running", true},
        {"version", VARNEL_VERSION},
        {"pid", static_cast<double>(::getpid())},
        {"display", application.options().paths.display},
        {"statusLine", hotkeys.statusLine()},
        {"isSuspended", hotkeys.isSuspended()},
        {"suspensionReasons", texts(hotkeys.suspensionReasons())},
        {"trouble", hotkeys.trouble()},
        {"notice", notice(application)},
        {"isSafe", application.options().isSafe},
        {"interaction", std::string(interactionName(hotkeys.interaction()))},
        {"currentSequence", texts(hotkeys.currentSequence())},
        {"hintOptions", texts(hotkeys.hintOptions())},
        {"statusMessage", hotkeys.statusMessage()},
        {"lastTriggerInfo", hotkeys.lastTriggerInfo()},
        {"configPath", config.currentConfigPath()},
        {"itemCount", static_cast<double>(config.rootItems().size())},
        {"configError", nullptr},
        {"configFindings", Object{{"count", static_cast<double>(application.configReview().count)},
                                  {"first", application.configReview().first}}},
    };
    if (config.loadError())
        status["configError"] = describe(*config.loadError());
    return status;
}

void answerControlRequest(Application& application, const JSONValue::Object& request,
                          const ControlServer::Replies& replies) {
    const std::string* verb = textMember(request, "verb");
    if (verb && *verb == "shortcut")
        sendShortcut(application, request, replies.answer);
    else if (verb && *verb == "monitor")
        replies.follow(decisionFeed(application.hotkeys(), !isForPrograms(request)));
    else
        replies.answer(answerAtOnce(application, request));
}

} // namespace varnel
