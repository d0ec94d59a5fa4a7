#include "capabilities/shell/SimpleCommand.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace varnel::capability {

namespace {

// Reserved words and built-ins of the shells in use as /bin/sh, sorted.
constexpr std::string_view kShellWords[] = {
    ".",      ":",       "alias",   "bg",      "bind",     "break",    "builtin", "caller",    "case",
    "cd",     "chdir",   "command", "compgen", "complete", "continue", "declare", "dirs",      "disown",
    "do",     "done",    "echo",    "elif",    "else",     "enable",   "esac",    "eval",      "exec",
    "exit",   "export",  "false",   "fc",      "fg",       "fi",       "for",     "function",  "getopts",
    "hash",   "help",    "history", "if",      "in",       "jobs",     "kill",    "let",       "local",
    "logout", "mapfile", "popd",    "printf",  "pushd",    "pwd",      "read",    "readarray", "readonly",
    "return", "select",  "set",     "shift",   "shopt",    "source",   "suspend", "test",      "then",
    "time",   "times",   "trap",    "true",    "type",     "typeset",  "ulimit",  "umask",     "unalias",
    "unset",  "until",   "wait",    "while"};
static_assert(std::is_sorted(std::begin(kShellWords), std::end(kShellWords)));

// Locale-free on purpose: what counts is what a shell does with the bytes.
bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("_./,:+@%-", c) != nullptr;
}

bool isName(std::string_view text) {
    if (text.empty() || (text[0] >= '0' && text[0] <= '9'))
        return false;
    return std::ranges::all_of(text, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

} // namespace

std::optional<std::vector<std::string>> simpleCommandWords(std::string_view command) {
    std::vector<std::string> words;
    bool inWord = false;
    for (const char c : command) {
        if (c == ' ' || c == '\t') {
            inWord = false;
            continue;
        }
        // An equals sign is an assignment in the first word and harmless in the others.
        if (!(c != '\0' && isPlain(c)) && !(c == '=' && words.size() > 1))
            return std::nullopt;
        if (!inWord)
            words.emplace_back();
        inWord = true;
        words.back() += c;
    }
    if (words.empty() || std::ranges::binary_search(kShellWords, std::string_view(words[0])) ||
        words[0].front() == '%')
        return std::nullopt;
    return words;
}

bool shellKeepsEnvironment(const char* const* environment) {
    bool hasPath = false;
    for (; *environment; ++environment) {
        const std::string_view entry = *environment;
        const std::size_t equals = entry.find('=');
        if (equals == std::string_view::npos || !isName(entry.substr(0, equals)))
            return false;
        const std::string_view name = entry.substr(0, equals);
        // The shell gives these a value of its own.
        if (name == "IFS" || name == "OPTIND" || name == "PPID")
            return false;
        hasPath = hasPath || (name == "PATH" && equals + 1 < entry.size());
    }
    return hasPath;
}

} // namespace varnel::capability
