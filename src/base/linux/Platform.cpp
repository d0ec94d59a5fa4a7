#include "base/Platform.h"

#include <cerrno>
#include <pthread.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace varnel {

namespace {

/// A list or value of unknown size: asks for the size first, then for the content.
template <typename Read>
bool readAttribute(std::vector<char>& buffer, Read read) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        const ssize_t size = read(nullptr, 0);
        if (size < 0)
            return false;
        buffer.resize(static_cast<std::size_t>(size));
        const ssize_t filled = size == 0 ? 0 : read(buffer.data(), buffer.size());
        if (filled >= 0) {
            buffer.resize(static_cast<std::size_t>(filled));
            return true;
        }
        if (errno != ERANGE) // it grew in between
            return false;
    }
    return false;
}

} // namespace

int syncToDisk(int descriptor) {
    return fsync(descriptor) == 0 ? 0 : errno;
}

int copyExtendedAttributes(const std::string& from, const std::string& to) {
    std::vector<char> names, value;
    if (!readAttribute(names,
                       [&](char* data, std::size_t size) { return listxattr(from.c_str(), data, size); }))
        return errno == ENOTSUP ? 0 : errno;
    int failure = 0;
    for (std::size_t i = 0; i < names.size(); i += std::char_traits<char>::length(&names[i]) + 1) {
        const char* name = &names[i];
        const auto read = [&](char* data, std::size_t size) {
            return getxattr(from.c_str(), name, data, size);
        };
        if (!readAttribute(value, read))
            continue;
        if (setxattr(to.c_str(), name, value.data(), value.size(), 0) != 0 && errno != ENOTSUP &&
            errno != EPERM && errno != EACCES)
            failure = errno;
    }
    return failure;
}

void nameThisThread(const std::string& name) {
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
}

} // namespace varnel
