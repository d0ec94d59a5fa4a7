#pragma once

#include <string>
#include <string_view>

namespace varnel {

/// Buffered text to a file descriptor. A reader that goes away is no error: what is written afterwards is
/// dropped quietly. Any other failure is kept for `failure`.
class OutputStream {
public:
    explicit OutputStream(int descriptor)
        : descriptor_(descriptor) {}
    ~OutputStream() { flush(); }
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    void write(std::string_view text);
    /// The text and a line break.
    void line(std::string_view text);
    void flush();
    /// The error number of a write that failed for another reason than a closed pipe, else 0.
    [[nodiscard]] int failure() const { return failure_; }
    /// Nobody reads what is written any longer.
    [[nodiscard]] bool isClosed() const { return closed_; }

private:
    int descriptor_;
    int failure_ = 0;
    bool closed_ = false;
    std::string buffer_;
};

/// What a verb talks to.
struct Console {
    OutputStream out{1};
    OutputStream err{2};

    /// One diagnostic line on standard error, with the program's name before it.
    void complain(std::string_view text);
};

/// Standard input or the file, whole.
struct ReadTextResult {
    std::string text;
    std::string error; ///< a sentence for the user; empty when all was read
};
/// "-" is standard input. At most 256 MB are read.
ReadTextResult readText(const std::string& path);

} // namespace varnel
