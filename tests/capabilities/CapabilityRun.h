#pragma once

#include "base/JSONReader.h"
#include "base/JSONWriter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace varnel {

struct CapabilityAnswer {
    bool success = false;
    std::string message;
};

/// Runs the program of a built package as the application does, with a scratch folder for the test.
class CapabilityRun {
public:
    CapabilityRun(const std::string& package, const std::string& program)
        : program_(std::string(VARNEL_BINARY_DIR) + "/../share/varnel/plugins/" + package + "/" + program) {
        char name[] = "/tmp/varnel-capability-XXXXXX";
        folder_ = ::mkdtemp(name);
    }
    ~CapabilityRun() { std::filesystem::remove_all(folder_); }

    [[nodiscard]] const std::string& folder() const { return folder_; }

    CapabilityAnswer act(const std::string& actionID, JSONValue::Object params) const {
        const std::string request = folder_ + "/request", response = folder_ + "/response";
        std::ofstream(request) << writeCompactJSON(JSONValue::Object{{"pluginID", "x"},
                                                                     {"actionID", actionID},
                                                                     {"params", std::move(params)},
                                                                     {"settings", JSONValue::Object{}},
                                                                     {"context", JSONValue::Object{}}});
        const int status =
            std::system((program_ + " action < " + request + " > " + response + " 2>/dev/null").c_str());
        EXPECT_EQ(status, 0) << program_;
        std::ifstream in(response);
        const auto value = readJSON(std::string(std::istreambuf_iterator<char>(in), {}));
        if (!value || !value->find("success"))
            return {false, "no response"};
        const JSONValue* message = value->find("message");
        return {*value->find("success")->boolean(), message ? *message->string() : ""};
    }

private:
    std::string program_;
    std::string folder_;
};

} // namespace varnel
