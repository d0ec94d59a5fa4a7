#pragma once

#include "base/Log.h"
#include "commands/ApplicationActivating.h"
#include "commands/Command.h"
#include "config/ConfigItem.h"

#include <functional>

namespace varnel {

/// Opens an application or brings it forward. An application that moved is found again by the identifier of
/// what is left at its old place.
class ApplicationCommand final : public Command {
public:
    struct Parameters {
        std::string displayName;     ///< the item's name
        std::string applicationPath; ///< empty: nothing is done, and nothing said
    };
    /// What it works with; must outlive the command.
    struct Services {
        ApplicationActivating& applicationActivator;
        /// The identifier of the bundle at a place, if there is one.
        const std::function<std::optional<std::string>(const FileURL&)>& bundleIdentifier;
        LogSink& log;
    };

    ApplicationCommand(Parameters parameters, const Services& services)
        : parameters_(std::move(parameters))
        , services_(services) {}
    std::optional<std::string> execute() override;
    [[nodiscard]] const Parameters& parameters() const { return parameters_; }

private:
    /// Where the application was found and opened instead.
    std::optional<FileURL> openByIdentifier(const FileURL& application);

    Parameters parameters_;
    Services services_;
};

} // namespace varnel
