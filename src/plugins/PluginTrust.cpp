#include "plugins/PluginTrust.h"

#include "base/JSONReader.h"

#include <algorithm>

namespace varnel {

namespace {

// The preferences are kept in memory: a package with more files is told to have changed, but not where.
constexpr std::size_t kMostRememberedFiles = 2000;

std::string textMember(const JSONValue& object, std::string_view key) {
    const JSONValue* member = object.find(key);
    const std::string* text = member ? member->string() : nullptr;
    return text ? *text : std::string();
}

/// The array of records itself, or the JSON text of one.
JSONValue recordsValue(std::optional<JSONValue> stored) {
    if (!stored)
        return {};
    const std::string* text = stored->string();
    if (!text)
        return std::move(*stored);
    auto parsed = readJSON(*text);
    return parsed ? std::move(*parsed) : JSONValue();
}

JSONValue encode(const PluginTrustRecord& record) {
    JSONValue::Object object{
        {"pluginID", record.pluginID}, {"path", record.path}, {"version", record.version}};
    if (record.bundleHash)
        object["bundleHash"] = *record.bundleHash;
    return object;
}

std::vector<std::string> disabledKeys(const PreferenceStore& preferences) {
    std::vector<std::string> keys;
    auto stored = preferences.value(kPluginDisabledKeysKey);
    if (const JSONValue::Array* array = stored ? stored->array() : nullptr)
        for (const JSONValue& element : *array)
            if (const std::string* key = element.string())
                keys.push_back(*key);
    return keys;
}

} // namespace

std::string pluginKey(std::string_view pluginID, std::string_view path) {
    return std::string(pluginID) + "::" + std::string(path);
}

bool vouchesFor(const PluginTrustRecord& record, const PluginDescriptor& descriptor) {
    return descriptor.bundleHash && record.bundleHash == descriptor.bundleHash &&
           record.pluginID == descriptor.manifest.id && record.version == descriptor.manifest.version &&
           record.path == descriptor.pluginURL;
}

std::vector<PluginTrustRecord> PluginTrustStore::records() const {
    std::vector<PluginTrustRecord> records;
    JSONValue stored = recordsValue(preferences_.value(kPluginTrustRecordsKey));
    if (const JSONValue::Array* array = stored.array())
        for (const JSONValue& element : *array) {
            PluginTrustRecord record{textMember(element, "pluginID"), textMember(element, "path"),
                                     textMember(element, "version"), std::nullopt};
            if (const JSONValue* hash = element.find("bundleHash"); hash && hash->string())
                record.bundleHash = *hash->string();
            if (!record.pluginID.empty() && !record.path.empty())
                records.push_back(std::move(record));
        }
    return records;
}

std::optional<PluginTrustRecord> PluginTrustStore::find(std::string_view key) const {
    for (PluginTrustRecord& record : records())
        if (pluginKey(record.pluginID, record.path) == key)
            return std::move(record);
    return std::nullopt;
}

std::optional<PluginFileDigests> PluginTrustStore::trustedFiles(std::string_view key) const {
    auto stored = preferences_.value(kPluginTrustedFilesKey);
    const JSONValue* files = stored ? stored->find(key) : nullptr;
    if (!files || !files->object())
        return std::nullopt;
    PluginFileDigests digests;
    for (const auto& [path, digest] : *files->object())
        digests[path] = digest.string() ? *digest.string() : "";
    return digests;
}

bool PluginTrustStore::isDisabled(std::string_view key) const {
    const std::vector<std::string> keys = disabledKeys(preferences_);
    return std::ranges::find(keys, key) != keys.end();
}

std::expected<void, std::string> PluginTrustStore::add(const PluginTrustRecord& record,
                                                       const PluginFileDigests& files) {
    const std::string key = pluginKey(record.pluginID, record.path);
    if (auto stored = setTrustedFiles(key, files.size() <= kMostRememberedFiles ? &files : nullptr); !stored)
        return stored;
    std::vector<PluginTrustRecord> all = records();
    std::erase_if(all,
                  [&](const PluginTrustRecord& old) { return pluginKey(old.pluginID, old.path) == key; });
    all.push_back(record);
    return write(all);
}

std::expected<void, std::string> PluginTrustStore::remove(std::string_view key) {
    std::vector<PluginTrustRecord> all = records();
    std::erase_if(all,
                  [&](const PluginTrustRecord& old) { return pluginKey(old.pluginID, old.path) == key; });
    if (auto written = write(all); !written)
        return written;
    return setTrustedFiles(key, nullptr);
}

std::expected<void, std::string> PluginTrustStore::setDisabled(std::string_view key, bool disabled) {
    std::vector<std::string> keys = disabledKeys(preferences_);
    std::erase(keys, key);
    if (disabled)
        keys.emplace_back(key);
    return preferences_.setValue(kPluginDisabledKeysKey, JSONValue::Array(keys.begin(), keys.end()));
}

std::expected<void, std::string> PluginTrustStore::write(const std::vector<PluginTrustRecord>& records) {
    JSONValue::Array array;
    for (const PluginTrustRecord& record : records)
        array.push_back(encode(record));
    return preferences_.setValue(kPluginTrustRecordsKey, std::move(array));
}

std::expected<void, std::string> PluginTrustStore::setTrustedFiles(std::string_view key,
                                                                   const PluginFileDigests* files) {
    JSONValue stored = preferences_.value(kPluginTrustedFilesKey).value_or(JSONValue::Object());
    JSONValue::Object packages = stored.object() ? std::move(*stored.object()) : JSONValue::Object();
    if (files)
        packages.insert_or_assign(std::string(key), JSONValue::Object(files->begin(), files->end()));
    else if (packages.erase(std::string(key)) == 0)
        return {};
    return preferences_.setValue(kPluginTrustedFilesKey, std::move(packages));
}

} // namespace varnel
