#include "capabilities/support/Capability.h"

#include "base/JSONPlainReader.h"
#include "base/JSONWriter.h"
#include "base/Localization.h"
#include "base/Localized.h"

#include <cerrno>
#include <unistd.h>

namespace varnel::capability {

namespace {

std::optional<std::string> readStandardInput() {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(0, buffer, sizeof buffer);
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return std::nullopt;
    }
}

bool writeStandardOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(1, text.data(), text.size());
        if (count > 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

JSONValue::Object objectMember(const JSONValue& value, std::string_view key) {
    const JSONValue* member = value.find(key);
    return member && member->object() ? *member->object() : JSONValue::Object{};
}

Response answer(int argc, char** argv, const std::function<Response(const Request&)>& act) {
    if (argc != 2 || std::string_view(argv[1]) != "action")
        return Response::failure(localized("This program is run by Varnel, with the command word 'action'."));
    const auto text = readStandardInput();
    if (!text)
        return Response::failure(localized("The request could not be read."));
    const auto value = readJSONPlainly(*text);
    if (!value)
        return Response::failure(localized("The request is not JSON: %1", {describe(value.error())}));
    const JSONValue* actionID = value->find("actionID");
    if (!actionID || !actionID->string())
        return Response::failure(localized("The request names no action."));
    return act({*actionID->string(), objectMember(*value, "params"), objectMember(*value, "settings")});
}

} // namespace

std::string Request::text(std::string_view key) const {
    const auto found = params.find(key);
    return found != params.end() && found->second.string() ? *found->second.string() : std::string();
}

bool Request::flag(std::string_view key, bool fallback) const {
    const auto found = params.find(key);
    return found != params.end() && found->second.boolean() ? *found->second.boolean() : fallback;
}

int run(int argc, char** argv, const std::function<Response(const Request&)>& act) {
    const std::string program = argc > 0 ? argv[0] : "";
    speakUsersLanguage(program.substr(0, program.rfind('/')));
    const Response response = answer(argc, argv, act);
    JSONValue::Object members{{"success", response.success}};
    if (response.message)
        members.emplace("message", *response.message);
    return writeStandardOutput(writeCompactJSON(members) + "\n") ? 0 : 1;
}

} // namespace varnel::capability
