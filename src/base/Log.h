#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace varnel {

enum class LogLevel { debug, error };

/// Where diagnostics go: the unified log on macOS, standard error elsewhere. One line, one public text, each.
/// Any thread.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void write(LogLevel level, std::string_view category, std::string_view text) = 0;
};

/// Writes "category: text" lines to standard error; debug lines only when `VARNEL_DEBUG` is in the environment.
class StandardErrorLog : public LogSink {
public:
    StandardErrorLog();
    void write(LogLevel level, std::string_view category, std::string_view text) override;

private:
    bool debug_;
};

/// Where the system that this build is for expects diagnostics.
std::unique_ptr<LogSink> makeSystemLog();

/// The categories in use.
inline constexpr std::string_view kActivationLog = "ApplicationActivation";
inline constexpr std::string_view kShortcutLog = "KeyboardShortcut";

} // namespace varnel
