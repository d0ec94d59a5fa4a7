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

std::string inactiveReason(const PluginDescriptor& descriptor) {
    std::string reason = localized("The capability '" + descriptor.manifest.id + "' cannot run: it is " +
                                   std::string(name(descriptor.status.kind)));
    return descriptor.status.message ? reason + ". " + *descriptor.status.message : reason + ".";
}

} // namespace varnel
