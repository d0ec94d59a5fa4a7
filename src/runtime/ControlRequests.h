#pragma once

#include "base/JSONValue.h"
#include "runtime/ControlServer.h"

namespace varnel {

class Application;

/// What the running application tells about itself, for people who look for a cause.
JSONValue::Object applicationStatus(Application& application);

/// Carries out one request of the control socket: `{"verb":"suspend","reason":"game"}`. The answer has the
/// members "success" and, where there is something to say, "message". To "monitor" a client stays and gets
/// one object for each decision of the engine.
void answerControlRequest(Application& application, const JSONValue::Object& request,
                          const ControlServer::Replies& replies);

} // namespace varnel
