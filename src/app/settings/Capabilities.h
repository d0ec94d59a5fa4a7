#pragma once

#include "base/SerialQueue.h"
#include "base/Subscription.h"
#include "plugins/PluginManager.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// What the user can decide about a capability.
enum class CapabilityDecision {
    trust,
    trustBuiltInID, ///< the same although the package takes an identifier of ours
    keepOff,        ///< not trusted, and not asked about any more
    withdrawTrust,
    disable,
    enable,
};
/// The label of its button.
std::string label(CapabilityDecision decision);

/// A capability as the settings show it: a plain value, texts for the user.
struct CapabilityRow {
    std::string url; ///< of its package, by which it is named
    std::string name;
    std::string identifier;
    std::string source; ///< "Bundled", "Installed by you"
    std::string version;
    std::string hash;      ///< complete; empty: none
    std::string shortHash; ///< its beginning, to compare by eye
    enum class Mark { on, off, attention } mark = Mark::on;
    std::string status; ///< in a word or two
    std::string reason; ///< for the status, and what changed since it was trusted; one message a line
    std::vector<std::string> actions;
    std::vector<std::string> hooks;
    std::vector<CapabilityDecision> decisions; ///< that are open to the user, the likeliest first
    friend bool operator==(const CapabilityRow&, const CapabilityRow&) = default;
};
std::vector<CapabilityRow> capabilityRows(const PluginRegistry& registry);

/// Carries out what is decided about capabilities. Reads and hashes nothing on the main thread, to which it
/// belongs.
class CapabilityDecisions {
public:
    /// Both must outlive this object; what was begun ends without it.
    CapabilityDecisions(PluginManager& manager, SerialExecutor& worker)
        : manager_(manager)
        , worker_(worker) {}

    [[nodiscard]] std::vector<CapabilityRow> rows() const { return capabilityRows(*manager_.registry()); }
    [[nodiscard]] Subscription observe(std::function<void()> observer);
    /// Looks for packages anew.
    void rescan() { manager_.reloadInBackground(worker_); }

    /// `done` hears of the error, a sentence, or of success after the new registry was published. A refusal
    /// to hand over an identifier of ours can be answered with `trustBuiltInID`.
    using Done = std::function<void(const std::expected<void, PluginTrustError>&)>;
    void decide(const std::string& url, CapabilityDecision decision, Done done);

private:
    void trust(const std::string& url, BuiltInIDs builtInIDs, Done done);

    PluginManager& manager_;
    SerialExecutor& worker_;
};

} // namespace varnel
