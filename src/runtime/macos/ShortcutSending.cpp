#include "runtime/ShortcutSending.h"

#include "commands/macos/SystemCommands.h"

namespace varnel {

ShortcutSending openShortcutSending(LogSink& log) {
    return {.eventPoster = makeSystemShortcutPoster(systemHidPosting(), systemCoreGraphicsPosting(), log),
            .frontmostProcessIdentifier = systemWorkspace().frontmostProcessIdentifier,
            .waitForRelease = [] {}};
}

} // namespace varnel
