#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "base/Text.h"
#include "cli/AbsolutePath.h"
#include "cli/CheckReport.h"
#include "cli/ConfigInput.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFix.h"
#include "plugins/PluginManager.h"
#include "plugins/PluginScan.h"
#include "runtime/ConfigReview.h"
#include "runtime/ProgramLocation.h"
#include "runtime/RuntimePaths.h"
#include "runtime/simulator/Expectations.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace varnel {

namespace {

constexpr VerbOption kSarifOption{"--sarif", "", "print SARIF 2.1.0, for code scanning"};
constexpr VerbOption kFixOption{"--fix", "", "mend what needs no decision, with a backup"};
constexpr VerbOption kNotesOption{"--notes", "", "report what is merely worth knowing, too"};
constexpr VerbOption kExpectOption{"--expect", "FILE", "take the expectations from this file"};
constexpr VerbOption kRulesOption{"--rules", "", "list all rules"};
constexpr VerbOption kExplainOption{"--explain", "CODE", "explain one rule"};
constexpr VerbOption kOptions[] = {kConfigOption,         kJSONOption,       kSarifOption, kFixOption,
                                   kNotesOption,          kExpectOption,     kRulesOption, kExplainOption,
                                   kBundledPluginsOption, kUserPluginsOption};

/// The capabilities as the application would find them.
PluginRegistry scan(const VerbCall& call) {
    const RuntimePaths paths = RuntimePaths::fromEnvironment();
    PosixFileSystem files;
    const auto preferences = openSystemPreferences(files, paths.preferences);
    (void)preferences->reload(); // what cannot be read counts as empty
    PluginFolders folders{.bundled = defaultBundledPluginsFolder(programFolder()),
                          .user = defaultUserPluginsFolder(paths.home),
                          .earlierUser = {}};
    if (auto folder = call.value(kBundledPluginsOption.name))
        folders.bundled = absolutePath(*folder);
    if (auto folder = call.value(kUserPluginsOption.name))
        folders.user = absolutePath(*folder);
    return scanPlugins(folders, PluginTrustStore(*preferences));
}

/// Whether the text runs anything that a package does; looking for packages takes longer than the rest.
bool usesPackages(std::string_view text) {
    const auto document = decodeDocument(text);
    return document && std::ranges::any_of(document->items, [](const ConfigItem& item) {
               return item.action && item.action->pluginID != core::application &&
                      item.action->pluginID != core::shortcut;
           });
}

std::vector<Diagnostic> findings(const VerbCall& call, std::string_view text) {
    return checkDocument(text, surroundingsOf(usesPackages(text) ? scan(call) : PluginRegistry()));
}

/// "config.expect" for "config.json".
std::string expectationsPath(const std::string& config) {
    const std::size_t name = config.rfind('/') + 1; // 0 when there is no folder
    const std::size_t dot = config.rfind('.');
    return (dot == std::string::npos || dot <= name ? config : config.substr(0, dot)) + ".expect";
}

/// The expectations that stand beside a configuration, held against it; nothing when there are none.
std::optional<CheckedFile> expectations(const VerbCall& call, const ConfigText& config) {
    const std::optional<std::string> named = call.value(kExpectOption.name);
    PosixFileSystem files;
    const std::string path = named.value_or(expectationsPath(config.path));
    if (!named && (config.path == "-" || !files.exists(absolutePath(path))))
        return std::nullopt;
    const ReadTextResult read = readText(path);
    if (!read.error.empty())
        return CheckedFile{path, {makeDiagnostic(RuleID::unreadable, read.error, path, {1, 1})}};
    auto document = decodeDocument(config.text);
    if (!document) // reported already
        return std::nullopt;
    const auto items = std::make_shared<const std::vector<ConfigItem>>(std::move(document->items));
    return CheckedFile{path, simulation::checkExpectations(read.text, path, items)};
}

/// A failed expectation is an answer; every other error is an input that is wrong.
int statusOf(const std::vector<CheckedFile>& files) {
    int status = ExitStatus::fine;
    for (const CheckedFile& file : files)
        for (const Diagnostic& found : file.findings) {
            const bool isAnswer = found.severity == Severity::warning ||
                                  found.code == configRule(RuleID::failedExpectation).code;
            if (found.severity != Severity::note)
                status = std::max(status, isAnswer ? ExitStatus::no : ExitStatus::failed);
        }
    return status;
}

int report(const VerbCall& call, std::vector<CheckedFile> files, Console& console) {
    if (!call.has(kNotesOption.name))
        for (CheckedFile& file : files)
            std::erase_if(file.findings,
                          [](const Diagnostic& found) { return found.severity == Severity::note; });
    console.out.write(call.has(kJSONOption.name)    ? jsonReport(files)
                      : call.has(kSarifOption.name) ? sarifReport(files, VARNEL_VERSION)
                                                    : textReport(files));
    return statusOf(files);
}

/// Mends the file, tells what was done, and leaves the text as it is then. False after a failure, which is
/// told too; nothing was changed then.
bool fix(const VerbCall& call, ConfigText& config, Console& console) {
    if (!decodeDocument(config.text)) // a file with errors is left alone; the report names them
        return true;
    auto fixed = fixDocument(config.text);
    if (!fixed) {
        console.complain(config.path + ": " + fixed.error());
        return false;
    }
    if (fixed->done.empty())
        return true;
    if (auto saved = saveConfig(config.path, fixed->text); !saved) {
        console.complain(saved.error());
        return false;
    }
    config.text = std::move(fixed->text);
    const bool isForPeople = !call.has(kJSONOption.name) && !call.has(kSarifOption.name);
    for (const std::string& sentence : fixed->done)
        (isForPeople ? console.out : console.err).line(config.path + ": " + sentence);
    return true;
}

int explain(const std::string& code, Console& console) {
    if (const ConfigRule* rule = findConfigRule(code)) {
        console.out.write(ruleText(*rule));
        return ExitStatus::fine;
    }
    std::vector<std::string> codes;
    for (const ConfigRule& rule : configRules())
        codes.emplace_back(rule.code);
    const std::string near = nearest(code, codes);
    return fail(console, near.empty() ? localized("there is no rule '%1'; see --rules", {code})
                                      : localized("there is no rule '%1'; did you mean '%2'?", {code, near}));
}

int check(const VerbCall& call, Console& console) {
    const auto argument = call.arguments.empty() ? std::nullopt : std::optional(call.arguments[0]);
    auto file = readConfig(call, argument);
    if (!file) {
        console.complain(file.error());
        if (call.has(kJSONOption.name) || call.has(kSarifOption.name))
            report(call,
                   {{argument.value_or(call.value(kConfigOption.name).value_or("-")),
                     {makeDiagnostic(RuleID::unreadable, file.error(), "", {1, 1})}}},
                   console);
        return ExitStatus::failed;
    }
    const bool fixes = call.has(kFixOption.name);
    if (fixes && file->path == "-")
        return fail(console, localized("--fix needs a file"));
    const bool isFixed = !fixes || fix(call, *file, console);
    std::vector<CheckedFile> files{{file->path, findings(call, file->text)}};
    if (auto expected = expectations(call, *file))
        files.push_back(std::move(*expected));
    const int status = report(call, std::move(files), console);
    return isFixed ? status : ExitStatus::failed;
}

int run(const VerbCall& call, Console& console) {
    if (call.has(kJSONOption.name) && call.has(kSarifOption.name))
        return fail(console, localized("--json and --sarif exclude each other"));
    if (const auto code = call.value(kExplainOption.name))
        return explain(*code, console);
    if (call.has(kRulesOption.name)) {
        console.out.write(call.has(kJSONOption.name) ? ruleListJSON() : ruleList());
        return ExitStatus::fine;
    }
    return check(call, console);
}

} // namespace

extern const Verb kCheckVerb{.name = "check",
                             .arguments = "[FILE]",
                             .summary = "reports what is wrong with a configuration",
                             .maximumArguments = 1,
                             .options = kOptions,
                             .run = run};

} // namespace varnel
