#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "cli/ConfigInput.h"
#include "cli/JSONLine.h"
#include "config/ConfigCheck.h"
#include "plugins/PluginManager.h"
#include "runtime/ProgramLocation.h"
#include "runtime/RuntimePaths.h"

#include <algorithm>
#include <iterator>

namespace varnel {

namespace {

void printJSON(const std::vector<Diagnostic>& diagnostics, Console& console) {
    console.out.write("[");
    std::string_view separator = "\n";
    for (const Diagnostic& diagnostic : diagnostics) {
        JSONLine line;
        line.text("severity", severityName(diagnostic.severity))
            .text("code", diagnostic.code)
            .text("message", diagnostic.message)
            .text("path", diagnostic.path)
            .number("line", diagnostic.position.line)
            .number("column", diagnostic.position.column);
        diagnostic.itemID.empty() ? line.null("itemID") : line.text("itemID", diagnostic.itemID);
        console.out.write(separator);
        console.out.write(line.finished());
        separator = ",\n";
    }
    console.out.line(diagnostics.empty() ? "]" : "\n]");
}

std::vector<Diagnostic> findings(std::string_view text) {
    return checkDocument(text, builtInActions());
}

int statusOf(const std::vector<Diagnostic>& diagnostics) {
    auto isError = [](const Diagnostic& found) { return found.severity == Diagnostic::Severity::error; };
    if (std::ranges::any_of(diagnostics, isError))
        return ExitStatus::failed;
    return diagnostics.empty() ? ExitStatus::fine : ExitStatus::no;
}

int run(const VerbCall& call, Console& console) {
    std::optional<std::string> argument;
    if (!call.arguments.empty())
        argument = call.arguments[0];
    auto file = readConfig(call, argument);
    if (!file) {
        console.complain(file.error());
        if (call.has("--json"))
            printJSON({makeDiagnostic(RuleID::unreadable, file.error(), "", {1, 1})}, console);
        return ExitStatus::failed;
    }
    std::vector<Diagnostic> diagnostics = findings(file->text);
    if (call.has("--json")) {
        printJSON(diagnostics, console);
    } else {
        for (const Diagnostic& diagnostic : diagnostics)
            console.out.line(describe(diagnostic, file->path));
        if (diagnostics.empty())
            console.out.line(file->path + ": no problems");
    }
    return statusOf(diagnostics);
}

constexpr VerbOption kOptions[] = {kConfigOption, kJSONOption};

} // namespace

extern const Verb kCheckVerb{.name = "check",
                             .arguments = "[FILE]",
                             .summary = "reports what is wrong with a configuration",
                             .maximumArguments = 1,
                             .options = kOptions,
                             .run = run};

} // namespace varnel
