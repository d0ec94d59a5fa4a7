#include "plugins/PluginManager.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "base/UTF8.h"
#include "config/ConfigItem.h"
#include "plugins/PluginCommand.h"
#include "plugins/PluginLauncher.h"
#include "plugins/PluginScan.h"
#include "plugins/ProcessSystem.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <mutex>

namespace varnel {

namespace {

using TrustErrorKind = PluginTrustError::Kind;
using Package = std::shared_ptr<const PluginDescriptor>;

bool isBuiltInID(std::string_view id) {
    constexpr std::array<std::string_view, 6> kIDs = {core::application, core::shell,     core::window,
                                                      core::shortcut,    core::aerospace, core::runningApps};
    return std::ranges::find(kIDs, id) != kIDs.end();
}

std::unexpected<PluginTrustError> refusal(TrustErrorKind kind, std::string message) {
    return std::unexpected(PluginTrustError{kind, std::move(message)});
}

std::unexpected<PluginTrustError> unknownPackage(const std::string& pluginURL) {
    return refusal(TrustErrorKind::unknownPackage, localized("No capability was found at %1", {pluginURL}));
}

/// Why an identifier has no active plugin.
std::string inactiveReason(const PluginRegistry& registry, const std::string& id) {
    for (const auto& descriptor : registry.descriptors)
        if (descriptor->manifest.id == id)
            return inactiveReason(*descriptor);
    return localized("No capability has the ID '%1'.", {id});
}

/// The text with every byte that is not part of valid UTF-8 replaced.
std::string validText(std::string_view text) {
    if (isValidUTF8(text))
        return std::string(text);
    std::string valid;
    while (!text.empty()) {
        std::size_t length = utf8CharacterLength(text);
        if (length > 0)
            valid += text.substr(0, length);
        else
            valid += "\xEF\xBF\xBD";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

std::string failureMessage(const PluginProcessResult& result) {
    std::string message = validText(trimmed(result.standardError));
    return message.empty() ? localized("The plugin exited with an error.") : message;
}

} // namespace

/// Outlives the manager as long as commands or scans hold it.
struct PluginManager::State : std::enable_shared_from_this<PluginManager::State> {
    State(PluginManagerOptions givenOptions, PreferenceStore& preferences, EventLoop* mainLoop)
        : options(std::move(givenOptions))
        , trust(preferences)
        , launcher(options.verifiedCopiesFolder, options.limits, trust)
        , loop(mainLoop) {}

    [[nodiscard]] std::shared_ptr<const PluginRegistry> current() const {
        std::lock_guard lock(mutex);
        return registry;
    }

    [[nodiscard]] PluginFolders folders() const {
        return {options.bundledPluginsURL, options.userPluginsURL,
                options.homeFolder.empty() ? "" : options.homeFolder + "/.config/corvid/plugins"};
    }

    /// Main thread.
    void publish(PluginRegistry published) {
        auto shared = std::make_shared<const PluginRegistry>(std::move(published));
        {
            std::lock_guard lock(mutex);
            registry = shared;
        }
        notify();
    }

    /// Main thread. Observers may come and go while they are called.
    void notify() {
        auto shown = current();
        std::vector<int> ids;
        ids.reserve(observers.size());
        for (const auto& [id, observer] : observers)
            ids.push_back(id);
        for (int id : ids)
            if (auto it = observers.find(id); it != observers.end()) {
                auto observer = it->second;
                observer(*shown);
            }
    }

    /// A run found that a package is no longer what was trusted. Any thread.
    void withdrawTrust(const PluginDescriptor& lapsed, const std::string& reason) {
        std::lock_guard lock(mutex);
        std::vector<PluginDescriptor> descriptors;
        for (const auto& descriptor : registry->descriptors) {
            descriptors.push_back(*descriptor);
            if (descriptor->pluginURL == lapsed.pluginURL && descriptor->bundleHash == lapsed.bundleHash) {
                descriptors.back().isTrusted = false;
                descriptors.back().status = {PluginStatus::Kind::untrusted, reason};
            }
        }
        registry = std::make_shared<const PluginRegistry>(resolvePlugins(std::move(descriptors)));
        if (loop)
            loop->post([weak = weak_from_this()] {
                if (auto state = weak.lock())
                    state->notify();
            });
    }

    /// Runs an active plugin's executable; the error is a sentence. Any thread; blocks.
    std::expected<PluginProcessResult, std::string>
    launch(const PluginDescriptor& descriptor, std::string_view commandWord,
           const std::expected<std::string, std::string>& request) {
        if (!request)
            return std::unexpected(request.error());
        auto result = launcher.run(descriptor, commandWord, *request);
        if (result)
            return std::move(*result);
        if (result.error().trustHasLapsed)
            withdrawTrust(descriptor, result.error().message);
        return std::unexpected(result.error().message);
    }

    /// The active plugin that has the action; else why there is none.
    std::expected<std::shared_ptr<const PluginDescriptor>, std::string>
    find(const std::string& pluginID) const {
        auto all = current();
        auto it = all->activePluginsByID.find(pluginID);
        if (it == all->activePluginsByID.end())
            return std::unexpected(inactiveReason(*all, pluginID));
        return it->second;
    }

    std::expected<PluginProcessResult, std::string> launchAction(PluginExecutionRequest request,
                                                                 std::string_view commandWord) {
        auto descriptor = find(request.pluginID);
        if (!descriptor)
            return std::unexpected(descriptor.error());
        if (!(*descriptor)->manifest.findAction(request.actionID))
            return std::unexpected(
                localized("The capability '%1' has no action '%2'.", {request.pluginID, request.actionID}));
        request.context.timestamp = pluginTimestamp(options.wallClock());
        return launch(**descriptor, commandWord, encodeRequest(request));
    }

    /// Scans on `worker`, publishes unless a later scan overtook this one, then calls `then`. Main thread,
    /// and only while there is a manager.
    void scan(SerialExecutor& worker, std::function<void()> then) {
        worker.submit([state = shared_from_this(), number = ++latestScan, then = std::move(then)] {
            auto found = std::make_shared<PluginRegistry>(scanPlugins(state->folders(), state->trust));
            state->postWhileAlive([number, found, then](State& alive) {
                if (alive.latestScan == number)
                    alive.publish(std::move(*found));
                if (then)
                    then();
            });
        });
    }

    /// Runs `task` on the main loop unless the manager is gone by then. Any thread.
    void postWhileAlive(std::function<void(State&)> task) {
        std::lock_guard lock(mutex);
        if (loop)
            loop->post([weak = weak_from_this(), task = std::move(task)] {
                if (const auto alive = weak.lock(); alive && alive->hasManager())
                    task(*alive);
            });
    }

    [[nodiscard]] bool hasManager() const {
        std::lock_guard lock(mutex);
        return loop != nullptr;
    }

    // What trusting and the like consist of. Main thread, but for reading files.

    std::expected<Package, PluginTrustError> findTrustable(const std::string& pluginURL,
                                                           BuiltInIDs builtInIDs) const;
    std::expected<void, PluginTrustError> storeTrust(const PluginDescriptor& package,
                                                     const PluginFileDigests& files);
    std::expected<void, PluginTrustError> removeTrust(const std::string& pluginURL);
    std::expected<void, PluginTrustError> storeEnabled(const std::string& pluginURL, bool enabled);

    const PluginManagerOptions options;
    PluginTrustStore trust;
    PluginLauncher launcher;

    mutable std::mutex mutex;
    EventLoop* loop; ///< null once the manager is gone
    std::shared_ptr<const PluginRegistry> registry = std::make_shared<const PluginRegistry>();

    // Main thread only.
    std::map<int, std::function<void(const PluginRegistry&)>> observers;
    int nextObserver = 0;
    int latestScan = 0;
};

std::string defaultBundledPluginsFolder(std::string_view programFolder) {
    return standardizedPath(appendPath(programFolder, "../share/varnel/plugins"));
}

std::string defaultUserPluginsFolder(std::string_view homeFolder) {
    return std::string(homeFolder) + "/.config/varnel/plugins";
}

std::string defaultVerifiedCopiesFolder(std::string_view homeFolder) {
    auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value && value[0] == '/' ? value : "");
    };
    const std::string runtime = variable("XDG_RUNTIME_DIR");
    if (!runtime.empty() && mayRunProgramsIn(runtime))
        return runtime + "/varnel/plugins";
    const std::string state = variable("XDG_STATE_HOME");
    return (state.empty() ? std::string(homeFolder) + "/.local/state" : state) + "/varnel/plugins";
}

std::string describe(const PluginTrustError& error) {
    return error.message;
}

PluginManager::PluginManager(PluginManagerOptions options, PreferenceStore& preferences,
                             EventLoop* mainLoop) {
    if (options.skipsUserPlugins)
        options.userPluginsURL.clear();
    else if (options.userPluginsURL.empty())
        options.userPluginsURL = defaultUserPluginsFolder(options.homeFolder);
    if (options.verifiedCopiesFolder.empty())
        options.verifiedCopiesFolder = defaultVerifiedCopiesFolder(options.homeFolder);
    state_ = std::make_shared<State>(std::move(options), preferences, mainLoop);
}

PluginManager::~PluginManager() {
    std::lock_guard lock(state_->mutex);
    state_->loop = nullptr;
}

void PluginManager::reload() {
    ++state_->latestScan;
    state_->publish(scanPlugins(state_->folders(), state_->trust));
}

void PluginManager::reloadInBackground(SerialExecutor& worker) {
    assert(state_->loop);
    state_->scan(worker, {});
}

std::shared_ptr<const PluginRegistry> PluginManager::registry() const {
    return state_->current();
}

Subscription PluginManager::observe(std::function<void(const PluginRegistry&)> observer) {
    const int id = state_->nextObserver++;
    state_->observers.emplace(id, std::move(observer));
    return Subscription([weak = std::weak_ptr(state_), id] {
        if (auto state = weak.lock())
            state->observers.erase(id);
    });
}

namespace {

Package findPackage(const PluginRegistry& registry, const std::string& pluginURL) {
    for (const auto& descriptor : registry.descriptors)
        if (descriptor->pluginURL == pluginURL)
            return descriptor;
    return nullptr;
}

/// What every file of the package holds, provided that the package is still the one described. Any thread.
std::expected<PluginFileDigests, PluginTrustError> readTrustable(const PluginDescriptor& package) {
    auto listing = listPluginPackage(package.pluginURL);
    auto files = listing ? digestPluginFiles(package.pluginURL, *listing) : std::unexpected(listing.error());
    if (!files)
        return refusal(TrustErrorKind::invalid, describe(files.error()));
    if (hashPluginPackage(package.pluginURL) != package.bundleHash)
        return refusal(TrustErrorKind::invalid,
                       localized("The capability has just changed; look at it again."));
    return *std::move(files);
}

} // namespace

std::expected<Package, PluginTrustError> PluginManager::State::findTrustable(const std::string& pluginURL,
                                                                             BuiltInIDs builtInIDs) const {
    Package package = findPackage(*current(), pluginURL);
    if (!package)
        return unknownPackage(pluginURL);
    const std::string& id = package->manifest.id;
    if (package->sourceKind == PluginSourceKind::bundled)
        return refusal(TrustErrorKind::bundled, localized("Bundled capabilities are always trusted."));
    if (package->status.kind == PluginStatus::Kind::invalid)
        return refusal(TrustErrorKind::invalid, localized("An invalid capability cannot be trusted: %1",
                                                          {package->status.message.value_or("")}));
    if (!package->bundleHash)
        return refusal(TrustErrorKind::singleFile, package->status.message.value_or(""));
    if (isBuiltInID(id) && builtInIDs == BuiltInIDs::refuse)
        return refusal(TrustErrorKind::takesBuiltInID,
                       localized("The capability would take the built-in ID '%1'.", {id}));
    return package;
}

std::expected<void, PluginTrustError> PluginManager::State::storeTrust(const PluginDescriptor& package,
                                                                       const PluginFileDigests& files) {
    const std::string& id = package.manifest.id;
    auto earlier = trust.find(pluginKey(id, package.pluginURL));
    auto stored = trust.add({id, package.pluginURL, package.manifest.version, package.bundleHash}, files);
    if (!stored)
        return refusal(TrustErrorKind::notStored, stored.error());
    if (earlier && earlier->bundleHash && earlier->bundleHash != package.bundleHash)
        launcher.forget(*earlier->bundleHash);
    return {};
}

std::expected<void, PluginTrustError> PluginManager::State::removeTrust(const std::string& pluginURL) {
    const Package package = findPackage(*current(), pluginURL);
    if (!package)
        return unknownPackage(pluginURL);
    if (package->sourceKind == PluginSourceKind::bundled)
        return refusal(TrustErrorKind::bundled,
                       localized("Bundled capabilities are always trusted; disable it instead."));
    const std::string key = pluginKey(package->manifest.id, pluginURL);
    auto earlier = trust.find(key);
    if (auto stored = trust.remove(key); !stored)
        return refusal(TrustErrorKind::notStored, stored.error());
    if (earlier && earlier->bundleHash)
        launcher.forget(*earlier->bundleHash);
    return {};
}

std::expected<void, PluginTrustError> PluginManager::State::storeEnabled(const std::string& pluginURL,
                                                                         bool enabled) {
    const Package package = findPackage(*current(), pluginURL);
    if (!package)
        return unknownPackage(pluginURL);
    if (auto stored = trust.setDisabled(pluginKey(package->manifest.id, pluginURL), !enabled); !stored)
        return refusal(TrustErrorKind::notStored, stored.error());
    return {};
}

std::expected<void, PluginTrustError> PluginManager::trust(const std::string& pluginURL,
                                                           BuiltInIDs builtInIDs) {
    const auto package = state_->findTrustable(pluginURL, builtInIDs);
    if (!package)
        return std::unexpected(package.error());
    const auto files = readTrustable(**package);
    auto stored =
        files ? state_->storeTrust(**package, *files) : std::unexpected<PluginTrustError>(files.error());
    // Also after a failure: the package may no longer be what is shown.
    reload();
    return stored;
}

std::expected<void, PluginTrustError> PluginManager::untrust(const std::string& pluginURL) {
    auto removed = state_->removeTrust(pluginURL);
    if (removed)
        reload();
    return removed;
}

std::expected<void, PluginTrustError> PluginManager::setEnabled(const std::string& pluginURL, bool enabled) {
    auto stored = state_->storeEnabled(pluginURL, enabled);
    if (stored)
        reload();
    return stored;
}

void PluginManager::trustInBackground(SerialExecutor& worker, const std::string& pluginURL,
                                      BuiltInIDs builtInIDs, Done done) {
    const auto package = state_->findTrustable(pluginURL, builtInIDs);
    if (!package)
        return state_->postWhileAlive(
            [error = package.error(), done](State&) { done(std::unexpected(error)); });
    worker.submit([state = state_, package = *package, &worker, done = std::move(done)] {
        state->postWhileAlive([files = readTrustable(*package), package, &worker, done](State& alive) {
            auto stored =
                files ? alive.storeTrust(*package, *files) : std::unexpected<PluginTrustError>(files.error());
            alive.scan(worker, [stored, done] { done(stored); });
        });
    });
}

void PluginManager::untrustInBackground(SerialExecutor& worker, const std::string& pluginURL, Done done) {
    state_->scan(worker,
                 [removed = state_->removeTrust(pluginURL), done = std::move(done)] { done(removed); });
}

void PluginManager::setEnabledInBackground(SerialExecutor& worker, const std::string& pluginURL, bool enabled,
                                           Done done) {
    state_->scan(worker, [stored = state_->storeEnabled(pluginURL, enabled), done = std::move(done)] {
        done(stored);
    });
}

std::unique_ptr<Command> PluginManager::makePluginCommand(const std::string& displayName,
                                                          const ConfigAction& action,
                                                          const std::string& configurationPath,
                                                          const PluginSettings& pluginSettings) {
    PluginExecutionRequest request;
    request.pluginID = action.pluginID;
    request.actionID = action.actionID;
    request.params = action.params;
    if (auto settings = pluginSettings.find(action.pluginID); settings != pluginSettings.end())
        request.settings = settings->second;
    request.context.configPath = configurationPath;
    if (state_->options.frontmostApplication)
        request.context.frontmostAppBundleID = state_->options.frontmostApplication();
    return std::make_unique<PluginCommand>(displayName, runAction(std::move(request)));
}

PluginManager::Request<PluginExecutionResponse>
PluginManager::runAction(PluginExecutionRequest request) const {
    return [state = state_,
            request = std::move(request)]() -> std::expected<PluginExecutionResponse, std::string> {
        auto result = state->launchAction(request, pluginCommandWord::action);
        if (!result)
            return std::unexpected(result.error());
        if (result->exitStatus != 0) {
            PluginExecutionResponse failed;
            failed.message = failureMessage(*result);
            return failed;
        }
        auto response = decodeResponse(result->standardOutput);
        if (!response)
            return std::unexpected(describe(response.error()));
        return std::move(*response);
    };
}

PluginManager::Request<std::vector<PluginChoice>>
PluginManager::runChoices(PluginExecutionRequest request) const {
    return [state = state_,
            request = std::move(request)]() -> std::expected<std::vector<PluginChoice>, std::string> {
        auto result = state->launchAction(request, pluginCommandWord::choices);
        if (!result)
            return std::unexpected(result.error());
        if (result->exitStatus != 0)
            return std::unexpected(failureMessage(*result));
        auto choices = decodeChoices(result->standardOutput);
        if (!choices)
            return std::unexpected(describe(choices.error()));
        return std::move(*choices);
    };
}

PluginManager::Request<std::monostate> PluginManager::runHook(PluginHookRequest request) const {
    return [state = state_,
            request = std::move(request)]() mutable -> std::expected<std::monostate, std::string> {
        auto descriptor = state->find(request.pluginID);
        if (!descriptor)
            return std::unexpected(descriptor.error());
        request.context.timestamp = pluginTimestamp(state->options.wallClock());
        auto result = state->launch(**descriptor, pluginCommandWord::hook, encodeRequest(request));
        if (!result)
            return std::unexpected(result.error());
        if (result->exitStatus != 0)
            return std::unexpected(failureMessage(*result));
        return std::monostate();
    };
}

const PluginManagerOptions& PluginManager::options() const {
    return state_->options;
}

} // namespace varnel
