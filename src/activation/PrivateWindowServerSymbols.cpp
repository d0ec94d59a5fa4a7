#include "activation/PrivateWindowServer.h"

#include <dlfcn.h>

#include <initializer_list>

namespace varnel {
namespace {

constexpr const char* kSkyLightPath = "/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight";
// Re-exports the library that has the functions.
constexpr const char* kHIServicesPath =
    "/System/Library/Frameworks/ApplicationServices.framework/ApplicationServices";

class Resolver {
public:
    Resolver(const SymbolLoader& loader, const char* path)
        : loader_(loader)
        , library_(loader.open(path)) {}

    /// The first of the names that exists; null when none does.
    template <typename Function>
    Resolver& optional(Function*& field, std::initializer_list<const char*> names) {
        field = nullptr;
        for (const char* name : names) {
            if (!library_ || field)
                break;
            void* address = loader_.symbol(library_, name);
            if (!address)
                address = loader_.symbol(nullptr, name);
            field = reinterpret_cast<Function*>(address);
        }
        return *this;
    }
    template <typename Function>
    Resolver& required(Function*& field, const char* name) {
        optional(field, {name});
        complete_ = complete_ && field;
        return *this;
    }
    [[nodiscard]] bool isComplete() const { return library_ && complete_; }

private:
    const SymbolLoader& loader_;
    void* library_;
    bool complete_ = true;
};

} // namespace

SymbolLoader systemSymbolLoader() {
    return {.open = [](const char* path) { return dlopen(path, RTLD_LAZY); },
            .symbol = [](void* library,
                         const char* name) { return dlsym(library ? library : RTLD_DEFAULT, name); }};
}

std::optional<SkyLightSymbols> loadSkyLightSymbols(const SymbolLoader& loader) {
    SkyLightSymbols symbols;
    Resolver resolver(loader, kSkyLightPath);
    resolver.required(symbols.mainConnectionID, "CGSMainConnectionID")
        .required(symbols.copyManagedDisplaySpaces, "CGSCopyManagedDisplaySpaces")
        .optional(symbols.managedDisplayGetCurrentSpace, {"CGSManagedDisplayGetCurrentSpace"})
        .optional(symbols.isDisplayAnimating,
                  {"SLSManagedDisplayIsAnimating", "CGSManagedDisplayIsAnimating"})
        .optional(symbols.setActiveMenuBarDisplayIdentifier, {"SLSSetActiveMenuBarDisplayIdentifier"})
        .optional(symbols.copyBestManagedDisplayForPoint, {"SLSCopyBestManagedDisplayForPoint"})
        .required(symbols.copySpacesForWindows, "CGSCopySpacesForWindows")
        .optional(symbols.copyWindowsWithOptionsAndTags, {"CGSCopyWindowsWithOptionsAndTags"})
        .required(symbols.copyWindowProperty, "CGSCopyWindowProperty")
        .required(symbols.setFrontProcessWithOptions, "_SLPSSetFrontProcessWithOptions")
        .required(symbols.postEventRecordTo, "SLPSPostEventRecordTo")
        .optional(symbols.setSpaceFrontProcess, {"SLSSpaceSetFrontPSN"});
    return resolver.isComplete() ? std::optional(symbols) : std::nullopt;
}

std::optional<HIServicesSymbols> loadHIServicesSymbols(const SymbolLoader& loader) {
    HIServicesSymbols symbols;
    Resolver resolver(loader, kHIServicesPath);
    resolver.required(symbols.axElementGetWindow, "_AXUIElementGetWindow")
        .required(symbols.getProcessForPID, "GetProcessForPID");
    return resolver.isComplete() ? std::optional(symbols) : std::nullopt;
}

} // namespace varnel
