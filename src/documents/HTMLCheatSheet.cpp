#include "base/Localized.h"
#include "base/Text.h"
#include "documents/CheatSheet.h"
#include "documents/KeyCaps.h"
#include "documents/Markup.h"

#include <algorithm>

namespace varnel::CheatSheet {
namespace {

/// Longer tables may break between pages and columns, with their head repeated.
constexpr std::size_t kRowsKeptTogether = 12;

constexpr std::string_view kStyle = R"(<style>
:root{color-scheme:light dark;--ink:#16213d;--quiet:#5b6372;--line:#dfe3ea;--accent:#2d5bd0;--paper:#fff;--cap:#f6f7fa;--edge:#b9c0cd}
@media screen and (prefers-color-scheme:dark){:root{--ink:#eef2fb;--quiet:#a9b2c3;--line:#343a47;--accent:#7ea2ff;--paper:#1a1d24;--cap:#2a2f3a;--edge:#565e70}}
*{box-sizing:border-box}
body{margin:0 auto;padding:2rem clamp(1rem,4vw,3rem);max-width:84rem;background:var(--paper);color:var(--ink);font:15px/1.4 system-ui,"Segoe UI","DejaVu Sans",sans-serif}
header{display:flex;flex-wrap:wrap;align-items:baseline;gap:0 1rem;margin-bottom:1rem}
h1{font-size:1.7rem;margin:0;letter-spacing:-.01em}
p{margin:0;color:var(--quiet)}
figure{margin:0 0 1.5rem;overflow-x:auto}
figure svg{display:block;width:100%;min-width:44rem;height:auto}
main{columns:26rem;column-gap:2.2rem}
section{margin:0 0 1.5rem}
section.whole{break-inside:avoid}
h2,h3,h4,h5,h6{display:flex;flex-wrap:wrap;align-items:center;gap:.2rem .6rem;margin:0 0 .25rem;padding-bottom:.3rem;border-bottom:2px solid var(--accent);font-size:1.1rem;line-height:1.3;break-after:avoid}
h3,h4,h5,h6{font-size:1rem;border-bottom-width:1px}
.of{color:var(--quiet);font-weight:normal}
table{width:100%;border-collapse:collapse}
thead th{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%);white-space:nowrap}
tbody th,td{padding:.3rem 0;text-align:start;vertical-align:baseline;font-weight:normal}
tbody tr+tr{border-top:1px solid var(--line)}
tbody tr{break-inside:avoid}
tbody th{min-width:4.5rem;width:1%;padding-inline-end:.9rem;line-height:1.75}
td{overflow-wrap:anywhere}
.does{display:block;color:var(--quiet);font-size:.85em}
.off .name,.off .does{text-decoration:line-through;opacity:.65}
.off kbd{opacity:.5}
.tag{font-size:.75rem;font-weight:normal;color:var(--quiet);border:1px solid var(--line);border-radius:.3rem;padding:0 .35rem;text-decoration:none;display:inline-block}
kbd{display:inline-block;min-width:1.7em;padding:.05em .45em;border:1px solid var(--edge);border-bottom-width:2px;border-radius:.35em;background:var(--cap);color:var(--ink);font:600 .85em/1.45 system-ui,"Segoe UI","DejaVu Sans",sans-serif;text-align:center;white-space:nowrap;-webkit-print-color-adjust:exact;print-color-adjust:exact}
.step{white-space:nowrap}
.plus{color:var(--quiet);font-size:.8em;padding:0 .1em}
@page{margin:12mm}
@media print{
body{max-width:none;padding:0;font-size:9.5pt}
figure{break-inside:avoid;margin-bottom:5mm}
figure svg{min-width:0}
.vk *{-webkit-print-color-adjust:exact;print-color-adjust:exact}
main{columns:2;column-gap:9mm}
section{margin-bottom:4mm}
tbody th,td{padding-block:.13rem}
tbody th{line-height:1.5}
.does{display:inline;margin-inline-start:.5em}
}
</style>
)";

std::string safe(const std::string& text) {
    return Markup::xml(Markup::isolated(text));
}

std::string caps(const std::vector<std::string>& steps) {
    std::vector<std::string> shown;
    for (const std::string& step : steps) {
        std::vector<std::string> keys;
        for (const std::string& cap : KeyCaps::ofStep(step))
            keys.push_back("<kbd>" + safe(cap) + "</kbd>");
        shown.push_back("<span class=\"step\">" + join(keys, "<span class=\"plus\">+</span>") + "</span>");
    }
    return join(shown, " ");
}

std::string tag(const std::string& text) {
    return " <span class=\"tag\">" + Markup::xml(text) + "</span>";
}

void writeHeading(std::string& out, const BindingSection& section, const std::string& id,
                  const std::string& parent) {
    const std::string level = "h" + std::to_string(std::min(section.depth + 2, 6));
    out += "<" + level + " id=\"" + id + "\">";
    if (section.trigger.empty())
        out += Markup::xml(localized("Without a group"));
    else
        out += "<span>" + caps(section.trigger) + "</span>";
    if (!section.name.empty()) {
        out += " <span>";
        if (!parent.empty())
            out += "<span class=\"of\">" + safe(parent) + " › </span>";
        out += safe(section.name) + "</span>";
    }
    if (!section.isEnabled)
        out += tag(localized("off"));
    if (section.passesThrough)
        out += tag(localized("the first key also acts in the application"));
    out += "</" + level + ">\n";
}

void writeTable(std::string& out, const std::vector<BindingRow>& rows, const std::string& headingID) {
    out += "<table aria-labelledby=\"" + headingID + "\">\n<thead><tr>";
    for (const std::string& head : {localized("Keys"), localized("What it does")})
        out += "<th scope=\"col\">" + Markup::xml(head) + "</th>";
    out += "</tr></thead>\n<tbody>\n";
    for (const BindingRow& row : rows) {
        out += row.isEnabled ? "<tr>" : "<tr class=\"off\">";
        out += "<th scope=\"row\">" + caps(row.steps) + "</th><td><span class=\"name\">" + safe(row.name) +
               "</span>";
        if (!row.isEnabled)
            out += tag(localized("off"));
        if (!row.phrase.empty())
            out += " <span class=\"does\">" + safe(row.phrase) + "</span>";
        out += "</td></tr>\n";
    }
    out += "</tbody>\n</table>\n";
}

/// The name of the group around a section; empty at the top and for a group without a name.
std::string parentName(const std::vector<BindingSection>& sections, std::size_t index) {
    for (std::size_t i = index; i-- > 0;)
        if (sections[i].depth < sections[index].depth)
            return sections[i].name;
    return {};
}

std::string countText(const BindingOutline& outline) {
    if (outline.bindings == 0)
        return localized("There are no bindings.");
    return outline.bindings == 1 ? localized("1 binding")
                                 : localized("%1 bindings", {std::to_string(outline.bindings)});
}

} // namespace

std::string html(const BindingOutline& outline, KeyboardShape shape) {
    const std::string title = Markup::xml(localized("Key bindings"));
    // The text is the code of the language that the page is written in.
    std::string out = "<!DOCTYPE html>\n<html lang=\"" + Markup::xml(localized("en")) +
                      "\">\n<head>\n<meta charset=\"utf-8\">\n"
                      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
                      title + "</title>\n";
    out += kStyle;
    out += "</head>\n<body>\n<header><h1>" + title + "</h1><p>" + Markup::xml(countText(outline)) +
           "</p></header>\n<figure>\n" + keyboardPicture(outline, shape, false) + "</figure>\n<main>\n";
    for (std::size_t i = 0; i < outline.sections.size(); ++i) {
        const BindingSection& section = outline.sections[i];
        const std::string id = "group-" + std::to_string(i + 1);
        out += section.rows.size() <= kRowsKeptTogether ? "<section class=\"whole\">\n" : "<section>\n";
        writeHeading(out, section, id, parentName(outline.sections, i));
        if (!section.rows.empty())
            writeTable(out, section.rows, id);
        out += "</section>\n";
    }
    return out += "</main>\n</body>\n</html>\n";
}

} // namespace varnel::CheatSheet
