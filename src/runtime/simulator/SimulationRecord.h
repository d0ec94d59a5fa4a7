#pragma once

#include "base/TimePoint.h"
#include "base/Uuid.h"
#include "keyboard/HintState.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel::simulation {

/// What an event did: one line of the output.
struct Record {
    enum class Event { keyDown, flagsChanged, timer };
    /// The action that it started.
    struct Run {
        Uuid id;
        std::string name;
        std::string pluginID;
        std::string actionID;
        friend bool operator==(const Run&, const Run&) = default;
    };

    Duration time{};      ///< since the start
    std::size_t line = 0; ///< of the script's statement that it came from
    Event event = Event::keyDown;
    std::vector<std::string> tokens; ///< offered to the engine
    bool swallowed = false;
    Interaction state = Interaction::idle; ///< afterwards, as everything that follows
    std::vector<std::string> sequence;
    std::vector<std::string> hints;
    std::optional<Run> runs;
    std::optional<std::string> status;
    friend bool operator==(const Record&, const Record&) = default;
};

/// "keyDown", "flagsChanged" or "timer".
std::string_view eventName(Record::Event event);
/// One JSON object on one line, without the line break.
std::string jsonLine(const Record& record);
/// The same for people.
std::string textLine(const Record& record);

} // namespace varnel::simulation
