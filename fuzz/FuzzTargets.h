#pragma once

#include <string_view>

/// What the fuzzers run, and what the ordinary tests replay. Each takes any bytes and ends the program when a
/// promise is broken.
namespace varnel::fuzzing {

/// Both JSON readers agree, and what is written reads back the same.
void json(std::string_view text);
/// Spelling a token twice changes nothing, and a token means the same after it.
void keyToken(std::string_view text);
/// A configuration that loads is saved and loaded again without a change; one that does not gives one error.
void config(std::string_view text);
/// A script plays to its end, or is refused before its first record.
void simulation(std::string_view script);

/// A manifest that decodes is written and read again without a change, and a valid one stays in its package.
void manifest(std::string_view text);
/// What a plugin answers becomes one readable line, or an error with a place.
void response(std::string_view text);

/// Ends the program with the message unless `holds`.
void require(bool holds, const char* message);

} // namespace varnel::fuzzing
