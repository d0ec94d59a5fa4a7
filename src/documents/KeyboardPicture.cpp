#include "documents/KeyboardPicture.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "documents/KeyCaps.h"
#include "documents/KeyboardGeometry.h"
#include "documents/Markup.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace varnel {
namespace {

constexpr int kUnit = 72, kGap = 5, kMargin = 18;
constexpr int kListColumns = 3, kListLine = 26;

// Colours stand in classes, not in variables: converters to paper formats know no variables. Dark colours are
// for screens only, since paper is white.
constexpr std::string_view kStyle = R"(<style>
.vk text{font-family:"DejaVu Sans","Segoe UI",system-ui,sans-serif;fill:#5b6372}
.vk .paper{fill:#fff}
.vk .key{fill:#fff;stroke:#c9ced8;stroke-width:1.2}
.vk .on{fill:#eaf0ff;stroke:#2d5bd0;stroke-width:1.8}
.vk .cap{font-size:14px}
.vk .cap.set,.vk .name{fill:#16213d}
.vk .cap.set{font-weight:bold}
.vk .name{font-size:9.5px}
.vk .opens{fill:#2d5bd0;stroke:#2d5bd0}
.vk .runs{fill:#fff;stroke:#2d5bd0;stroke-width:1.2}
.vk text.in-opens{fill:#fff}
.vk text.in-runs{fill:#1d429f}
.vk .mark{text-anchor:middle}
.vk .entry{font-size:13px;fill:#16213d}
.vk .entry .keys{font-weight:bold}
.vk .quiet{font-size:12px}
@media screen and (prefers-color-scheme:dark){
.vk text{fill:#a9b2c3}
.vk .paper{fill:#1a1d24}
.vk .key{fill:#242832;stroke:#4a5163}
.vk .on{fill:#1f2c52;stroke:#7ea2ff}
.vk .cap.set,.vk .name,.vk .entry{fill:#eef2fb}
.vk .opens{fill:#7ea2ff;stroke:#7ea2ff}
.vk .runs{fill:#1a1d24;stroke:#7ea2ff}
.vk text.in-opens{fill:#0f1730}
.vk text.in-runs{fill:#b9ccff}
}
</style>
)";

std::string number(float value) {
    const long tenths = std::lround(value * 10);
    std::string text = std::to_string(tenths / 10);
    if (tenths % 10 != 0)
        text += "." + std::to_string(std::abs(tenths % 10));
    return text;
}

/// One chord that begins sequences on a key.
struct Mark {
    std::string text; ///< the modifiers
    const FirstStep* step = nullptr;
};
using Marks = std::map<KeyCode, std::vector<Mark>>;

std::string modifierText(const ParsedKeyToken& token) {
    const int count = static_cast<int>(std::ranges::count_if(
        kModifiers, [&](Modifier modifier) { return (token.flags & modifierFlag(modifier)) != 0; }));
    if (count == 0)
        return localized("alone");
    std::vector<std::string> parts = KeyCaps::ofStep(token.normalizedToken);
    parts.pop_back();
    if (count > 2) // the whole words are wider than a key
        for (std::string& part : parts)
            part.resize(2);
    return join(parts, "+");
}

/// Both keys of a modifier are marked for its tap; what no key stands for is left to the list.
Marks marksOf(const std::vector<FirstStep>& steps) {
    constexpr std::pair<KeyCode, KeyCode> pairs[] = {{55, 54}, {59, 62}, {58, 61}, {56, 60}};
    Marks marks;
    for (const FirstStep& step : steps) {
        if (const auto token = KeyTokenCodec::parse(step.step))
            marks[token->keyCode].push_back({modifierText(*token), &step});
        else if (const auto modifier = modifierNamed(step.step))
            for (const KeyCode code :
                 {pairs[static_cast<int>(*modifier)].first, pairs[static_cast<int>(*modifier)].second})
                marks[code].push_back({localized("tap"), &step});
    }
    return marks;
}

class Picture {
public:
    Picture(const BindingOutline& outline, KeyboardShape shape)
        : outline_(outline)
        , marks_(marksOf(outline.firstSteps))
        , keys_(drawnKeys(
              shape, std::ranges::any_of(marks_, [](const auto& mark) { return isOnKeypad(mark.first); }))) {}

    std::string draw(bool isStandalone) {
        float right = 0, bottom = 0;
        for (const DrawnKey& key : keys_) {
            right = std::max(right, key.x + key.width);
            bottom = std::max(bottom, key.y + key.height);
        }
        const int width = static_cast<int>(right * kUnit) + 2 * kMargin;
        int height = static_cast<int>(bottom * kUnit) + kMargin + 12;
        for (const DrawnKey& key : keys_)
            drawKey(key);
        drawLegend(height);
        height += 34;
        if (isStandalone)
            height = drawList(width, height + 12);
        return frame(width, height, isStandalone);
    }

private:
    void drawKey(const DrawnKey& key) {
        const auto found = marks_.find(key.code);
        const bool isMarked = found != marks_.end();
        const float x = kMargin + key.x * kUnit, y = kMargin + key.y * kUnit;
        const float width = key.width * kUnit - kGap, height = key.height * kUnit - kGap;
        rectangle(isMarked ? "key on" : "key", x, y, width, height, 8);
        const std::string cap(key.cap.empty() ? KeyCaps::ofStep(KeyTokenCodec::keyName(key.code)).front()
                                              : std::string(key.cap));
        const bool isKeypad = isOnKeypad(key.code) && cap.starts_with("Num ");
        text(isMarked ? "cap set" : "cap", x + 8, y + 19, isKeypad ? cap.substr(4) : cap);
        if (isMarked)
            drawMarks(found->second, x + 5, y + 26, width - 10);
    }

    /// There is room for two lines: two marks, or one and what it stands for.
    void drawMarks(const std::vector<Mark>& marks, float x, float y, float width) {
        drawMark(marks[0], x, y, width);
        if (marks.size() == 1)
            text("name", x + 2, y + 30, shownName(*marks[0].step, width));
        else if (marks.size() == 2)
            drawMark(marks[1], x, y + 19, width);
        else
            text("name", x + 2, y + 30, localized("and %1 more", {std::to_string(marks.size() - 1)}));
    }

    /// Long marks get smaller letters. How wide a letter is depends on the reader's fonts; this is generous.
    void drawMark(const Mark& mark, float x, float y, float limit) {
        constexpr float letter = 0.64F, largest = 9.5F, padding = 8;
        const float letters = letter * static_cast<float>(mark.text.size());
        const float size = std::min(largest, (limit - padding) / letters);
        const float width = letters * size + padding;
        const bool opens = mark.step->opens;
        rectangle(opens ? "opens" : "runs", x, y, width, 15, 4);
        out_ += "<text class=\"mark " + std::string(opens ? "in-opens" : "in-runs") + "\" font-size=\"" +
                number(size) + "\" x=\"" + number(x + width / 2) + "\" y=\"" + number(y + 11) + "\">" +
                Markup::xml(mark.text) + "</text>\n";
    }

    static std::string shownName(const FirstStep& step, float width) {
        return Markup::shortened(step.name, static_cast<std::size_t>(width / 5.6F));
    }

    void drawLegend(int y) {
        float x = kMargin;
        const auto entry = [&](const char* style, const std::string& meaning) {
            rectangle(style, x, static_cast<float>(y), 26, 14, 4);
            text("quiet", x + 34, static_cast<float>(y) + 11, meaning);
            x += 34 + 28 + 7.2F * static_cast<float>(meaning.size());
        };
        entry("opens", localized("opens a sequence"));
        entry("runs", localized("runs at once"));
        text("quiet", x, static_cast<float>(y) + 11,
             localized(
                 "The mark names the modifiers that are held; “tap” is a short press of the key alone."));
    }

    int drawList(int width, int y) {
        const auto& steps = outline_.firstSteps;
        const std::size_t lines = (steps.size() + kListColumns - 1) / kListColumns;
        const int column = (width - 2 * kMargin) / kListColumns;
        for (std::size_t i = 0; i < steps.size(); ++i)
            listEntry(steps[i], kMargin + static_cast<int>(i / lines) * column,
                      y + static_cast<int>(i % lines) * kListLine + kListLine / 2);
        return y + static_cast<int>(lines) * kListLine + kMargin / 2;
    }

    void listEntry(const FirstStep& step, int x, int y) {
        const std::string keys = KeyCaps::stepText(step.step);
        std::string more;
        if (step.opens)
            more = step.count == 1 ? localized("1 binding")
                                   : localized("%1 bindings", {std::to_string(step.count)});
        const std::string name = Markup::isolated(Markup::shortened(step.name, 30));
        out_ += "<text class=\"entry\" x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) +
                "\"><tspan class=\"keys\">" + Markup::xml(keys) + "</tspan>";
        for (const std::string& part : {name, more})
            if (!part.empty())
                out_ += " · " + Markup::xml(part);
        out_ += "</text>\n";
    }

    void rectangle(const char* style, float x, float y, float width, float height, int radius) {
        out_ += "<rect class=\"" + std::string(style) + "\" x=\"" + number(x) + "\" y=\"" + number(y) +
                "\" width=\"" + number(width) + "\" height=\"" + number(height) + "\" rx=\"" +
                std::to_string(radius) + "\"/>\n";
    }

    void text(const char* style, float x, float y, const std::string& content) {
        if (!content.empty())
            out_ += "<text class=\"" + std::string(style) + "\" x=\"" + number(x) + "\" y=\"" + number(y) +
                    "\">" + Markup::xml(Markup::isolated(content)) + "</text>\n";
    }

    /// What somebody hears who does not see the picture.
    [[nodiscard]] std::string description() const {
        std::string list;
        for (const FirstStep& step : outline_.firstSteps) {
            list += list.empty() ? "" : "; ";
            list += KeyCaps::stepText(step.step);
            if (!step.name.empty())
                list += ": " + Markup::isolated(step.name);
        }
        return list.empty() ? localized("No key begins a binding.")
                            : localized("These keys begin bindings: %1.", {list});
    }

    [[nodiscard]] std::string frame(int width, int height, bool isStandalone) const {
        std::string out;
        if (isStandalone)
            out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        const std::string w = std::to_string(width), h = std::to_string(height);
        out += "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"vk\" role=\"img\" "
               "aria-labelledby=\"vk-title vk-desc\" viewBox=\"0 0 " +
               w + " " + h + "\"";
        if (isStandalone)
            out += " width=\"" + w + "\" height=\"" + h + "\"";
        out += ">\n<title id=\"vk-title\">" + Markup::xml(localized("Keys that begin bindings")) +
               "</title>\n<desc id=\"vk-desc\">" + Markup::xml(description()) + "</desc>\n";
        out += kStyle;
        if (isStandalone)
            out += "<rect class=\"paper\" width=\"" + w + "\" height=\"" + h + "\"/>\n";
        return out + out_ + "</svg>\n";
    }

    const BindingOutline& outline_;
    const Marks marks_;
    const std::vector<DrawnKey> keys_;
    std::string out_;
};

} // namespace

std::string keyboardPicture(const BindingOutline& outline, KeyboardShape shape, bool isStandalone) {
    return Picture(outline, shape).draw(isStandalone);
}

} // namespace varnel
