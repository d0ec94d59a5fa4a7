#include "base/Localized.h"
#include "cli/AbsolutePath.h"
#include "cli/Columns.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "runtime/Doctor.h"

#include <algorithm>

namespace varnel {

namespace {

using Grade = DoctorFinding::Grade;

constexpr std::size_t kWidth = 10;

int exitStatus(const std::vector<DoctorFinding>& findings) {
    auto has = [&](Grade grade) {
        return std::ranges::find(findings, grade, &DoctorFinding::grade) != findings.end();
    };
    return has(Grade::failure) ? ExitStatus::failed : has(Grade::warning) ? ExitStatus::no : ExitStatus::fine;
}

void printForPrograms(const DoctorFacts& facts, const std::vector<DoctorFinding>& findings,
                      Console& console) {
    std::string list = "[";
    for (const DoctorFinding& finding : findings) {
        JSONLine line;
        line.text("id", finding.id).text("grade", name(finding.grade)).text("text", finding.text);
        line.text("remedy", finding.remedy);
        list += (list.size() > 1 ? "," : "") + line.finished();
    }
    JSONLine report;
    report.text("version", facts.version).text("system", redacted(facts.system, facts));
    console.out.line(report.raw("findings", list + "]").finished());
}

std::string gradeWord(Grade grade) {
    switch (grade) {
    case Grade::fine:
        return localized("ok");
    case Grade::note:
        return localized("note");
    case Grade::warning:
        return localized("warning");
    case Grade::failure:
        break;
    }
    return localized("failure");
}

void printForPeople(const DoctorFacts& facts, const std::vector<DoctorFinding>& findings, Console& console) {
    console.out.line("Varnel " + facts.version + ", " + redacted(facts.system, facts));
    for (const DoctorFinding& finding : findings) {
        console.out.line(column(gradeWord(finding.grade), kWidth) + finding.text);
        if (!finding.remedy.empty())
            console.out.line(std::string(kWidth, ' ') + "→ " + finding.remedy);
    }
}

int run(const VerbCall& call, Console& console) {
    std::optional<std::string> path;
    if (auto named = call.value(kConfigOption.name))
        path = absolutePath(*named);
    DoctorFacts facts = collectDoctorFacts(RuntimePaths::fromEnvironment(), path);
    addSystemFacts(facts);
    const std::vector<DoctorFinding> findings = examine(facts);
    if (call.has(kJSONOption.name))
        printForPrograms(facts, findings, console);
    else
        printForPeople(facts, findings, console);
    return exitStatus(findings);
}

constexpr VerbOption kOptions[] = {kConfigOption, kJSONOption};

} // namespace

extern const Verb kDoctorVerb{.name = "doctor",
                              .summary = "looks for what is in Varnel's way; fit for a bug report",
                              .options = kOptions,
                              .run = run};

} // namespace varnel
