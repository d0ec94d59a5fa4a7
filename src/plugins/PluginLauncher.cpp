#include "plugins/PluginLauncher.h"

#include "base/Localized.h"
#include "plugins/PluginScan.h"

#include <cerrno>
#include <thread>

namespace varnel {

PluginLauncher::PluginLauncher(std::string verifiedCopiesFolder, PluginProcessLimits limits,
                               const PluginTrustStore& trust)
    : limits_(limits)
    , trust_(trust)
    , copies_(std::move(verifiedCopiesFolder)) {}

std::expected<PluginProcessResult, PluginLaunchError> PluginLauncher::run(const PluginDescriptor& descriptor,
                                                                          std::string_view commandWord,
                                                                          std::string_view request) {
    std::expected<PluginProcessResult, PluginProcessError> result;
    if (descriptor.sourceKind == PluginSourceKind::bundled) {
        result = runPluginProcess(descriptor.executableURL, commandWord, request, limits_);
    } else {
        auto executable = verifiedExecutable(descriptor);
        if (!executable)
            return std::unexpected(executable.error());
        result = start(*executable, commandWord, request);
    }
    if (!result)
        return std::unexpected(PluginLaunchError{describe(result.error()), false});
    return std::move(*result);
}

std::expected<std::string, PluginLaunchError>
PluginLauncher::verifiedExecutable(const PluginDescriptor& descriptor) {
    auto lapsed = [&](std::string reason) {
        return std::unexpected(PluginLaunchError{std::move(reason), true});
    };
    auto record = trust_.find(pluginKey(descriptor.manifest.id, descriptor.pluginURL));
    if (!record)
        return lapsed(localized("The capability is not trusted."));
    if (!vouchesFor(*record, descriptor))
        return lapsed(lapseReason(descriptor, trust_).value_or(""));
    auto copy = copies_.verify(descriptor.pluginURL, *descriptor.bundleHash);
    if (!copy && copy.error().kind == PluginVerificationError::Kind::noCopy)
        return std::unexpected(PluginLaunchError{copy.error().message, false});
    if (!copy) {
        std::string reason = lapseReason(descriptor, trust_).value_or("");
        return lapsed(copy.error().message.empty() ? reason : reason + " " + copy.error().message);
    }
    // The manifest was read by itself, before the package was hashed: it must be the one that is trusted.
    auto text = readManifestText(*copy + "/plugin.json");
    auto manifest = text ? decodePluginManifest(*text) : std::unexpected(JSONDecodingError());
    if (!manifest || *manifest != descriptor.manifest)
        return lapsed(localized("The package has changed since it was trusted."));
    return *copy + descriptor.executableURL.substr(descriptor.pluginURL.size());
}

std::expected<PluginProcessResult, PluginProcessError>
PluginLauncher::start(const std::string& executable, std::string_view commandWord, std::string_view request) {
    // A process that another thread was just starting may for a moment still hold the descriptor through
    // which a fresh copy was written; until it has dropped it the system refuses to run the file.
    constexpr int kAttempts = 50;
    auto result = runPluginProcess(executable, commandWord, request, limits_);
    for (int i = 0; i < kAttempts && !result && result.error().code == ETXTBSY; ++i) {
        std::this_thread::sleep_for(2ms);
        result = runPluginProcess(executable, commandWord, request, limits_);
    }
    return result;
}

} // namespace varnel
