#include "base/JSONValue.h"

namespace varnel {

std::string_view JSONValue::kindName() const {
    constexpr std::string_view kNames[] = {"null",     "a boolean", "a number",
                                           "a string", "an array",  "an object"};
    return kNames[value_.index()];
}

} // namespace varnel
