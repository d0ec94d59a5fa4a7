#include "activation/x11/XcbDesktop.h"
#include "base/Localized.h"
#include "capabilities/window/WindowArranging.h"

namespace varnel::capability {
namespace {

std::expected<void, WindowError> apply(XcbDesktop& desktop, WindowNumber window,
                                       const ArrangementPlan& plan) {
    if (plan.remember)
        desktop.rememberFrame(window, plan.remember);
    std::expected<void, WindowError> done;
    if (plan.frame)
        done = desktop.setFrame(window, *plan.frame);
    if (done && (plan.maximize || !plan.frame))
        done = desktop.setMaximized(window, plan.maximize);
    if (done && plan.forget)
        desktop.rememberFrame(window, std::nullopt);
    return done;
}

} // namespace

std::expected<void, std::string> arrangeFrontWindow(WindowArrangement arrangement) {
    const auto desktop = XcbDesktop::connect();
    if (!desktop)
        return std::unexpected(desktop.error().message);
    const std::optional<DesktopWindow> front = (*desktop)->frontWindow();
    if (!front || front->layer != 0)
        return std::unexpected(localized("There is no window in front to arrange."));
    auto geometry = (*desktop)->geometry(front->id);
    if (!geometry)
        return std::unexpected(geometry.error().message);
    geometry->remembered = (*desktop)->rememberedFrame(front->id);
    const auto plan = planArrangement(arrangement, *geometry);
    if (!plan)
        return std::unexpected(plan.error());
    if (const auto done = apply(**desktop, front->id, *plan); !done)
        return std::unexpected(done.error().message);
    return {};
}

} // namespace varnel::capability
