// Rolls dice. Build it into the package:  c++ -O2 -static -o bin/dice dice.cpp
// A static program starts in a fraction of a millisecond.
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>
#include <string>

namespace {

/// A whole number of the request. Looking for the key is enough for a flat set of numbers; use a JSON library for more.
int number(const std::string& request, const std::string& key, int fallback) {
    const std::size_t at = request.find('"' + key + "\":");
    return at == std::string::npos ? fallback : std::atoi(request.c_str() + at + key.size() + 3);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::string(argv[1]) != "action")
        return 0;
    const std::string request(std::istreambuf_iterator<char>(std::cin), {});
    const int count = number(request, "count", 2), sides = number(request, "sides", 6);
    if (count < 1 || count > 100 || sides < 2 || sides > 1000) {
        std::cout << R"({"success":false,"message":"Roll 1 to 100 dice of 2 to 1000 sides."})";
        return 0;
    }
    std::random_device source;
    std::uniform_int_distribution<int> die(1, sides);
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += die(source);
    std::cout << R"({"success":true,"message":")" << count << "d" << sides << ": " << sum << R"("})";
}
