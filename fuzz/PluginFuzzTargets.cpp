#include "fuzz/FuzzTargets.h"

#include "base/JSONWriter.h"
#include "base/Text.h"
#include "plugins/PluginCommand.h"
#include "plugins/PluginManifest.h"
#include "plugins/PluginProtocol.h"
#include "plugins/PluginValidation.h"

namespace varnel::fuzzing {

void manifest(std::string_view text) {
    const auto decoded = decodePluginManifest(text);
    if (!decoded) {
        const JSONDecodingError& error = decoded.error();
        require(!error.message.empty() && isValidUTF8(describe(error)), "errors say what is wrong");
        require(error.position.line > 0 && error.position.column > 0, "errors have a place");
        return;
    }
    const std::string written = writeCompactJSON(encodePluginManifest(*decoded));
    require(decodePluginManifest(written) == *decoded, "what is written reads back");
    const std::string executable = pluginExecutablePath("/p/package", decoded->executable);
    const auto exists = [](const std::string&) { return true; };
    const auto messages = validatePluginManifest(*decoded, "/p/package", executable, exists);
    for (const std::string& message : messages)
        require(message.ends_with('.'), "messages are sentences");
    if (messages.empty())
        require(executable.starts_with("/p/package/") && executable.find("/../") == std::string::npos,
                "the executable of a valid package lies inside");
    for (const PluginActionDescriptor& action : decoded->actions) {
        require(orderedFields(action.parametersSchema).size() == action.parametersSchema.size(),
                "every field has a place");
        for (const PluginFieldSchema& field : action.parametersSchema)
            (void)isFieldVisible(field, action.parametersSchema, {});
    }
}

void response(std::string_view text) {
    const auto decoded = decodeResponse(text);
    if (decoded) {
        require(decodeResponse(encodeResponse(*decoded)) == *decoded, "what is written reads back");
        const auto line = statusLine(*decoded, "Item");
        require(line || decoded->success, "a failure is always told");
        require(!line || (isValidUTF8(*line) && line->find('\n') == std::string::npos &&
                          line->find('\x1b') == std::string::npos),
                "a status is one readable line");
        require(!line || line->size() <= kPluginStatusLength * 4, "a status is short");
    } else {
        require(isValidUTF8(describe(decoded.error())), "errors are text");
    }
    if (const auto choices = decodeChoices(text); !choices)
        require(choices.error().position.line > 0, "errors have a place");
}

} // namespace varnel::fuzzing
