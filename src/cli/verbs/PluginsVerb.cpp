#include "base/JSONReader.h"
#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "base/Text.h"
#include "cli/AbsolutePath.h"
#include "cli/Columns.h"
#include "cli/ConfigInput.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "config/ConfigDocument.h"
#include "plugins/PluginManager.h"
#include "plugins/PluginPackageHash.h"
#include "plugins/PluginScan.h"
#include "plugins/PluginValidation.h"
#include "runtime/ProgramLocation.h"
#include "runtime/RuntimePaths.h"

#include <sys/stat.h>

#include <expected>
#include <map>
#include <memory>

namespace varnel {

namespace {

constexpr VerbOption kBuiltInOption{"--built-in", "", "let the trusted package take a built-in ID"};
constexpr VerbOption kParamsOption{"--params", "JSON", "the parameters of the action to run"};
constexpr VerbOption kSettingsOption{"--settings", "JSON", "settings instead of the configuration's"};
constexpr VerbOption kOptions[] = {kJSONOption,   kBundledPluginsOption, kUserPluginsOption, kConfigOption,
                                   kParamsOption, kSettingsOption,       kBuiltInOption};

using Descriptor = std::shared_ptr<const PluginDescriptor>;

/// The capabilities as the application would find them.
class Capabilities {
public:
    explicit Capabilities(const VerbCall& call)
        : paths_(RuntimePaths::fromEnvironment())
        , preferences_(openSystemPreferences(files_, paths_.preferences)) {
        // What cannot be read counts as empty; writing then reports it.
        (void)preferences_->reload();
        PluginManagerOptions options;
        options.homeFolder = paths_.home;
        options.bundledPluginsURL = defaultBundledPluginsFolder(programFolder());
        if (auto folder = call.value(kBundledPluginsOption.name))
            options.bundledPluginsURL = absolutePath(*folder);
        if (auto folder = call.value(kUserPluginsOption.name))
            options.userPluginsURL = absolutePath(*folder);
        manager_ = std::make_unique<PluginManager>(std::move(options), *preferences_, nullptr);
        manager_->reload();
    }

    [[nodiscard]] PluginManager& manager() { return *manager_; }
    [[nodiscard]] const std::string& home() const { return paths_.home; }

