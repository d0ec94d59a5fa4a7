#include "activation/WindowFrameStore.h"

#include "base/JSONPlainReader.h"
#include "base/JSONWriter.h"

#include <cmath>

namespace varnel {
namespace {

constexpr std::uint32_t kOwnerOnly = 0600;
constexpr double kLargestCoordinate = 1e6;

template <typename Integer>
bool readInteger(const JSONValue& entry, std::string_view key, Integer& out, double least, double most) {
    const JSONValue* value = entry.find(key);
    const double* number = value ? value->number() : nullptr;
    if (!number || *number < least || *number > most || *number != std::floor(*number))
        return false;
    out = static_cast<Integer>(*number);
    return true;
}

bool readPlace(const JSONValue& entry, Rectangle& frame) {
    const auto inRange = [&](std::string_view key, int& out, double least) {
        return readInteger(entry, key, out, least, kLargestCoordinate);
    };
    return inRange("x", frame.x, -kLargestCoordinate) && inRange("y", frame.y, -kLargestCoordinate) &&
           inRange("width", frame.width, 1) && inRange("height", frame.height, 1);
}

JSONValue entryOf(const WindowIdentity& window, const Rectangle& frame) {
    return JSONValue::Object{{"process", window.process},
                             {"window", static_cast<double>(window.number)},
                             {"x", frame.x},
                             {"y", frame.y},
                             {"width", frame.width},
                             {"height", frame.height}};
}

} // namespace

std::map<WindowIdentity, Rectangle> WindowFrameStore::read() const {
    std::map<WindowIdentity, Rectangle> frames;
    if (path_.empty())
        return frames;
    const auto text = files_.readFile(path_);
    const auto value = text ? readJSONPlainly(*text) : std::unexpected(JSONError{});
    const JSONValue::Array* list = value ? value->array() : nullptr;
    if (!list)
        return frames;
    for (const JSONValue& entry : *list) {
        WindowIdentity window;
        Rectangle frame;
        if (readInteger(entry, "process", window.process, 1, 0x1p31 - 1) &&
            readInteger(entry, "window", window.number, 1, 0x1p32 - 1) && readPlace(entry, frame))
            frames[window] = frame;
    }
    return frames;
}

std::optional<Rectangle> WindowFrameStore::frame(const WindowIdentity& window) const {
    const auto frames = read();
    const auto found = frames.find(window);
    return found == frames.end() ? std::nullopt : std::optional(found->second);
}

std::expected<void, FileError>
WindowFrameStore::keep(const WindowIdentity& window, const std::optional<Rectangle>& frame,
                       const std::function<bool(const WindowIdentity&)>& exists) {
    if (path_.empty())
        return {};
    auto frames = read();
    std::erase_if(frames, [&](const auto& entry) { return entry.first == window || !exists(entry.first); });
    if (frame)
        frames[window] = *frame;
    JSONValue::Array list;
    for (const auto& [each, place] : frames)
        list.push_back(entryOf(each, place));
    // The name is always the same, so that a write that was cut short leaves one file and not many.
    const std::string staged = path_ + ".new";
    (void)files_.remove(staged);
    if (const auto written = files_.writeNewFile(staged, writeCompactJSON(list), kOwnerOnly); !written)
        return written;
    return files_.rename(staged, path_);
}

} // namespace varnel
