#include "activation/WindowServerSpaceSnapshot.h"

namespace varnel {
namespace {

std::optional<SpaceIdentifier> spaceIdentifier(const JSONValue* space) {
    if (!space)
        return std::nullopt;
    for (const char* key : {"ManagedSpaceID", "id64"})
        if (const JSONValue* value = space->find(key))
            if (const double* number = value->number(); number && *number >= 0 && *number < 0x1p53)
                return static_cast<SpaceIdentifier>(*number);
    return std::nullopt;
}

void addDisplay(WindowServerSpaceSnapshot& snapshot, const JSONValue& display) {
    const JSONValue* identifierValue = display.find("Display Identifier");
    if (!identifierValue || !identifierValue->string())
        return;
    const std::string& identifier = *identifierValue->string();
    if (const auto current = spaceIdentifier(display.find("Current Space"))) {
        snapshot.currentSpaceIDByDisplayID[identifier] = *current;
        snapshot.visibleSpaceIDs.push_back(*current);
        if (!snapshot.currentSpaceID)
            snapshot.currentSpaceID = current;
    }
    std::vector<SpaceIdentifier>& spaces = snapshot.spaceIDsByDisplayID[identifier];
    const JSONValue* list = display.find("Spaces");
    if (!list || !list->array())
        return;
    for (const JSONValue& entry : *list->array()) {
        const auto space = spaceIdentifier(&entry);
        if (!space)
            continue;
        spaces.push_back(*space);
        snapshot.displayIDBySpaceID.emplace(*space, identifier);
        snapshot.spaceIndexesByID.emplace(*space, static_cast<int>(snapshot.spaceIndexesByID.size()));
    }
}

} // namespace

WindowServerSpaceSnapshot parseManagedDisplaySpaces(const JSONValue& displays) {
    WindowServerSpaceSnapshot snapshot;
    if (const JSONValue::Array* list = displays.array())
        for (const JSONValue& display : *list)
            addDisplay(snapshot, display);
    return snapshot;
}

} // namespace varnel
