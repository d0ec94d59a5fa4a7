#include "base/Localized.h"
#include "cli/Verb.h"
#include "config/ConfigDocument.h"
#include "documents/KarabinerImport.h"
#include "documents/SXHKDImport.h"

#include <expected>

namespace varnel {

namespace {

constexpr std::string_view kSXHKD = "sxhkd", kKarabiner = "karabiner";

/// The error is a sentence that names the place.
std::expected<ImportReport, std::string> import(const std::string& format, const std::string& path,
                                                const std::string& text) {
    if (format == kSXHKD)
        return importSXHKD(text);
    auto report = importKarabiner(text);
    if (!report)
        return std::unexpected(path + ":" + std::to_string(report.error().position.line) + ":" +
                               std::to_string(report.error().position.column) + ": " +
                               report.error().message);
    return std::move(*report);
}

void tell(const ImportReport& report, const std::string& path, Console& console) {
    for (const ImportRemark& note : report.notes)
        console.err.line(localized("%1 [differs]", {describe(note, path)}));
    for (const ImportRemark& omission : report.omitted)
        console.err.line(localized("%1 [left out]", {describe(omission, path)}));
    console.complain(summary(report));
}

int run(const VerbCall& call, Console& console) {
    const std::string& format = call.arguments[0];
    const std::string& path = call.arguments[1];
    if (format != kSXHKD && format != kKarabiner)
        return fail(console, localized("import: expected sxhkd or karabiner, found '%1'", {format}));
    const ReadTextResult read = readText(path);
    if (!read.error.empty())
        return fail(console, read.error);
    const auto report = import(format, path, read.text);
    if (!report)
        return fail(console, report.error());
    const auto encoded = encodeDocument(report->items, {});
    if (!encoded)
        return fail(console, path + ": " + describe(encoded.error()));
    console.out.line(*encoded);
    tell(*report, path, console);
    return report->omitted.empty() ? ExitStatus::fine : ExitStatus::no;
}

} // namespace

extern const Verb kImportVerb{.name = "import",
                              .arguments = "sxhkd|karabiner FILE",
                              .summary = "prints another program's bindings as a configuration",
                              .minimumArguments = 2,
                              .maximumArguments = 2,
                              .options = {},
                              .run = run};

} // namespace varnel
