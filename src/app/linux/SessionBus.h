#pragma once

namespace varnel {

/// Whether the session has a message bus. Asking for one that does not run would start it.
bool hasSessionBus();

} // namespace varnel
