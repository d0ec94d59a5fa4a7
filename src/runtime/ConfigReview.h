#pragma once

#include "base/EventLoop.h"
#include "base/Log.h"
#include "base/SerialQueue.h"
#include "base/Subscription.h"
#include "config/ConfigCheck.h"
#include "plugins/PluginDescriptor.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// What a check knows of this machine: the actions of the packages beside the built-in ones, which packages
/// do not run, and which applications are installed. Any thread; the result is for one at a time.
CheckSurroundings surroundingsOf(const PluginRegistry& registry);

/// Tells why no application can be opened by a path here, as a clause; empty when one can. Starts nothing.
/// For one thread at a time.
std::function<std::string(const std::string& path)> makeApplicationFinder();

/// What the check says of the configuration that runs.
struct ConfigReviewResult {
    std::size_t count = 0; ///< of warnings and errors
    std::string first;     ///< "FILE:LINE:COLUMN: warning: message [code]"; empty when there is none
    friend bool operator==(const ConfigReviewResult&, const ConfigReviewResult&) = default;
};

/// Checks the configuration of the running application in the background, some time after it has come, and
/// tells the log. Main thread.
class ConfigReview {
public:
    struct Surroundings {
        EventLoop& loop;
        SerialExecutor& executor;
        LogSink& log;
        std::function<std::string()> configPath;
        std::function<std::shared_ptr<const PluginRegistry>()> registry;
        std::function<void()> onFinished = {}; ///< a new result is there
    };
    explicit ConfigReview(Surroundings surroundings);
    ~ConfigReview();
    ConfigReview(const ConfigReview&) = delete;
    ConfigReview& operator=(const ConfigReview&) = delete;

    /// Checks once nothing has asked for `kReviewDelay`: for every new configuration or registry.
    void reviewSoon();
    [[nodiscard]] const ConfigReviewResult& result() const { return result_; }

private:
    void review();
    void finished(const std::string& file, const std::vector<Diagnostic>& found);

    Surroundings surroundings_;
    Subscription waiting_;
    std::shared_ptr<ConfigReview*> self_; ///< of the review under way; one that was overtaken is dropped
    ConfigReviewResult result_;
    std::vector<std::string> logged_; ///< so that a reload repeats nothing
};

/// Longer than everything that a start sets off.
inline constexpr Duration kReviewDelay = std::chrono::milliseconds(1000);

} // namespace varnel
