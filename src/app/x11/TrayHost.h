#pragma once

namespace varnel {

/// Whether an X11 program shows the icons of others at this moment. Asks the X server.
bool hasTrayHost();

} // namespace varnel
