#include "base/Localized.h"
#include "base/Text.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "commands/WindowManagerOperations.h"

#include <algorithm>

namespace varnel {

namespace {

constexpr VerbOption kOptions[] = {kJSONOption};

std::string asJSON(const WindowManagerOperation& operation) {
    std::vector<std::string> parameters;
    if (const std::string_view name = parameterName(operation.needs); !name.empty())
        parameters.emplace_back(name);
    return JSONLine()
        .text("id", operation.id)
        .text("description", operation.description)
        .text("example", operation.example)
        .texts("parameters", parameters)
        .finished();
}

void printForPeople(const WindowManagerOperation& operation, Console& console) {
    std::string line(operation.id);
    line.resize(std::max<std::size_t>(line.size() + 2, 36), ' ');
    console.out.line(line + localized(operation.description) + "  [" + std::string(operation.example) + "]");
}

int runOne(const std::string& id, bool json, Console& console) {
    const WindowManagerOperation* operation = findWindowManagerOperation(id);
    if (!operation) {
        std::vector<std::string> known;
        for (const WindowManagerOperation& each : windowManagerOperations())
            known.emplace_back(each.id);
        const std::string guess = nearest(id, known);
        const std::string message = localized("there is no operation '%1'", {id});
        console.complain(guess.empty() ? message : localized("%1; did you mean '%2'?", {message, guess}));
        return ExitStatus::failed;
    }
    if (json)
        console.out.line(asJSON(*operation));
    else
        printForPeople(*operation, console);
    return ExitStatus::fine;
}

int run(const VerbCall& call, Console& console) {
    const bool json = call.has(kJSONOption.name);
    if (!call.arguments.empty())
        return runOne(call.arguments[0], json, console);
    if (!json) {
        for (const WindowManagerOperation& operation : windowManagerOperations())
            printForPeople(operation, console);
        return ExitStatus::fine;
    }
    std::string list = "[";
    for (const WindowManagerOperation& operation : windowManagerOperations())
        list += (list.size() > 1 ? "," : "") + asJSON(operation);
    console.out.line(list + "]");
    return ExitStatus::fine;
}

} // namespace

extern const Verb kOperationsVerb{.name = "operations",
                                  .arguments = "[ID]",
                                  .summary = "lists the operations of the window manager",
                                  .minimumArguments = 0,
                                  .maximumArguments = 1,
                                  .options = kOptions,
                                  .run = run};

} // namespace varnel
