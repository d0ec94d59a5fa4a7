#pragma once

#include "base/Log.h"
#include "commands/KeyboardShortcutCommand.h"

#include <functional>
#include <memory>

namespace varnel {

/// What a program needs that sends a shortcut by itself, without the running application.
struct ShortcutSending {
    KeyboardShortcutPoster eventPoster;
    FrontmostProcessProvider frontmostProcessIdentifier;
    /// To be called before the program ends: a user who still holds modifiers is waited for, some seconds.
    std::function<void()> waitForRelease;
};

/// That of the system that the program runs on. `log` must outlive it.
ShortcutSending openShortcutSending(LogSink& log);

} // namespace varnel