    /// The package with that identifier or at that path; the error is a sentence.
    std::expected<Descriptor, std::string> find(const std::string& word) const {
        std::vector<Descriptor> found;
        std::vector<std::string> ids;
        for (const Descriptor& descriptor : manager_->registry()->descriptors) {
            if (descriptor->pluginURL == absolutePath(word))
                return descriptor;
            ids.push_back(descriptor->manifest.id);
            if (descriptor->manifest.id == word)
                found.push_back(descriptor);
        }
        if (found.size() == 1)
            return found[0];
        if (found.empty()) {
            const std::string guess = nearest(word, ids);
            const std::string message = localized("there is no capability '%1'", {word});
            return std::unexpected(guess.empty() ? message
                                                 : localized("%1; did you mean '%2'?", {message, guess}));
        }
        std::string message =
            localized("several capabilities have the ID '%1'; give the path of one instead:", {word});
        for (const Descriptor& descriptor : found)
            message += "\n  " + descriptor->pluginURL;
        return std::unexpected(message);
    }

private:
    PosixFileSystem files_;
    RuntimePaths paths_;
    std::unique_ptr<SharedPreferences> preferences_;
    std::unique_ptr<PluginManager> manager_;
};

std::string asJSON(const PluginDescriptor& descriptor) {
    JSONLine line;
    line.text("id", descriptor.manifest.id)
        .text("name", descriptor.manifest.name)
        .text("version", descriptor.manifest.version)
        .text("source", name(descriptor.sourceKind))
        .text("path", descriptor.pluginURL);
    descriptor.bundleHash ? line.text("hash", *descriptor.bundleHash) : line.null("hash");
    line.boolean("isTrusted", descriptor.isTrusted)
        .boolean("isEnabled", descriptor.isEnabled)
        .text("status", name(descriptor.status.kind));
    descriptor.status.message ? line.text("message", *descriptor.status.message) : line.null("message");
    return line.finished();
}

std::string statusWord(PluginStatus::Kind kind) {
    switch (kind) {
    case PluginStatus::Kind::untrusted:
        return localized("untrusted");
    case PluginStatus::Kind::invalid:
        return localized("invalid");
    case PluginStatus::Kind::conflict:
        return localized("conflict");
    case PluginStatus::Kind::shadowed:
        return localized("shadowed");
    case PluginStatus::Kind::active:
        return localized("active");
    case PluginStatus::Kind::disabled:
        break;
    }
    return localized("disabled");
}

std::string sourceWord(PluginSourceKind kind) {
    return kind == PluginSourceKind::bundled ? localized("bundled") : localized("user");
}

void printForPeople(const PluginDescriptor& descriptor, Console& console) {
    constexpr std::size_t kLineLength = 400;
    const auto cell = [](const std::string& text, std::size_t width) {
        return column(singleLine(text, 80) + " ", width);
    };
    console.out.line(cell(descriptor.manifest.id, 24) + cell(statusWord(descriptor.status.kind), 16) +
                     cell(sourceWord(descriptor.sourceKind), 14) + cell(descriptor.manifest.version, 9) +
                     singleLine(descriptor.manifest.name, 80));
    if (descriptor.status.message)
        for (std::string_view line : split(*descriptor.status.message, '\n'))
            console.out.line("    " + singleLine(line, kLineLength));
}

int list(const VerbCall& call, Console& console) {
    Capabilities capabilities(call);
    const auto registry = capabilities.manager().registry();
    if (!call.has(kJSONOption.name)) {
        for (const Descriptor& descriptor : registry->descriptors)
            printForPeople(*descriptor, console);
        return ExitStatus::fine;
    }
    std::string all = "[";
    for (const Descriptor& descriptor : registry->descriptors)
        all += (all.size() > 1 ? "," : "") + asJSON(*descriptor);
    console.out.line(all + "]");
    return ExitStatus::fine;
}

/// What is wrong with a package beyond its manifest.
std::vector<std::string> packageProblems(const std::string& folder) {
    std::vector<std::string> problems;
    auto listing = listPluginPackage(folder);
    if (!listing)
        problems.push_back(describe(listing.error()));
    else if (auto message = unsafePermissions(*listing, folder))
        problems.push_back(*message);
    return problems;
}

int validate(const VerbCall& call, Console& console) {
    const std::string path = absolutePath(call.arguments[1]);
    struct stat info {};
    const bool isSingleFile = ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
    const std::string folder = isSingleFile ? parentPath(path) : path;
    auto text = readManifestText(isSingleFile ? path : appendPath(path, "plugin.json"));
    auto manifest = text ? decodePluginManifest(*text) : std::unexpected(JSONDecodingError());
    if (!manifest)
        return fail(console, text ? describe(manifest.error()) : text.error());
    std::vector<std::string> messages =
        validatePluginManifest(*manifest, folder, pluginExecutablePath(folder, manifest->executable));
    if (!isSingleFile)
        for (std::string& problem : packageProblems(folder))
            messages.push_back(std::move(problem));
    if (call.has(kJSONOption.name))
        console.out.line(writeCompactJSON(JSONValue::Array(messages.begin(), messages.end())));
    else
        for (const std::string& message : messages)
            console.out.line(message);
    return messages.empty() ? ExitStatus::fine : ExitStatus::no;
}

int hash(const VerbCall& call, Console& console) {
    auto result = hashPluginPackage(absolutePath(call.arguments[1]));
    if (!result)
        return fail(console, describe(result.error()));
    console.out.line(call.has(kJSONOption.name) ? "\"" + *result + "\"" : *result);
    return ExitStatus::fine;
}

using Change = std::expected<void, PluginTrustError> (*)(PluginManager&, const PluginDescriptor&,
                                                         const VerbCall&);

/// Trusts, untrusts, enables or disables one package and shows what became of it.
int change(const VerbCall& call, Console& console, Change apply) {
    Capabilities capabilities(call);
    auto descriptor = capabilities.find(call.arguments[1]);
    if (!descriptor)
        return fail(console, descriptor.error());
    if (auto done = apply(capabilities.manager(), **descriptor, call); !done) {
        const bool asksFirst = done.error().kind == PluginTrustError::Kind::takesBuiltInID;
        console.complain(describe(done.error()) +
                         (asksFirst ? " Say --built-in if that is what you want." : ""));
        return done.error().kind == PluginTrustError::Kind::notStored ? ExitStatus::failed : ExitStatus::no;
    }
    auto changed = capabilities.find((*descriptor)->pluginURL);
    if (!changed)
        return ExitStatus::fine;
    if (call.has(kJSONOption.name))
        console.out.line(asJSON(**changed));
    else
        printForPeople(**changed, console);
    return ExitStatus::fine;
}

int trust(const VerbCall& call, Console& console) {
    return change(
        call, console, [](PluginManager& manager, const PluginDescriptor& descriptor, const VerbCall& given) {
            return manager.trust(descriptor.pluginURL, given.has(kBuiltInOption.name) ? BuiltInIDs::mayBeTaken
                                                                                      : BuiltInIDs::refuse);
        });
}

int untrust(const VerbCall& call, Console& console) {
    return change(call, console,
                  [](PluginManager& manager, const PluginDescriptor& descriptor, const VerbCall&) {
                      return manager.untrust(descriptor.pluginURL);
                  });
}

int enable(const VerbCall& call, Console& console) {
    return change(call, console,
                  [](PluginManager& manager, const PluginDescriptor& descriptor, const VerbCall&) {
                      return manager.setEnabled(descriptor.pluginURL, true);
                  });
}

int disable(const VerbCall& call, Console& console) {
    return change(call, console,
                  [](PluginManager& manager, const PluginDescriptor& descriptor, const VerbCall&) {
                      return manager.setEnabled(descriptor.pluginURL, false);
                  });
}

/// The JSON object that an option gives, {} without it; the error is a sentence.
std::expected<JSONValue::Object, std::string> objectOption(const VerbCall& call, const VerbOption& option) {
    auto text = call.value(option.name);
    if (!text)
        return JSONValue::Object();
    auto value = readJSON(*text);
    if (!value)
        return std::unexpected(std::string(option.name) + ": " + describe(value.error()));
    if (!value->object())
        return std::unexpected(std::string(option.name) + ": expected an object, found " +
                               std::string(value->kindName()));
    return std::move(*value->object());
}

/// Fills in what a run takes from the configuration in use.
void addConfiguration(const VerbCall& call, const std::string& home, PluginExecutionRequest& request) {
    request.context.configPath = call.value(kConfigOption.name)
                                     ? absolutePath(*call.value(kConfigOption.name))
                                     : home + "/.config/varnel/config.json";
    auto config = readConfig(call);
    if (!config)
        return;
    request.context.configPath = absolutePath(config->path);
    if (call.has(kSettingsOption.name))
        return;
    if (auto document = decodeDocument(config->text))
        if (auto own = document->pluginSettings.find(request.pluginID); own != document->pluginSettings.end())
            request.settings = own->second;
}

int printFailure(const std::string& message, Console& console) {
    console.out.line(writeCompactJSON(JSONValue::Object{{"success", false}, {"message", message}}));
    return ExitStatus::no;
}

int run(const VerbCall& call, Console& console) {
    auto params = objectOption(call, kParamsOption), settings = objectOption(call, kSettingsOption);
    if (!params || !settings)
        return fail(console, params ? settings.error() : params.error());
    Capabilities capabilities(call);
    auto descriptor = capabilities.find(call.arguments[1]);
    if (!descriptor)
        return fail(console, descriptor.error());
    // The one that was named, not another with the same ID.
    if ((*descriptor)->status.kind != PluginStatus::Kind::active)
        return printFailure(inactiveReason(**descriptor), console);
    PluginExecutionRequest request;
    request.pluginID = (*descriptor)->manifest.id;
    request.actionID = call.arguments[2];
    request.params = std::move(*params);
    request.settings = std::move(*settings);
    addConfiguration(call, capabilities.home(), request);
    auto response = capabilities.manager().runAction(std::move(request))();
    if (!response)
        return printFailure(response.error(), console);
    console.out.line(encodeResponse(*response));
    return response->success ? ExitStatus::fine : ExitStatus::no;
}

struct SubVerb {
    std::string_view name;
    std::string_view arguments;
    std::size_t count;
    int (*run)(const VerbCall& call, Console& console);
};
constexpr SubVerb kSubVerbs[] = {
    {"list", "", 0, list},          {"validate", " DIR", 1, validate}, {"hash", " DIR", 1, hash},
    {"trust", " ID", 1, trust},     {"untrust", " ID", 1, untrust},    {"enable", " ID", 1, enable},
    {"disable", " ID", 1, disable}, {"run", " ID ACTION", 2, run},
};

int runPlugins(const VerbCall& call, Console& console) {
    std::vector<std::string> names;
    for (const SubVerb& subVerb : kSubVerbs) {
        names.emplace_back(subVerb.name);
        if (call.arguments[0] != subVerb.name)
            continue;
        if (call.arguments.size() == subVerb.count + 1)
            return subVerb.run(call, console);
        console.complain(localized("usage: varnel plugins %1",
                                   {std::string(subVerb.name) + std::string(subVerb.arguments)}));
        return ExitStatus::failed;
    }
    const std::string guess = nearest(call.arguments[0], names);
    const std::string message = localized("plugins has no verb '%1'", {call.arguments[0]});
    console.complain(guess.empty() ? localized("%1; it has %2", {message, join(names, ", ")})
                                   : localized("%1; did you mean '%2'?", {message, guess}));
    return ExitStatus::failed;
}

} // namespace

extern const Verb kPluginsVerb{
    .name = "plugins",
    .arguments = "list|validate DIR|hash DIR|trust ID|untrust ID|enable ID|disable ID|run ID ACTION",
    .summary = "lists, checks, trusts and runs capabilities",
    .minimumArguments = 1,
    .maximumArguments = 3,
    .options = kOptions,
    .run = runPlugins};

} // namespace varnel
