#include "documents/ImportReport.h"

#include "base/Localized.h"

namespace varnel {

std::string describe(const ImportRemark& remark, std::string_view file) {
    return std::string(file) + ":" + std::to_string(remark.line) + ": " + remark.rule + ": " + remark.reason;
}

std::string summary(const ImportReport& report) {
    return localized("rules: %1, converted: %2, left out: %3",
                     {std::to_string(report.rules), std::to_string(report.converted),
                      std::to_string(report.omitted.size())});
}

} // namespace varnel
