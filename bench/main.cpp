// Runs the families that the arguments name.

#include "bench/benchmarks.h"
#include "bench/harness.h"

#include <string_view>

namespace {

struct Family {
    std::string_view name;
    void (*run)();
};

constexpr Family kFamilies[] = {
    {"files", benchFiles},
    {"cipher", benchCipher},
    {"text", benchText},
    {"body", benchEventBody},
    {"events", benchEvents},
    {"download", benchDownload},
    {"tree", benchTree},
    {"raise", benchRaise},
    {"counts", benchCounts},
    {"growth-read", growReading},
    {"growth-set", growSetting},
    {"growth-enciphered", growEnciphered},
    {"growth-events", growEvents},
    {"growth-tree", growTree},
    {"growth-download", growDownload},
    {"growth-text", growConversions},
};

} // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i)
        for (const Family& family : kFamilies)
            if (family.name == arguments[i])
                family.run();
    return 0;
}
