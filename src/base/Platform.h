#pragma once

#include <string>

namespace varnel {

/// Calls that the systems spell differently. Each gives 0 or an error number.

/// Forces a file's content and length to the disk.
int syncToDisk(int descriptor);
/// Gives `to` the extended attributes of `from`; what the file system or our rights refuse is left out.
int copyExtendedAttributes(const std::string& from, const std::string& to);
/// Names the calling thread for debuggers; long names are cut.
void nameThisThread(const std::string& name);

} // namespace varnel
