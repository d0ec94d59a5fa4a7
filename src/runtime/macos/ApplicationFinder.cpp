#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "runtime/ConfigReview.h"

namespace varnel {

std::function<std::string(const std::string&)> makeApplicationFinder() {
    return [](const std::string& path) {
        PosixFileSystem files;
        return files.exists(path) ? std::string() : localized("%1 does not exist", {path});
    };
}

} // namespace varnel
