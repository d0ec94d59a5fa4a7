#include "cli/ConfigInput.h"
#include "runtime/simulator/Simulator.h"

namespace varnel {

namespace {

std::expected<ConfigItems, std::string> shared(std::expected<ConfigFileDocument, std::string> document) {
    if (!document)
        return std::unexpected(document.error());
    return std::make_shared<const std::vector<ConfigItem>>(std::move(document->items));
}

int run(const VerbCall& call, Console& console) {
    std::string path = call.arguments.empty() ? "-" : call.arguments[0];
    ReadTextResult script = readText(path);
    if (!script.error.empty())
        return fail(console, script.error);
    auto items = shared(loadConfig(call));
    if (!items)
        return fail(console, items.error());

    bool json = call.has("--json");
    auto load = [](const std::string& file) {
        VerbCall named;
        named.options.emplace_back(kConfigOption.name, file);
        return shared(loadConfig(named));
    };
    auto print = [&](const simulation::Record& record) {
        console.out.line(json ? simulation::jsonLine(record) : simulation::textLine(record));
    };
    auto played = simulation::simulate(script.text, std::move(*items), load, print);
    if (!played)
        return fail(console, (path == "-" ? "" : path + ": ") + describe(played.error()));
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {kConfigOption, kJSONOption};

} // namespace

extern const Verb kSimulateVerb{.name = "simulate",
                                .arguments = "[SCRIPT]",
                                .summary = "plays a script of key events and tells what they would do",
                                .maximumArguments = 1,
                                .options = kOptions,
                                .run = run};

} // namespace varnel
