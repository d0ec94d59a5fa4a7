#pragma once

namespace varnel {

/// A descriptor opened later must not take the place of a closed standard stream, or what is printed would go
/// into it. Reading from and writing to the stream goes on failing. First thing in a program.
void keepStandardStreamsClosed();

} // namespace varnel
