#include "base/Platform.h"

#include <cerrno>
#include <copyfile.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace varnel {

int syncToDisk(int descriptor) {
    // fsync alone leaves the data in the drive's cache; some file systems know only that.
    if (fcntl(descriptor, F_FULLFSYNC) == 0 || fsync(descriptor) == 0)
        return 0;
    return errno;
}

int copyExtendedAttributes(const std::string& from, const std::string& to) {
    return copyfile(from.c_str(), to.c_str(), nullptr, COPYFILE_XATTR) == 0 ? 0 : errno;
}

void nameThisThread(const std::string& name) {
    pthread_setname_np(name.c_str());
}

} // namespace varnel
