#include "base/Text.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "keyboard/notation/KeyTokenCodec.h"

namespace varnel {

namespace {

/// The modifiers of a modifier-only token.
KeyFlags modifiersOf(std::string_view token) {
    KeyFlags flags = 0;
    for (std::string_view part : split(token, '+'))
        if (auto modifier = modifierNamed(part))
            flags |= modifierFlag(*modifier);
    return flags;
}

std::string namesOf(KeyFlags flags) {
    std::string names;
    for (Modifier modifier : kModifiers)
        if (flags & modifierFlag(modifier))
            names.append(names.empty() ? "" : "+").append(modifierName(modifier));
    return names;
}

/// The line for one token; false when it is none.
bool describeToken(const std::string& input, JSONLine& line) {
    line.text("input", input);
    if (auto parsed = KeyTokenCodec::parse(input)) {
        line.text("key", parsed->key)
            .number("keyCode", parsed->keyCode)
            .number("flags", static_cast<double>(parsed->flags))
            .text("normalized", parsed->normalizedToken)
            .text("live", KeyTokenCodec::liveSpelling(input))
            .boolean("modifierOnly", false);
        return true;
    }
    if (KeyTokenCodec::isModifierOnly(input)) {
        std::string live = KeyTokenCodec::liveSpelling(input);
        KeyFlags flags = modifiersOf(live);
        line.null("key")
            .null("keyCode")
            .number("flags", static_cast<double>(flags))
            .text("normalized", namesOf(flags))
            .text("live", live)
            .boolean("modifierOnly", true);
        return true;
    }
    line.text("error", KeyTokenCodec::explain(input));
    return false;
}

int run(const VerbCall& call, Console& console) {
    int status = ExitStatus::fine;
    for (const std::string& token : call.arguments) {
        JSONLine line;
        if (!describeToken(token, line))
            status = ExitStatus::no;
        console.out.line(line.finished());
    }
    return status;
}

constexpr VerbOption kOptions[] = {kJSONOption};

} // namespace

extern const Verb kTokenVerb{.name = "token",
                             .arguments = "TOKEN…",
                             .summary = "explains key tokens, one JSON line each",
                             .minimumArguments = 1,
                             .maximumArguments = kAnyNumber,
                             .options = kOptions,
                             .isForPrograms = true,
                             .run = run};

} // namespace varnel
