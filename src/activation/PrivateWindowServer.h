#pragma once

#include "activation/AccessibilityElement.h"
#include "activation/WindowServerSpaceSnapshot.h"

#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace varnel {

/// How the system names a process in window-server calls.
struct ProcessSerialNumber {
    std::uint32_t high = 0;
    std::uint32_t low = 0;
};
struct NativePoint {
    double x = 0, y = 0;
};
/// A reference to an object of the system's own value library; what is "copied" has to be released.
using NativeReference = const void*;

/// Functions of the window server's framework; null where absent. Only the optional ones may be null once
/// resolved.
struct SkyLightSymbols {
    std::int32_t (*mainConnectionID)() = nullptr;
    NativeReference (*copyManagedDisplaySpaces)(std::int32_t connection) = nullptr;
    std::uint64_t (*managedDisplayGetCurrentSpace)(std::int32_t,
                                                   NativeReference display) = nullptr; // optional
    bool (*isDisplayAnimating)(std::int32_t, NativeReference display) = nullptr;       // optional
    std::int32_t (*setActiveMenuBarDisplayIdentifier)(std::int32_t, NativeReference display,
                                                      NativeReference sameDisplay) = nullptr; // optional
    NativeReference (*copyBestManagedDisplayForPoint)(std::int32_t, NativePoint) = nullptr;   // optional
    NativeReference (*copySpacesForWindows)(std::int32_t, std::int32_t mask,
                                            NativeReference windows) = nullptr;
    NativeReference (*copyWindowsWithOptionsAndTags)(std::int32_t, std::uint32_t owner,
                                                     NativeReference spaces, std::uint32_t options,
                                                     std::uint64_t* setTags,
                                                     std::uint64_t* clearTags) = nullptr; // optional
    std::int32_t (*copyWindowProperty)(std::int32_t, std::uint32_t window, NativeReference key,
                                       NativeReference* value) = nullptr;
    std::int32_t (*setFrontProcessWithOptions)(ProcessSerialNumber*, std::uint32_t window,
                                               std::uint32_t options) = nullptr;
    std::int32_t (*postEventRecordTo)(ProcessSerialNumber*, std::uint8_t* record) = nullptr;
    std::int32_t (*setSpaceFrontProcess)(std::int32_t, std::uint64_t space,
                                         ProcessSerialNumber) = nullptr; // optional
};

/// Functions of the accessibility and process library; both are required.
struct HIServicesSymbols {
    std::int32_t (*axElementGetWindow)(NativeReference element, std::uint32_t* window) = nullptr;
    std::int32_t (*getProcessForPID)(ProcessIdentifier, ProcessSerialNumber*) = nullptr;
};

/// How libraries are opened and names looked up; tests hand in their own.
struct SymbolLoader {
    /// Opens a library lazily bound; null when that fails. Libraries are never closed.
    std::function<void*(const char* path)> open;
    /// The address of `name` in a library, or among everything loaded when `library` is null.
    std::function<void*(void* library, const char* name)> symbol;
};
/// The dynamic linker's.
SymbolLoader systemSymbolLoader();

/// None when the framework cannot be opened or a required symbol is missing. Names are looked up in the
/// framework and then among everything loaded.
std::optional<SkyLightSymbols> loadSkyLightSymbols(const SymbolLoader& loader);
std::optional<HIServicesSymbols> loadHIServicesSymbols(const SymbolLoader& loader);

/// One of those functions, as the system has it.
struct PrivateSymbol {
    std::string name; ///< the first name where there are several
    bool isRequired = false;
    bool isFound = false;
};
/// All of both libraries.
std::vector<PrivateSymbol> listPrivateSymbols(const SymbolLoader& loader);

/// Translates between the system's value library and ours. Functions take no ownership but what they say.
struct NativeValues {
    std::function<JSONValue(NativeReference)> read; ///< strings, numbers, arrays, dictionaries
    std::function<NativeReference(std::span<const std::uint64_t>)> makeNumbers; ///< an array; release it
    std::function<NativeReference(const std::string&)> makeString;              ///< release it
    std::function<void(NativeReference)> release;
};

/// What the private way of focusing a window came to.
struct PrivateWindowFocusResult {
    bool attempted = false;
    bool succeeded = false;
    std::string detail; ///< a trace for people, or the reason of the failure
    std::optional<SpaceIdentifier> originSpaceID = std::nullopt;
    std::optional<ProcessIdentifier> originFrontProcessIdentifier = std::nullopt;
    friend bool operator==(const PrivateWindowFocusResult&, const PrivateWindowFocusResult&) = default;
};

inline constexpr const char* kPrivateAPIUnavailable = "private API unavailable";
inline constexpr std::size_t kEventRecordSize = 256;

/// Which of the two records that make a window key.
enum class KeyWindowRecord : std::uint8_t { down = 0x01, up = 0x02 };
std::array<std::uint8_t, kEventRecordSize> makeKeyWindowRecord(WindowNumber window, KeyWindowRecord kind);

/// The private window-server operations. Any thread.
class PrivateWindowServerControlling {
public:
    virtual ~PrivateWindowServerControlling() = default;
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// Makes the process frontmost with this window and the window key.
    virtual PrivateWindowFocusResult focus(ProcessIdentifier process, WindowNumber window) = 0;
    /// Spaces and, where the system tells, the windows in them. None when unavailable.
    virtual std::optional<WindowServerSpaceSnapshot> spaceSnapshot() = 0;
    virtual std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) = 0;
    virtual std::optional<std::string> windowTitle(WindowNumber window) = 0;
};

class PrivateWindowServer : public PrivateWindowServerControlling {
public:
    /// `frontProcess` answers the process in front, for `originFrontProcessIdentifier`.
    PrivateWindowServer(std::optional<SkyLightSymbols> skyLight, std::optional<HIServicesSymbols> hiServices,
                        NativeValues values, std::function<std::optional<ProcessIdentifier>()> frontProcess)
        : skyLight_(skyLight)
        , hiServices_(hiServices)
        , values_(std::move(values))
        , frontProcess_(std::move(frontProcess)) {}

    [[nodiscard]] bool isAvailable() const override { return skyLight_ && hiServices_; }
    PrivateWindowFocusResult focus(ProcessIdentifier process, WindowNumber window) override;
    std::optional<WindowServerSpaceSnapshot> spaceSnapshot() override;
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override;
    std::optional<std::string> windowTitle(WindowNumber window) override;

private:
    std::optional<WindowServerSpaceSnapshot> displaySpaces();
    std::vector<SpaceIdentifier> spacesOfWindow(WindowNumber window);
    void addWindows(WindowServerSpaceSnapshot& snapshot);

    std::recursive_mutex lock_; ///< guards every use of the symbols
    std::optional<SkyLightSymbols> skyLight_;
    std::optional<HIServicesSymbols> hiServices_;
    NativeValues values_;
    std::function<std::optional<ProcessIdentifier>()> frontProcess_;
};

} // namespace varnel
