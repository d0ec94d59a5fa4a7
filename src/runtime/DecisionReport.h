#pragma once

#include "base/JSONValue.h"
#include "keyboard/Decisions.h"
#include "runtime/ControlServer.h"

#include <string>

namespace varnel {

class HotkeyManager;

/// A decision as it is told to other programs: its number, time (ISO 8601, UTC, milliseconds), kind and
/// sentence, how many other keys came before, and those of its facts that it has.
JSONValue::Object decisionReport(const Decision& decision, const DecisionContext& context);
/// All that are kept, oldest first, as "decisions", and the keys counted since as "otherKeys".
JSONValue::Object decisionsReport(const HotkeyManager& hotkeys);
/// The decisions from now on, one an object, for people in their language. `hotkeys` must outlive the feed.
ControlServer::Feed decisionFeed(HotkeyManager& hotkeys, bool isForPeople);

/// "2026-11-21T10:20:30.123Z"
std::string isoTime(WallTime time);

} // namespace varnel
