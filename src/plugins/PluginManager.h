#pragma once

#include "base/EventLoop.h"
#include "base/PreferenceStore.h"
#include "base/SerialQueue.h"
#include "base/Subscription.h"
#include "commands/Command.h"
#include "plugins/PluginDescriptor.h"
#include "plugins/PluginProcessRunner.h"
#include "plugins/PluginProtocol.h"

#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

struct PluginManagerOptions {
    std::string bundledPluginsURL; ///< empty: none
    std::string userPluginsURL;    ///< empty: `defaultUserPluginsFolder(homeFolder)`
    bool skipsUserPlugins = false; ///< neither looks for nor makes the folder of the user's own
    std::string homeFolder;        ///< where the earlier plugins folder is looked for
    /// Private folder (made with mode 0700) for the verified copies that user plugins are run from; empty:
    /// `defaultVerifiedCopiesFolder(homeFolder)`.
    std::string verifiedCopiesFolder;
    PluginProcessLimits limits;
    /// The front application's identifier; called on the main thread when a command is made. May be empty.
    std::function<std::optional<std::string>()> frontmostApplication;
    std::function<std::chrono::system_clock::time_point()> wallClock = std::chrono::system_clock::now;
};
/// The bundled packages of an installation, seen from the folder of its program.
std::string defaultBundledPluginsFolder(std::string_view programFolder);
std::string defaultUserPluginsFolder(std::string_view homeFolder);
/// Below $XDG_RUNTIME_DIR where programs may be run from there, else below the state folder.
std::string defaultVerifiedCopiesFolder(std::string_view homeFolder);

/// Why a package could not be trusted, untrusted, enabled or disabled.
struct PluginTrustError {
    enum class Kind {
        unknownPackage,
        bundled,        ///< bundled packages are trusted as they are
        singleFile,     ///< has no content hash
        invalid,        ///< `message` says what is wrong with it
        takesBuiltInID, ///< asks for an explicit word
        notStored,      ///< the preferences could not be written
    };
    Kind kind = Kind::unknownPackage;
    std::string message; ///< the sentence for the user
    friend bool operator==(const PluginTrustError&, const PluginTrustError&) = default;
};
std::string describe(const PluginTrustError& error);

/// Whether trusting may hand a built-in identifier ("core.shell", …) to a user package.
enum class BuiltInIDs { refuse, mayBeTaken };

/// Finds the packages, decides which may run and runs them. The only owner of the registry and of plugin
/// processes. Main thread, but where a function says otherwise.
class PluginManager : public PluginCommandMaking {
public:
    /// `preferences` must outlive the manager and every command made; `mainLoop` the manager: through it come
    /// results of background work. Without one, `reloadInBackground` is not available and a lapse of trust
    /// noticed by a run reaches observers with the next reload. Reads nothing yet: the registry starts empty.
    PluginManager(PluginManagerOptions options, PreferenceStore& preferences, EventLoop* mainLoop);
    ~PluginManager() override;
    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

    /// Scans both folders now and publishes the result. Hashes every package: tens of milliseconds with many.
    void reload();
    /// Scans on `worker` and publishes on the main loop. A scan that another one overtook is dropped.
    void reloadInBackground(SerialExecutor& worker);

    /// The last published registry; any thread. Never null.
    [[nodiscard]] std::shared_ptr<const PluginRegistry> registry() const;
    /// Called on the main thread with every registry published from now on.
    [[nodiscard]] Subscription observe(std::function<void(const PluginRegistry&)> observer);

    /// These name a package by its `pluginURL`, change the preferences, and publish a new registry.
    /// `trust` stores what the package holds now, provided that it is what was last published: a user who
    /// reads one state never trusts another.
    std::expected<void, PluginTrustError> trust(const std::string& pluginURL,
                                                BuiltInIDs builtInIDs = BuiltInIDs::refuse);
    std::expected<void, PluginTrustError> untrust(const std::string& pluginURL);
    std::expected<void, PluginTrustError> setEnabled(const std::string& pluginURL, bool enabled);

    /// The same without waiting for the disk: packages are read on `worker`, which must outlive the manager.
    /// `done` is called on the main loop after the new registry was published, and not at all once the
    /// manager is gone.
    using Done = std::function<void(const std::expected<void, PluginTrustError>&)>;
    void trustInBackground(SerialExecutor& worker, const std::string& pluginURL, BuiltInIDs builtInIDs,
                           Done done);
    void untrustInBackground(SerialExecutor& worker, const std::string& pluginURL, Done done);
    void setEnabledInBackground(SerialExecutor& worker, const std::string& pluginURL, bool enabled,
                                Done done);

    std::unique_ptr<Command> makePluginCommand(const std::string& displayName, const ConfigAction& action,
                                               const std::string& configurationPath,
                                               const PluginSettings& pluginSettings) override;

    /// A request that does not need the manager any more; the error is a sentence. Call it once, on any
    /// thread; it blocks.
    template <typename Response>
    using Request = std::function<std::expected<Response, std::string>()>;
    /// The active plugin is looked up when the request runs; an action that its manifest lacks is refused.
    /// `request.context.timestamp` is filled in then.
    [[nodiscard]] Request<PluginExecutionResponse> runAction(PluginExecutionRequest request) const;
    [[nodiscard]] Request<std::vector<PluginChoice>> runChoices(PluginExecutionRequest request) const;
    /// Success carries no value: a hook's output is ignored.
    [[nodiscard]] Request<std::monostate> runHook(PluginHookRequest request) const;

    [[nodiscard]] const PluginManagerOptions& options() const;

private:
    struct State; ///< shared with the commands and background scans
    std::shared_ptr<State> state_;
};

} // namespace varnel
