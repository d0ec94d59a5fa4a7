#include "activation/WindowGeometry.h"
#include "base/Localized.h"
#include "capabilities/support/Capability.h"
#include "capabilities/window/WindowArranging.h"

using namespace varnel;
using namespace varnel::capability;

int main(int argc, char** argv) {
    return run(argc, argv, [](const Request& request) {
        if (request.actionID != "arrange")
            return Response::failure(localized("There is no action '%1'.", {request.actionID}));
        const std::string name = request.text("arrangement");
        const auto arrangement = arrangementNamed(name);
        if (!arrangement)
            return Response::failure(localized("There is no window arrangement '%1'.", {name}));
        if (const auto arranged = arrangeFrontWindow(*arrangement); !arranged)
            return Response::failure(arranged.error());
        return Response{};
    });
}
