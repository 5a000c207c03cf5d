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
    {"files", benchFiles},    {"cipher", benchCipher}, {"text", benchText},
    {"body", benchEventBody}, {"events", benchEvents}, {"download", benchDownload},
    {"tree", benchTree},      {"raise", benchRaise},   {"counts", benchCounts},
};

} // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i)
        for (const Family& family : kFamilies)
            if (family.name == arguments[i])
                family.run();
    return 0;
}
