#include "fuzz/FuzzTargets.h"

#include "base/JSONPlainReader.h"
#include "base/JSONReader.h"
#include "base/JSONWriter.h"
#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFix.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "runtime/simulator/Simulator.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace varnel::fuzzing {

void require(bool holds, const char* message) {
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", message);
    std::abort();
}

void json(std::string_view text) {
    const auto fast = readJSON(text), plain = readJSONPlainly(text);
    require(fast.has_value() == plain.has_value(), "both readers accept the same texts");
    if (!fast) {
        require(fast.error() == plain.error(), "both readers give the same error");
        require(fast.error().position.line > 0 && fast.error().position.column > 0, "errors have a place");
        return;
    }
    require(*fast == *plain, "both readers give the same value");
    const std::string pretty = writePrettyJSON(*fast), compact = writeCompactJSON(*fast);
    require(readJSON(pretty) == *fast && readJSON(compact) == *fast, "what is written reads back");
    require(writePrettyJSON(*readJSON(pretty)) == pretty, "writing is stable");
    (void)findDuplicateKeys(text);
    (void)findJSONPosition(text, {std::size_t{0}, "a"});
}

void keyToken(std::string_view text) {
    const auto parsed = KeyTokenCodec::parse(text);
    const std::string live = KeyTokenCodec::liveSpelling(text);
    require(KeyTokenCodec::liveSpelling(live) == live, "the live spelling of a live spelling is the same");
    require(!(parsed && KeyTokenCodec::isModifierOnly(text)), "a token with a key is not modifiers only");
    require(!parsed || KeyTokenCodec::explain(text).empty(), "only what does not parse is explained");
    const auto normal = KeyTokenCodec::normalize(text);
    if (normal)
        require(KeyTokenCodec::normalize(*normal) == normal, "normalizing is stable");
    if (!parsed)
        return;
    const auto again = KeyTokenCodec::parse(live);
    require(again.has_value(), "a live spelling parses");
    require(again->keyCode == parsed->keyCode && again->flags == parsed->flags, "it names the same chord");
}

void config(std::string_view text) {
    const auto document = decodeDocument(text);
    const auto findings = checkDocument(text, builtInActions());
    using Severity = Diagnostic::Severity;
    const auto isError = [](const Diagnostic& d) { return d.severity == Severity::error; };
    if (!document) {
        require(!describe(document.error()).empty(), "errors say what is wrong");
        require(findings.size() == 1 && isError(findings[0]), "a text that does not load yields one error");
        return;
    }
    require(std::none_of(findings.begin(), findings.end(), isError), "a text that loads has only warnings");
    if (const auto fixed = fixDocument(text)) {
        const auto again = fixDocument(fixed->text);
        require(again && again->text == fixed->text && again->done.empty(), "mending twice is mending once");
    }
    const auto saved = encodeDocument(document->items, document->pluginSettings);
    if (!saved) // only nesting that grew too deep in the document's own frame
        return;
    const auto loaded = decodeDocument(*saved);
    require(loaded.has_value(), "what is saved loads");
    require(loaded->items == document->items && loaded->pluginSettings == document->pluginSettings,
            "saving and loading changes nothing");
    require(encodeDocument(loaded->items, loaded->pluginSettings) == *saved, "saving is stable");
}

namespace {

/// Something of everything that the engine knows.
constexpr std::string_view kConfiguration = R"({"items":[
 {"id":"00000000-0000-0000-0000-000000000001","type":"group","name":"apps","keys":["cmd","a"]},
 {"id":"00000000-0000-0000-0000-000000000002","type":"action","name":"one","keys":["cmd","a","x"],
  "action":{"pluginID":"core.shell","actionID":"run","params":{"command":"true"}}},
 {"id":"00000000-0000-0000-0000-000000000003","type":"action","name":"two","keys":["shift+b"]},
 {"id":"00000000-0000-0000-0000-000000000004","type":"action","name":"three","keys":["f1","f1"]},
 {"id":"00000000-0000-0000-0000-000000000005","type":"group","name":"through","keys":["ctrl+c"],
  "allowsPassthroughPrefix":true},
 {"id":"00000000-0000-0000-0000-000000000006","type":"action","name":"four","keys":["ctrl+c","1","2"]}],
 "pluginSettings":{}})";

} // namespace

void simulation(std::string_view script) {
    auto document = decodeDocument(kConfiguration);
    require(document.has_value(), "the fuzzer's own configuration loads");
    const auto items = std::make_shared<const std::vector<ConfigItem>>(std::move(document->items));
    int records = 0;
    Duration last{};
    const auto noFile = [](const std::string&) { return std::unexpected(std::string("no files here")); };
    const auto played = simulation::simulate(script, items, noFile, [&](const simulation::Record& record) {
        ++records;
        require(record.time >= last, "time never runs backwards");
        last = record.time;
        const auto line = readJSON(simulation::jsonLine(record));
        require(line && line->object(), "each record is one JSON object");
    });
    require(played || records == 0, "a script is refused before its first record");
}

} // namespace varnel::fuzzing
