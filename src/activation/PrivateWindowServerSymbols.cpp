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
    /// What is found out is added to `list`, if there is one.
    Resolver(const SymbolLoader& loader, const char* path, std::vector<PrivateSymbol>* list)
        : loader_(loader)
        , library_(loader.open(path))
        , list_(list) {}

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
        if (list_)
            list_->push_back({.name = *names.begin(), .isRequired = false, .isFound = field != nullptr});
        return *this;
    }
    template <typename Function>
    Resolver& required(Function*& field, const char* name) {
        optional(field, {name});
        complete_ = complete_ && field;
        if (list_)
            list_->back().isRequired = true;
        return *this;
    }
    [[nodiscard]] bool isComplete() const { return library_ && complete_; }

private:
    const SymbolLoader& loader_;
    void* library_;
    std::vector<PrivateSymbol>* list_;
    bool complete_ = true;
};

std::optional<SkyLightSymbols> resolveSkyLight(const SymbolLoader& loader, std::vector<PrivateSymbol>* list) {
    SkyLightSymbols symbols;
    Resolver resolver(loader, kSkyLightPath, list);
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

std::optional<HIServicesSymbols> resolveHIServices(const SymbolLoader& loader,
                                                   std::vector<PrivateSymbol>* list) {
    HIServicesSymbols symbols;
    Resolver resolver(loader, kHIServicesPath, list);
    resolver.required(symbols.axElementGetWindow, "_AXUIElementGetWindow")
        .required(symbols.getProcessForPID, "GetProcessForPID");
    return resolver.isComplete() ? std::optional(symbols) : std::nullopt;
}

} // namespace

SymbolLoader systemSymbolLoader() {
    return {.open = [](const char* path) { return dlopen(path, RTLD_LAZY); },
            .symbol = [](void* library,
                         const char* name) { return dlsym(library ? library : RTLD_DEFAULT, name); }};
}

std::optional<SkyLightSymbols> loadSkyLightSymbols(const SymbolLoader& loader) {
    return resolveSkyLight(loader, nullptr);
}

std::optional<HIServicesSymbols> loadHIServicesSymbols(const SymbolLoader& loader) {
    return resolveHIServices(loader, nullptr);
}

std::vector<PrivateSymbol> listPrivateSymbols(const SymbolLoader& loader) {
    std::vector<PrivateSymbol> list;
    resolveSkyLight(loader, &list);
    resolveHIServices(loader, &list);
    return list;
}

} // namespace varnel
