#pragma once

#include <cstdint>

/// The C library's `clone` by its other name: the thread sanitizer puts a function of its own before that one,
/// which takes the new process for a fork and no longer sees what this thread shares with others.
extern "C" int __clone(int (*)(void*), void*, int, void*, ...); // NOLINT(bugprone-reserved-identifier)

namespace varnel {

inline constexpr int kLastSignal = 64;

/// How far a start came.
enum class LoadingStep : std::int32_t { createProcess, enterFolder, execute };

/// A program to load into a process of its own, as plain pointers: a process that shares memory with its
/// creator works on it.
struct ProgramLoading {
    const char* program = nullptr;
    char* const* arguments = nullptr;   ///< ends with null
    char* const* environment = nullptr; ///< ends with null
    const char* folder = nullptr;       ///< "": the creator's
    std::uint64_t ignoredSignals = 0;   ///< bit 0 is signal 1
    LoadingStep step = LoadingStep::createProcess;
    int failure = 0; ///< the system's number; 0 once the program runs
};

/// Creates a process that becomes the program: a session of its own, no descriptor of ours, the null device
/// as input and outputs, default signal dispositions, nothing blocked. Returns when it runs, or has failed
/// to; `loading` then tells. `stackEnd` is the end of at least 16 KB for the process to begin on. It is a
/// child of the caller. Makes plain system calls only, since it may run where memory is shared.
void loadProgram(ProgramLoading& loading, char* stackEnd);

} // namespace varnel
