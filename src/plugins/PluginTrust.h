#pragma once

#include "base/PreferenceStore.h"
#include "plugins/PluginDescriptor.h"
#include "plugins/PluginPackageHash.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Preference keys.
inline constexpr std::string_view kPluginTrustRecordsKey = "pluginTrustRecords";
inline constexpr std::string_view kPluginDisabledKeysKey = "pluginDisabledKeys";
/// Beside each trust record what every file held when it was trusted, so that a later change can be told file
/// by file: an object from the record's key (`pluginKey`) to an object from relative path to SHA-256.
/// Informative only: trust hangs on the record alone.
inline constexpr std::string_view kPluginTrustedFilesKey = "pluginTrustedFiles";

/// A package that the user trusts: exactly this content at this place.
struct PluginTrustRecord {
    std::string pluginID;
    std::string path; ///< of the package folder
    std::string version;
    std::optional<std::string> bundleHash;
    friend bool operator==(const PluginTrustRecord&, const PluginTrustRecord&) = default;
};

/// What trust records and disable keys are found by: "<plugin ID>::<package path>".
std::string pluginKey(std::string_view pluginID, std::string_view path);

/// True when the record vouches for the package as it is described.
bool vouchesFor(const PluginTrustRecord& record, const PluginDescriptor& descriptor);

/// Trust records and disable keys in the preferences. Values that cannot be read count as absent. Reading is
/// for any thread, writing for the main thread.
class PluginTrustStore {
public:
    explicit PluginTrustStore(PreferenceStore& preferences)
        : preferences_(preferences) {}

    [[nodiscard]] std::vector<PluginTrustRecord> records() const;
    [[nodiscard]] std::optional<PluginTrustRecord> find(std::string_view key) const;
    [[nodiscard]] std::optional<PluginFileDigests> trustedFiles(std::string_view key) const;
    [[nodiscard]] bool isDisabled(std::string_view key) const;

    /// Replaces the record of the same key. The error is a sentence.
    std::expected<void, std::string> add(const PluginTrustRecord& record, const PluginFileDigests& files);
    std::expected<void, std::string> remove(std::string_view key);
    std::expected<void, std::string> setDisabled(std::string_view key, bool disabled);

private:
    std::expected<void, std::string> write(const std::vector<PluginTrustRecord>& records);
    std::expected<void, std::string> setTrustedFiles(std::string_view key, const PluginFileDigests* files);

    PreferenceStore& preferences_;
};

} // namespace varnel
