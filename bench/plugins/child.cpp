// The least that a plugin can do: takes no notice of the request and succeeds.
#include <unistd.h>

int main() {
    constexpr char kResponse[] = "{\"success\":true}";
    return ::write(1, kResponse, sizeof kResponse - 1) > 0 ? 0 : 1;
}
