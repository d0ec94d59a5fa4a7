#include "cli/StandardStreams.h"

#include <fcntl.h>

namespace varnel {

void keepStandardStreamsClosed() {
    for (int stream = 0; stream <= 2; ++stream)
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
}

} // namespace varnel
