#include "runtime/simulator/SimulationRecord.h"

#include "base/JSONWriter.h"
#include "base/Text.h"

#include <cstdio>

namespace varnel::simulation {
namespace {

/// Writes one object in the order in which its members are given.
class ObjectLine {
public:
    void number(std::string_view name, double value) { appendJSONNumber(member(name), value); }
    void text(std::string_view name, std::string_view value) { appendJSONString(member(name), value, false); }
    void raw(std::string_view name, std::string_view json) { member(name) += json; }
    void list(std::string_view name, const std::vector<std::string>& values) {
        std::string& out = member(name);
        out += '[';
        for (const std::string& value : values) {
            if (&value != &values.front())
                out += ',';
            appendJSONString(out, value, false);
        }
        out += ']';
    }
    [[nodiscard]] std::string finish() { return out_ + '}'; }

private:
    std::string& member(std::string_view name) {
        out_ += out_.empty() ? '{' : ',';
        appendJSONString(out_, name, false);
        return out_ += ':';
    }
    std::string out_;
};

std::string runObject(const Record::Run& run) {
    ObjectLine line;
    line.text("id", run.id.text());
    line.text("name", run.name);
    line.text("pluginID", run.pluginID);
    line.text("actionID", run.actionID);
    return line.finish();
}

std::string padded(std::string text, std::size_t width) {
    if (text.size() < width)
        text.append(width - text.size(), ' ');
    return text;
}

} // namespace

std::string_view eventName(Record::Event event) {
    switch (event) {
    case Record::Event::keyDown:
        return "keyDown";
    case Record::Event::flagsChanged:
        return "flagsChanged";
    case Record::Event::timer:
        return "timer";
    }
    return "timer";
}

std::string jsonLine(const Record& record) {
    ObjectLine line;
    line.number("t", seconds(record.time));
    line.text("event", eventName(record.event));
    line.list("tokens", record.tokens);
    line.raw("swallowed", record.swallowed ? "true" : "false");
    line.text("state", interactionName(record.state));
    line.list("sequence", record.sequence);
    line.list("hints", record.hints);
    line.raw("runs", record.runs ? runObject(*record.runs) : "null");
    if (record.status)
        line.text("status", *record.status);
    else
        line.raw("status", "null");
    return line.finish();
}

std::string textLine(const Record& record) {
    char time[32];
    std::snprintf(time, sizeof time, "%9.3f s  ", seconds(record.time));
    const bool isTimer = record.event == Record::Event::timer;
    std::string line = time;
    line += padded(std::string(eventName(record.event)), 14);
    line += padded(join(record.tokens, " "), 12) + ' ';
    line += padded(isTimer ? "" : record.swallowed ? "swallowed" : "passes", 11);
    line += interactionName(record.state);
    if (!record.sequence.empty())
        line += " [" + join(record.sequence, " ") + "]";
    if (!record.hints.empty())
        line += "  then: " + join(record.hints, " ");
    if (record.runs)
        line +=
            "  RUNS " + record.runs->name + " (" + record.runs->pluginID + " " + record.runs->actionID + ")";
    if (record.status)
        line += "  status: " + *record.status;
    return line;
}

} // namespace varnel::simulation
