#include "runtime/ShortcutSending.h"

#include "activation/x11/XcbDesktop.h"
#include "commands/x11/DesktopApplicationWindows.h"
#include "commands/x11/XcbShortcutPosting.h"

#include <optional>

namespace varnel {

namespace {

/// The desktop is needed for one process only.
struct Sending {
    explicit Sending(LogSink& log)
        : posting({.displayName = {},
                   .ledger = nullptr,
                   .windows = nullptr,
                   .frontmostProcess = [this] { return front(); }},
                  log) {}

    std::optional<std::int32_t> front() {
        if (!desktop)
            if (auto made = XcbDesktop::connect())
                desktop = std::move(*made);
        return desktop ? desktop->frontmostProcess() : std::nullopt;
    }

    std::unique_ptr<XcbDesktop> desktop;
    XcbShortcutPosting posting;
};

} // namespace

ShortcutSending openShortcutSending(LogSink& log) {
    const auto sending = std::make_shared<Sending>(log);
    return {.eventPoster = [sending](const auto& events,
                                     const auto& route) { return sending->posting.post(events, route); },
            .frontmostProcessIdentifier = [sending] { return sending->front(); },
            .waitForRelease = [sending] { sending->posting.waitForRelease(); }};
}

} // namespace varnel
