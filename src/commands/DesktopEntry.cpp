#include "commands/DesktopEntry.h"

#include "base/Text.h"

#include <utility>

namespace varnel {

namespace {

using Words = std::vector<std::string>;

/// A string value with its escapes resolved; unknown ones stay.
std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char next = value[++i];
        constexpr std::string_view kCodes = "sntr\\";
        constexpr std::string_view kMeanings = " \n\t\r\\";
        const std::size_t code = kCodes.find(next);
        if (code != std::string_view::npos)
            text += kMeanings[code];
        else
            text.append({'\\', next});
    }
    return text;
}

Words listValue(std::string_view value) {
    Words items;
    for (const std::string_view item : split(value, ';'))
        if (!item.empty())
            items.push_back(unescaped(item));
    return items;
}

void assign(DesktopEntry& entry, std::string_view key, std::string_view value) {
    if (key == "Name")
        entry.name = unescaped(value);
    else if (key == "Icon")
        entry.icon = unescaped(value);
    else if (key == "Exec")
        entry.exec = unescaped(value);
    else if (key == "TryExec")
        entry.tryExec = unescaped(value);
    else if (key == "Path")
        entry.workingFolder = unescaped(value);
    else if (key == "StartupWMClass")
        entry.startupClass = unescaped(value);
    else if (key == "Categories")
        entry.categories = listValue(value);
    else if (key == "MimeType")
        entry.mimeTypes = listValue(value);
    else if (key == "Hidden")
        entry.isHidden = value == "true";
    else if (key == "Terminal")
        entry.needsTerminal = value == "true";
}

/// Splits a command line into words; quotes and backslashes are resolved, field codes are not.
class WordReader {
public:
    explicit WordReader(std::string_view line)
        : line_(line) {}

    std::expected<Words, std::string> words() {
        for (at_ = 0; at_ < line_.size(); ++at_) {
            const char c = line_[at_];
            if (c == ' ' || c == '\t' || c == '\n')
                finishWord();
            else if (c == '"' || c == '\'') {
                if (!quoted(c))
                    return std::unexpected("a quote in the command line is not closed");
            } else {
                if (c == '\\' && at_ + 1 < line_.size())
                    ++at_;
                append(line_[at_]);
            }
        }
        finishWord();
        return std::move(words_);
    }

private:
    void append(char c) {
        word_ += c;
        isOpen_ = true;
    }

    bool quoted(char quote) {
        isOpen_ = true;
        for (++at_; at_ < line_.size() && line_[at_] != quote; ++at_) {
            const bool escapes = quote == '"' && line_[at_] == '\\' && at_ + 1 < line_.size() &&
                                 std::string_view("\"`$\\").contains(line_[at_ + 1]);
            if (escapes)
                ++at_;
            append(line_[at_]);
        }
        return at_ < line_.size();
    }

    void finishWord() {
        if (isOpen_)
            words_.push_back(std::exchange(word_, {}));
        isOpen_ = false;
    }

    std::string_view line_;
    std::size_t at_ = 0;
    std::string word_;
    bool isOpen_ = false;
    Words words_;
};

/// Replaces the field codes of one word after another.
class FieldExpansion {
public:
    FieldExpansion(const DesktopEntry& entry, const Words& files)
        : entry_(entry)
        , files_(files) {}

    std::expected<Words, std::string> expand(const Words& words) {
        for (const std::string& word : words) {
            if (word == "%F" || word == "%U") {
                take(files_.size());
            } else if (word == "%f" || word == "%u") {
                take(1);
            } else if (word == "%i") {
                if (!entry_.icon.empty())
                    result_.insert(result_.end(), {"--icon", entry_.icon});
            } else if (!expandInside(word)) {
                return std::unexpected("the command line has an unknown field code: " + word);
            }
        }
        if (!hasTakenFiles_)
            take(files_.size());
        return std::move(result_);
    }

private:
    void take(std::size_t count) {
        hasTakenFiles_ = true;
        for (std::size_t i = 0; i < count && i < files_.size(); ++i)
            result_.push_back(files_[i]);
    }

    bool expandInside(const std::string& word) {
        std::string text;
        bool hasVanished = false;
        for (std::size_t i = 0; i < word.size(); ++i) {
            if (word[i] != '%') {
                text += word[i];
                continue;
            }
            const char code = ++i < word.size() ? word[i] : '\0';
            if (code == '\0' || !std::string_view("%fFuUickdDnNvm").contains(code))
                return false;
            text += replacement(code);
            hasVanished = word.size() == 2 && text.empty();
        }
        // Codes that are out of use leave no argument behind; an empty argument that was written stays.
        if (!hasVanished)
            result_.push_back(std::move(text));
        return true;
    }

    std::string replacement(char code) {
        switch (code) {
        case '%':
            return "%";
        case 'c':
            return entry_.name;
        case 'k':
            return entry_.path;
        case 'f':
        case 'F':
        case 'u':
        case 'U':
            hasTakenFiles_ = true;
            return files_.empty() ? std::string() : files_.front();
        default:
            return {};
        }
    }

    const DesktopEntry& entry_;
    const Words& files_;
    Words result_;
    bool hasTakenFiles_ = false;
};

} // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text, std::string path) {
    DesktopEntry entry;
    entry.path = std::move(path);
    bool isInGroup = false;
    bool isApplication = false;
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    for (const std::string_view raw : split(text, '\n')) {
        const std::string_view line = trimmed(raw);
        if (line.empty() || line.starts_with('#'))
            continue;
        if (line.starts_with('[')) {
            if (isInGroup)
                break;
            isInGroup = line == "[Desktop Entry]";
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos)
            continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string_view value = trimmed(line.substr(equals + 1));
        if (key == "Type")
            isApplication = value == "Application";
        else
            assign(entry, key, value);
    }
    return isApplication ? std::optional(std::move(entry)) : std::nullopt;
}

std::expected<std::vector<std::string>, std::string> commandLine(const DesktopEntry& entry,
                                                                 const std::vector<std::string>& files) {
    auto words = WordReader(entry.exec).words();
    if (!words)
        return std::unexpected(words.error());
    auto arguments = FieldExpansion(entry, files).expand(*words);
    if (arguments && (arguments->empty() || arguments->front().empty()))
        return std::unexpected("the entry names no program");
    return arguments;
}

} // namespace varnel
