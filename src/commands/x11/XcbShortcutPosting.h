#pragma once

#include "base/Log.h"
#include "commands/KeyboardShortcutCommand.h"
#include "commands/RunningApplicationWindows.h"
#include "keyboard/notation/PostedKeyLedger.h"

#include <memory>
#include <string>

namespace varnel {

/// Sends shortcuts on X11, over a connection of its own that is made with the first one and made anew when it
/// is lost. Modifiers that the user holds are lifted while the shortcut goes out, and are as the user holds
/// them afterwards. For one thread, the command queue's.
class XcbShortcutPosting {
public:
    struct Surroundings {
        std::string displayName;                      ///< empty: as $DISPLAY says
        PostedKeyLedger* ledger = nullptr;            ///< told of every key before it is posted; may be null
        RunningApplicationWindows* windows = nullptr; ///< where keys for a process in the background go
        FrontmostProcessProvider frontmostProcess;
    };
    XcbShortcutPosting(Surroundings surroundings, LogSink& log);
    ~XcbShortcutPosting();

    /// Global routes, and local ones to the process in front, are typed (XTEST). A process in the background
    /// is sent events to its topmost window: not every toolkit heeds those, and nothing tells whether it did.
    bool post(const std::vector<KeyboardShortcutEvent>& events, const KeyboardShortcutDeliveryRoute& route);

    /// Returns once the user has let go of the modifiers that were held while a shortcut went out, after ten
    /// seconds at the latest. For programs that end: the server would keep its idea of them.
    void waitForRelease();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace varnel
