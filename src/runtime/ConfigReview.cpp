#include "runtime/ConfigReview.h"

#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "runtime/ProcessMemory.h"

#include <algorithm>
#include <map>
#include <utility>

namespace varnel {

namespace {

constexpr std::string_view kConfigurationLog = "Configuration";
/// A file that went wrong as a whole need not fill the log.
constexpr std::size_t kMostLines = 20;

KnownAction::Parameter::Kind kindOf(const PluginFieldSchema& field) {
    using Kind = KnownAction::Parameter::Kind;
    switch (field.type) {
    case PluginFieldKind::string:
        return Kind::text;
    case PluginFieldKind::shortcut:
        return Kind::shortcut;
    case PluginFieldKind::boolean:
        return Kind::boolean;
    case PluginFieldKind::enumChoice:
        return Kind::choice;
    case PluginFieldKind::path:
        return field.pathKind == PluginPathKind::application ? Kind::application : Kind::text;
    case PluginFieldKind::integer:
        return Kind::integer;
    case PluginFieldKind::number:
        return Kind::number;
    }
    return Kind::any;
}

KnownAction::Form formOf(const std::vector<PluginFieldSchema>& fields) {
    KnownAction::Form form;
    for (const PluginFieldSchema& field : fields) {
        KnownAction::Parameter parameter{.key = field.key,
                                         .kind = kindOf(field),
                                         .required = field.required,
                                         .defaultValue = field.defaultValue,
                                         .dependsOn = field.dependsOn.value_or(std::string()),
                                         .shownWhen = field.visibleWhen.value_or(std::vector<std::string>())};
        for (const PluginFieldOption& option : field.options.value_or(std::vector<PluginFieldOption>()))
            parameter.choices.push_back(option.value);
        form.push_back(std::move(parameter));
    }
    return form;
}

void addActions(const PluginManifest& manifest, std::vector<KnownAction>& known) {
    for (const PluginActionDescriptor& action : manifest.actions) {
        KnownAction added{.pluginID = manifest.id, .actionID = action.id, .forms = {}};
        const auto forms = action.forms.value_or(std::vector<PluginActionFormSchema>());
        if (!action.parametersSchema.empty() || forms.empty())
            added.forms.push_back(formOf(action.parametersSchema));
        for (const PluginActionFormSchema& form : forms)
            added.forms.push_back(formOf(form.parametersSchema));
        if (manifest.id == core::window) // its program reads "Left half" and "leftHalf" too
            for (KnownAction::Parameter& parameter : added.forms.front())
                parameter.ignoresSpelling = true;
        known.push_back(std::move(added));
    }
}

/// The package that stands for an identifier: the active one, else one that waits for trust, else the first.
using Chosen = std::map<std::string, const PluginDescriptor*, std::less<>>;
Chosen choose(const PluginRegistry& registry) {
    const auto rank = [](const PluginDescriptor& descriptor) {
        return descriptor.status.kind == PluginStatus::Kind::active      ? 0
               : descriptor.status.kind == PluginStatus::Kind::untrusted ? 1
                                                                         : 2;
    };
    Chosen chosen;
    for (const auto& descriptor : registry.descriptors) {
        const auto [known, isNew] = chosen.emplace(descriptor->manifest.id, descriptor.get());
        if (!isNew && rank(*descriptor) < rank(*known->second))
            known->second = descriptor.get();
    }
    return chosen;
}

} // namespace

CheckSurroundings surroundingsOf(const PluginRegistry& registry) {
    CheckSurroundings surroundings{.actions = builtInActions(), .whyNoApplication = makeApplicationFinder()};
    for (const auto& [id, descriptor] : choose(registry)) {
        if (id == core::application || id == core::shortcut) // never run by a package
            continue;
        if (!descriptor->manifest.actions.empty())
            std::erase_if(surroundings.actions,
                          [&](const KnownAction& action) { return action.pluginID == id; });
        addActions(descriptor->manifest, surroundings.actions);
        if (descriptor->status.kind != PluginStatus::Kind::active)
            surroundings.unavailablePlugins.push_back(
                {.pluginID = id,
                 .isUntrusted = descriptor->status.kind == PluginStatus::Kind::untrusted,
                 .reason = inactiveReason(*descriptor)});
    }
    return surroundings;
}

ConfigReview::ConfigReview(Surroundings surroundings)
    : surroundings_(std::move(surroundings)) {}

ConfigReview::~ConfigReview() = default;

void ConfigReview::reviewSoon() {
    waiting_ = surroundings_.loop.after(kReviewDelay, [this] { review(); });
}

void ConfigReview::review() {
    self_ = std::make_shared<ConfigReview*>(this);
    surroundings_.executor.submit([file = surroundings_.configPath(), registry = surroundings_.registry(),
                                   self = std::weak_ptr(self_), loop = &surroundings_.loop] {
        std::vector<Diagnostic> found; // nothing to say of a file that cannot be read
        if (const auto text = PosixFileSystem().readFile(file))
            found = checkDocument(*text, surroundingsOf(registry ? *registry : PluginRegistry()));
        std::erase_if(found, [](const Diagnostic& each) { return each.severity == Severity::note; });
        loop->post([file, self, found = std::move(found)] {
            if (const auto review = self.lock())
                (*review)->finished(file, found);
        });
    });
}

void ConfigReview::finished(const std::string& file, const std::vector<Diagnostic>& found) {
    std::vector<std::string> lines;
    for (const Diagnostic& each : found) // that a file does not load has been told already
        if (each.severity == Severity::warning && lines.size() < kMostLines)
            lines.push_back(describe(each, file));
    if (lines.size() == kMostLines && found.size() > kMostLines)
        lines.push_back(localized("%1 more; see varnel check", {std::to_string(found.size() - kMostLines)}));
    if (lines != logged_)
        for (const std::string& line : lines)
            surroundings_.log.write(LogLevel::error, kConfigurationLog, line);
    logged_ = std::move(lines);
    result_ = {.count = found.size(), .first = found.empty() ? "" : describe(found.front(), file)};
    returnUnusedMemory();
    if (surroundings_.onFinished)
        surroundings_.onFinished();
}

} // namespace varnel
