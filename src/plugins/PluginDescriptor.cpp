#include "plugins/PluginDescriptor.h"

#include "base/Localized.h"

namespace varnel {

using StatusKind = PluginStatus::Kind;

std::string_view name(PluginSourceKind kind) {
    return kind == PluginSourceKind::bundled ? "bundled" : "user";
}

std::string_view name(PluginStatus::Kind kind) {
    switch (kind) {
    case StatusKind::untrusted:
        return "untrusted";
    case StatusKind::invalid:
        return "invalid";
    case StatusKind::conflict:
        return "conflict";
    case StatusKind::shadowed:
        return "shadowed";
    case StatusKind::active:
        return "active";
    case StatusKind::disabled:
        break;
    }
    return "disabled";
}

namespace {

std::string cannotRun(StatusKind kind, const std::string& id) {
    switch (kind) {
    case StatusKind::untrusted:
        return localized("The capability '%1' cannot run: it is untrusted.", {id});
    case StatusKind::invalid:
        return localized("The capability '%1' cannot run: it is invalid.", {id});
    case StatusKind::conflict:
        return localized("The capability '%1' cannot run: it is conflict.", {id});
    case StatusKind::shadowed:
        return localized("The capability '%1' cannot run: it is shadowed.", {id});
    case StatusKind::active:
        return localized("The capability '%1' cannot run: it is active.", {id});
    case StatusKind::disabled:
        break;
    }
    return localized("The capability '%1' cannot run: it is disabled.", {id});
}

} // namespace

std::string inactiveReason(const PluginDescriptor& descriptor) {
    const std::string reason = cannotRun(descriptor.status.kind, descriptor.manifest.id);
    return descriptor.status.message ? reason + " " + *descriptor.status.message : reason;
}

} // namespace varnel
