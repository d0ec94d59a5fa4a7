#pragma once

#include "keyboard/HotkeyLookupIndex.h"
#include "runtime/simulator/SimulationRecord.h"
#include "runtime/simulator/SimulationScript.h"

#include <expected>
#include <functional>
#include <string>
#include <string_view>

namespace varnel::simulation {

/// Loads the configuration at a path, or says in a sentence why it can't be.
using ConfigLoader = std::function<std::expected<ConfigItems, std::string>(const std::string& path)>;
using Emit = std::function<void(const Record&)>;

/// Plays a script of key events through the real token stream, monitor and engine on a clock of its own. Runs
/// no action. The whole script is read and every configuration that it names is loaded before the first
/// record.
std::expected<void, ScriptError> simulate(std::string_view script, ConfigItems items,
                                          const ConfigLoader& loadConfig, const Emit& emit);

} // namespace varnel::simulation
