#pragma once

#include "activation/AccessibilityElement.h"
#include "base/JSONValue.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

using SpaceIdentifier = std::uint64_t;

/// The spaces of all displays and the windows in them at one moment.
struct WindowServerSpaceSnapshot {
    std::optional<SpaceIdentifier> currentSpaceID = std::nullopt; ///< of the first display
    std::vector<SpaceIdentifier> visibleSpaceIDs;    ///< one a display, in the order of the displays
    std::map<SpaceIdentifier, int> spaceIndexesByID; ///< counted from 0 over all displays
    std::vector<WindowNumber> windowIDsInAllSpaces;
    std::map<WindowNumber, std::vector<SpaceIdentifier>> spaceIDsByWindowID;
    std::map<SpaceIdentifier, std::string> displayIDBySpaceID;
    std::map<std::string, SpaceIdentifier> currentSpaceIDByDisplayID;
    std::map<std::string, std::vector<SpaceIdentifier>> spaceIDsByDisplayID;

    friend bool operator==(const WindowServerSpaceSnapshot&, const WindowServerSpaceSnapshot&) = default;
};

/// Reads the list of managed displays ("Display Identifier", "Current Space", "Spaces"; a space has
/// "ManagedSpaceID" or "id64"). Entries of other shapes are skipped; the window members stay empty.
WindowServerSpaceSnapshot parseManagedDisplaySpaces(const JSONValue& displays);

} // namespace varnel
