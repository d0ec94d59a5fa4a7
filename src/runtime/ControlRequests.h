#pragma once

#include "base/JSONValue.h"
#include "runtime/ControlServer.h"

namespace varnel {

class Application;

/// What the running application tells about itself, for people who look for a cause.
JSONValue::Object applicationStatus(Application& application);

/// Carries out one request of the control socket: `{"verb":"suspend","reason":"game"}`. The answer has the
/// members "success" and, where there is something to say, "message".
void answerControlRequest(Application& application, const JSONValue::Object& request,
                          ControlServer::Answer answer);

} // namespace varnel
