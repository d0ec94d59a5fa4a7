#pragma once

#include "base/Log.h"
#include "commands/ApplicationActivating.h"
#include "commands/RunningApplicationWindows.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace varnel {

/// Keeps lines as "category level: text".
class RecordingLog : public LogSink {
public:
    void write(LogLevel level, std::string_view category, std::string_view text) override {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::string(category) + (level == LogLevel::error ? " error: " : " debug: ") +
                         std::string(text));
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

/// The lines as the log keeps them, all of one category and level.
inline std::vector<std::string> logged(std::string_view category, std::string_view level,
                                       const std::vector<std::string>& texts) {
    std::vector<std::string> lines;
    for (const std::string& text : texts)
        lines.push_back(std::string(category) + " " + std::string(level) + ": " + text);
    return lines;
}

/// Windows that a test puts there, front to back.
class ScriptedWindows : public RunningApplicationWindows {
public:
    std::vector<ApplicationWindow> windows() override { return list; }
    bool activate(WindowNumber window) override {
        activated.push_back(window);
        return !refuses;
    }
    std::vector<ApplicationWindow> list;
    std::vector<WindowNumber> activated;
    bool refuses = false;
};

/// A folder of its own that goes away with the test.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "varnel-commands-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    [[nodiscard]] std::string path(const std::string& name = {}) const {
        return name.empty() ? path_ : path_ + "/" + name;
    }
    std::string write(const std::string& name, const std::string& text, bool isExecutable = false) const {
        const std::filesystem::path file = path(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
        std::filesystem::permissions(file, std::filesystem::perms(isExecutable ? 0755 : 0644));
        return file.string();
    }

private:
    std::string path_;
};

} // namespace varnel
