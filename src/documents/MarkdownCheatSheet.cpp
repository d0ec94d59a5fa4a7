#include "base/Localized.h"
#include "base/Text.h"
#include "documents/CheatSheet.h"
#include "documents/KeyCaps.h"
#include "documents/Markup.h"

#include <algorithm>

namespace varnel::CheatSheet {
namespace {

std::string caps(const std::vector<std::string>& steps) {
    std::vector<std::string> shown;
    for (const std::string& step : steps) {
        std::vector<std::string> keys;
        for (const std::string& cap : KeyCaps::ofStep(step))
            keys.push_back("<kbd>" + Markup::markdown(cap) + "</kbd>");
        shown.push_back(join(keys, "+"));
    }
    return join(shown, " ");
}

std::string safe(const std::string& text) {
    return Markup::markdown(Markup::isolated(text));
}

void writeRow(std::string& out, const BindingRow& row) {
    const std::string name = row.isEnabled ? safe(row.name) : "~~" + safe(row.name) + "~~";
    out += "| " + caps(row.steps) + " | " + name + (row.isEnabled ? "" : " " + localized("(off)")) + " | " +
           safe(row.phrase) + " |\n";
}

void writeSection(std::string& out, const BindingSection& section) {
    out += "\n" + std::string(static_cast<std::size_t>(std::min(section.depth + 2, 6)), '#') + " ";
    if (section.trigger.empty())
        out += localized("Without a group");
    else
        out += caps(section.trigger) + (section.name.empty() ? "" : " " + safe(section.name));
    out += section.isEnabled ? "\n" : " " + localized("(off)") + "\n";
    if (section.passesThrough)
        out += "\n" + localized("The first key also acts in the application in front.") + "\n";
    if (section.rows.empty())
        return;
    out += "\n| " + localized("Keys") + " | " + localized("Name") + " | " + localized("What it does") +
           " |\n| --- | --- | --- |\n";
    for (const BindingRow& row : section.rows)
        writeRow(out, row);
}

} // namespace

std::string markdown(const BindingOutline& outline) {
    std::string out = "# " + localized("Key bindings") + "\n";
    if (outline.sections.empty())
        out += "\n" + localized("There are no bindings.") + "\n";
    for (const BindingSection& section : outline.sections)
        writeSection(out, section);
    return out;
}

} // namespace varnel::CheatSheet
