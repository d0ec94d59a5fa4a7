#include "base/FilePreferenceStore.h"

#include "base/JSONReader.h"
#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/Uuid.h"

#include <cerrno>
#include <memory>
#include <utility>

namespace varnel {

FilePreferenceStore::FilePreferenceStore(FileSystem& files, std::string path)
    : files_(files)
    , path_(std::move(path)) {}

std::expected<void, std::string> FilePreferenceStore::reload() {
    const std::lock_guard fileLock(fileMutex_);
    bool damaged = false;
    auto values = readValues(damaged);
    if (!values)
        return std::unexpected(std::move(values.error()));
    const std::lock_guard lock(valuesMutex_);
    values_ = *std::move(values);
    return {};
}

Subscription FilePreferenceStore::watch(FileEventSource& events, Reloaded reloaded) {
    struct Watch {
        Subscription folder, file;
    };
    auto watch = std::make_shared<Watch>();
    if (!files_.makeFolders(parentPath(path_)))
        return {};
    auto changed = [this, reloaded = std::move(reloaded)](FileEvent) { reloaded(reload()); };
    auto watchFile = [this, &events, changed, held = std::weak_ptr(watch)] {
        if (auto kept = held.lock())
            kept->file = events.watch(path_, changed);
    };
    // Most programs replace the file, which is an event of the folder only.
    watch->folder = events.watch(parentPath(path_), [watchFile, changed](FileEvent event) {
        watchFile();
        changed(event);
    });
    watchFile();
    return Subscription([watch]() mutable { watch.reset(); });
}

std::optional<JSONValue> FilePreferenceStore::value(std::string_view key) const {
    const std::lock_guard lock(valuesMutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::expected<void, std::string> FilePreferenceStore::setValue(std::string_view key,
                                                               std::optional<JSONValue> value) {
    const std::lock_guard fileLock(fileMutex_);
    bool damaged = false;
    auto read = readValues(damaged);
    if (!read && !damaged)
        return std::unexpected(std::move(read.error()));
    JSONValue::Object values;
    if (read) {
        values = *std::move(read);
    } else {
        const std::lock_guard lock(valuesMutex_);
        values = values_;
    }
    if (value)
        values.insert_or_assign(std::string(key), *std::move(value));
    else if (const auto found = values.find(key); found != values.end())
        values.erase(found);
    if (damaged) {
        if (auto moved = moveAside(); !moved)
            return moved;
    }
    if (auto written = write(values); !written)
        return written;
    const std::lock_guard lock(valuesMutex_);
    values_ = std::move(values);
    return {};
}

std::expected<JSONValue::Object, std::string> FilePreferenceStore::readValues(bool& damaged) {
    const auto text = files_.readFile(path_);
    if (!text) {
        if (text.error().code == ENOENT)
            return JSONValue::Object{};
        return std::unexpected(describe(text.error()));
    }
    auto value = readJSON(*text);
    if (value && value->object())
        return std::move(*value->object());
    damaged = true;
    return std::unexpected(
        localized("The preferences in %1 cannot be read: %2",
                  {path_, value ? localized("expected %1, found %2",
                                            {localized("an object"), localized(value->kindName())})
                                : describe(value.error())}));
}

std::expected<void, std::string> FilePreferenceStore::moveAside() {
    for (int number = 1;; ++number) {
        const std::string aside = path_ + ".damaged" + (number == 1 ? "" : "-" + std::to_string(number));
        if (files_.info(aside, false))
            continue;
        if (const auto moved = files_.rename(path_, aside); !moved)
            return std::unexpected(describe(moved.error()));
        return {};
    }
}

std::expected<void, std::string> FilePreferenceStore::write(const JSONValue::Object& values) {
    const std::string folder = parentPath(path_);
    const std::string fresh = path_ + "." + Uuid::random().text() + ".new";
    auto result = files_.makeFolders(folder);
    if (result)
        result = files_.writeNewFile(fresh, writePrettyJSON(values), 0600);
    if (result) {
        result = files_.rename(fresh, path_);
        if (!result)
            (void)files_.remove(fresh);
    }
    if (!result)
        return std::unexpected(describe(result.error()));
    (void)files_.syncFolder(folder); // the change is in force either way
    return {};
}

} // namespace varnel
