#include "activation/PrivateWindowServer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace varnel {
namespace {

constexpr std::uint32_t kUserGeneratedSwitch = 0x200;
constexpr std::int32_t kAllSpaces = 7;
constexpr std::uint32_t kMinimizedWindowsToo = 7;

/// A native object that has to be released.
class Owned {
public:
    Owned(NativeReference reference, const NativeValues& values)
        : reference_(reference)
        , values_(values) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() {
        if (reference_)
            values_.release(reference_);
    }
    [[nodiscard]] NativeReference get() const { return reference_; }
    [[nodiscard]] JSONValue read() const { return reference_ ? values_.read(reference_) : JSONValue(); }

private:
    NativeReference reference_;
    const NativeValues& values_;
};

template <typename Number>
std::vector<Number> numbersIn(const JSONValue& value) {
    std::vector<Number> result;
    if (const JSONValue::Array* list = value.array())
        for (const JSONValue& entry : *list)
            if (const double* number = entry.number(); number && *number >= 0 && *number < 0x1p53)
                result.push_back(static_cast<Number>(*number));
    return result;
}

std::string listed(const std::vector<SpaceIdentifier>& spaces) {
    std::string text;
    for (SpaceIdentifier space : spaces)
        text += (text.empty() ? "" : ",") + std::to_string(space);
    return text.empty() ? "none" : text;
}

template <typename T>
void put(std::array<std::uint8_t, kEventRecordSize>& record, std::size_t offset, T value) {
    std::memcpy(record.data() + offset, &value, sizeof value);
}

} // namespace

std::array<std::uint8_t, kEventRecordSize> makeKeyWindowRecord(WindowNumber window, KeyWindowRecord kind) {
    std::array<std::uint8_t, kEventRecordSize> record{};
    record[0x04] = 0xF8; // the length of what follows
    record[0x08] = static_cast<std::uint8_t>(kind);
    put(record, 0x20, -1.0); // a place outside of every control
    put(record, 0x28, -1.0);
    record[0x3A] = 0x10;
    put(record, 0x3C, window);
    return record;
}

PrivateWindowFocusResult PrivateWindowServer::focus(ProcessIdentifier process, WindowNumber window) {
    const std::lock_guard guard(lock_);
    PrivateWindowFocusResult result;
    if (!isAvailable()) {
        result.detail = kPrivateAPIUnavailable;
        return result;
    }
    result.attempted = true;
    ProcessSerialNumber serial;
    if (const std::int32_t status = hiServices_->getProcessForPID(process, &serial); status != 0) {
        result.detail = "GetProcessForPID failed: " + std::to_string(status);
        return result;
    }
    if (const auto origin = displaySpaces())
        result.originSpaceID = origin->currentSpaceID;
    result.originFrontProcessIdentifier = frontProcess_();
    const std::string targetSpaces = listed(spacesOfWindow(window));
    if (const std::int32_t status =
            skyLight_->setFrontProcessWithOptions(&serial, window, kUserGeneratedSwitch);
        status != 0) {
        result.detail = "_SLPSSetFrontProcessWithOptions failed: " + std::to_string(status);
        return result;
    }
    auto down = makeKeyWindowRecord(window, KeyWindowRecord::down);
    auto up = makeKeyWindowRecord(window, KeyWindowRecord::up);
    result.detail = "makeKeyDown=" + std::to_string(skyLight_->postEventRecordTo(&serial, down.data()));
    result.detail += " makeKeyUp=" + std::to_string(skyLight_->postEventRecordTo(&serial, up.data()));
    result.detail += " targetSpaces=" + targetSpaces;
    result.detail += " currentSpace=" +
                     (result.originSpaceID ? std::to_string(*result.originSpaceID) : std::string("none"));
    result.succeeded = true;
    return result;
}

std::optional<WindowServerSpaceSnapshot> PrivateWindowServer::displaySpaces() {
    const std::lock_guard guard(lock_);
    if (!skyLight_)
        return std::nullopt;
    const Owned displays(skyLight_->copyManagedDisplaySpaces(skyLight_->mainConnectionID()), values_);
    return parseManagedDisplaySpaces(displays.read());
}

std::optional<WindowServerSpaceSnapshot> PrivateWindowServer::spaceSnapshot() {
    const std::lock_guard guard(lock_);
    std::optional<WindowServerSpaceSnapshot> snapshot = displaySpaces();
    if (snapshot && skyLight_->copyWindowsWithOptionsAndTags)
        addWindows(*snapshot);
    return snapshot;
}

void PrivateWindowServer::addWindows(WindowServerSpaceSnapshot& snapshot) {
    std::vector<std::pair<int, SpaceIdentifier>> spaces;
    spaces.reserve(snapshot.spaceIndexesByID.size());
    for (const auto& [space, index] : snapshot.spaceIndexesByID)
        spaces.emplace_back(index, space);
    std::ranges::sort(spaces);
    for (const auto& [index, space] : spaces) {
        const Owned wanted(values_.makeNumbers(std::array{space}), values_);
        std::uint64_t setTags = 0, clearTags = 0;
        const Owned windows(skyLight_->copyWindowsWithOptionsAndTags(skyLight_->mainConnectionID(), 0,
                                                                     wanted.get(), kMinimizedWindowsToo,
                                                                     &setTags, &clearTags),
                            values_);
        for (const auto window : numbersIn<WindowNumber>(windows.read())) {
            std::vector<SpaceIdentifier>& holders = snapshot.spaceIDsByWindowID[window];
            if (holders.empty())
                snapshot.windowIDsInAllSpaces.push_back(window);
            holders.push_back(space);
        }
    }
}

std::vector<SpaceIdentifier> PrivateWindowServer::spacesOfWindow(WindowNumber window) {
    const std::lock_guard guard(lock_);
    const Owned windows(values_.makeNumbers(std::array{std::uint64_t{window}}), values_);
    const Owned spaces(
        skyLight_->copySpacesForWindows(skyLight_->mainConnectionID(), kAllSpaces, windows.get()), values_);
    return numbersIn<SpaceIdentifier>(spaces.read());
}

std::optional<WindowNumber> PrivateWindowServer::windowNumber(const AccessibilityElement& window) {
    const std::lock_guard guard(lock_);
    if (!hiServices_)
        return std::nullopt;
    WindowNumber number = 0;
    const auto element = reinterpret_cast<NativeReference>(window.handle);
    if (hiServices_->axElementGetWindow(element, &number) != 0 || number == 0)
        return std::nullopt;
    return number;
}

std::optional<std::string> PrivateWindowServer::windowTitle(WindowNumber window) {
    const std::lock_guard guard(lock_);
    if (!skyLight_)
        return std::nullopt;
    const Owned key(values_.makeString("kCGSWindowTitle"), values_);
    NativeReference copied = nullptr;
    const std::int32_t status =
        skyLight_->copyWindowProperty(skyLight_->mainConnectionID(), window, key.get(), &copied);
    const Owned title(copied, values_);
    const JSONValue value = title.read();
    if (status != 0 || !value.string())
        return std::nullopt;
    return *value.string();
}

} // namespace varnel
