#include "documents/ImportReport.h"

#include "base/Localized.h"

namespace varnel {

std::string describe(const ImportRemark& remark, std::string_view file) {
    return std::string(file) + ":" + std::to_string(remark.line) + ": " + remark.rule + ": " + remark.reason;
}

std::string summary(const ImportReport& report) {
    return localized("%1 rules: %2 converted, %3 left out",
                     {std::to_string(report.rules), std::to_string(report.converted),
                      std::to_string(report.omitted.size())});
}

} // namespace varnel
