#include "base/Localization.h"

namespace varnel {

std::vector<std::string> systemLanguages() {
    return {}; // here the environment is the place for it
}

} // namespace varnel
