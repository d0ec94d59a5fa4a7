#pragma once

#include "base/FileEventSource.h"
#include "base/PosixFileSystem.h"
#include "config/ConfigItem.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace varnel::test {

/// An empty folder that goes away with this value.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& parent = "/tmp") {
        std::string name = parent + "/varnel-config-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

/// The content, or "(none)" when there is no such file.
inline std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "(none)";
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Names in a folder, sorted.
inline std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

/// The real file system, which at the n-th call fails with `code`, or ends the process.
class FaultyFileSystem : public PosixFileSystem {
public:
    enum class Fault { none, fail, killBefore, killAfter };
    Fault fault = Fault::none;
    int at = 0; ///< counted from 1
    int code = EIO;
    int calls = 0;
    std::string failed;                         ///< the operation that failed
    std::map<std::string, std::string> failing; ///< operation to path: these fail whenever they come

    Result<Info> info(const std::string& path, bool followLinks = true) override {
        return step<Info>("look at", path, [&] { return PosixFileSystem::info(path, followLinks); });
    }
    Result<std::string> readFile(const std::string& path) override {
        return step<std::string>("read", path, [&] { return PosixFileSystem::readFile(path); });
    }
    Result<std::string> readLink(const std::string& path) override {
        return step<std::string>("read the link", path, [&] { return PosixFileSystem::readLink(path); });
    }
    Result<void> makeFolder(const std::string& path) override {
        return step<void>("create the folder", path, [&] { return PosixFileSystem::makeFolder(path); });
    }
    Result<void> writeNewFile(const std::string& path, std::string_view content,
                              std::uint32_t mode) override {
        if (fault == Fault::killBefore && calls + 1 == at) { // killed in the middle of writing
            std::ofstream(path) << content.substr(0, content.size() / 2);
            _exit(0);
        }
        return step<void>("write", path, [&] { return PosixFileSystem::writeNewFile(path, content, mode); });
    }
    Result<void> setMode(const std::string& path, std::uint32_t mode) override {
        return step<void>("set the permissions of", path,
                          [&] { return PosixFileSystem::setMode(path, mode); });
    }
    Result<void> setOwner(const std::string& path, std::uint32_t owner, std::uint32_t group) override {
        return step<void>("set the owner of", path,
                          [&] { return PosixFileSystem::setOwner(path, owner, group); });
    }
    Result<void> copyAttributes(const std::string& from, const std::string& to) override {
        return step<void>("copy the extended attributes to", to,
                          [&] { return PosixFileSystem::copyAttributes(from, to); });
    }
    Result<void> rename(const std::string& from, const std::string& to) override {
        return step<void>("rename", from, [&] { return PosixFileSystem::rename(from, to); });
    }
    Result<void> remove(const std::string& path) override {
        return step<void>("remove", path, [&] { return PosixFileSystem::remove(path); });
    }
    Result<void> syncFolder(const std::string& path) override {
        return step<void>("sync", path, [&] { return PosixFileSystem::syncFolder(path); });
    }
    Result<std::vector<std::string>> list(const std::string& folder) override {
        return step<std::vector<std::string>>("list", folder, [&] { return PosixFileSystem::list(folder); });
    }

private:
    template <typename T, typename Call>
    Result<T> step(const char* operation, const std::string& path, Call call) {
        const bool isThis = ++calls == at;
        if (isThis)
            failed = operation;
        if (isThis && fault == Fault::fail)
            return std::unexpected(FileError{operation, path, code});
        if (const auto known = failing.find(operation); known != failing.end() && known->second == path)
            return std::unexpected(FileError{operation, path, code});
        if (isThis && fault == Fault::killBefore)
            _exit(0);
        auto result = call();
        if (isThis && fault == Fault::killAfter)
            _exit(0);
        return result;
    }
};

/// File events that a test raises itself.
class ScriptedFileEvents : public FileEventSource {
public:
    Subscription watch(const std::string& path, std::function<void(FileEvent)> callback) override {
        if (!std::filesystem::exists(path))
            return {};
        const int id = next_++;
        watches_[id] = {path, std::move(callback)};
        return Subscription([this, id] { watches_.erase(id); });
    }
    void raise(const std::string& path, FileEvent event = FileEvent::write) {
        const auto watches = watches_;
        for (const auto& [id, watch] : watches)
            if (watch.path == path && watches_.contains(id))
                watch.callback(event);
    }
    /// What is watched, sorted.
    [[nodiscard]] std::vector<std::string> watched() const {
        std::vector<std::string> paths;
        for (const auto& [id, watch] : watches_)
            paths.push_back(watch.path);
        std::ranges::sort(paths);
        return paths;
    }

private:
    struct Watch {
        std::string path;
        std::function<void(FileEvent)> callback;
    };
    std::map<int, Watch> watches_;
    int next_ = 0;
};

/// A document of the present form with one item of this name.
inline std::string documentNamed(const std::string& name) {
    return R"({"items":[{"id":"6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C","name":")" + name +
           R"(","keys":["ctrl+j"],"type":"group"}],"pluginSettings":{}})";
}

} // namespace varnel::test
