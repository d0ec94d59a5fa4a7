#include "base/FilePreferenceStore.h"

namespace varnel {

std::unique_ptr<SharedPreferences> openSystemPreferences(FileSystem& files, const std::string& path) {
    return std::make_unique<FilePreferenceStore>(files, path);
}

} // namespace varnel
