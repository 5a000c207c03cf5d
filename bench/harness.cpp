#include "bench/harness.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>

#include <windows.h>

namespace bench {
namespace {

constexpr double kShortestBatch = 0.003; // seconds; over 1000 times the resolution of the clock
constexpr std::size_t kFewestRounds = 5, kMostRounds = 201, kGrowthRounds = 3;

struct Lane {
    const Contender* contender;
    std::size_t batch = 1;
    std::vector<double> times{}; // seconds for one call, one entry for each round

    bool runBatch() {
        if (contender->prepare)
            contender->prepare();
        const double begin = now();
        for (std::size_t i = 0; i < batch; ++i)
            if (!contender->run())
                return false;
        times.push_back((now() - begin) / static_cast<double>(batch));
        return true;
    }

    /// Warms up and finds the number of calls in a batch. Returns false if the contender fails.
    bool calibrate() {
        if (!runBatch())
            return false;
        while (!contender->prepare && times.back() * static_cast<double>(batch) < kShortestBatch) {
            batch *= 2;
            if (!runBatch())
                return false;
        }
        times.clear();
        return true;
    }

    double typical() const { return median(times); }
};

Spread ratio(const Lane& ours, const Lane& other) {
    std::vector<double> ratios;
    ratios.reserve(ours.times.size());
    for (std::size_t i = 0; i < ours.times.size(); ++i)
        ratios.push_back(ours.times[i] / other.times[i]);
    return spread(ratios);
}

std::string amount(double seconds, double bytes) {
    if (bytes > 0)
        return format("%.0f MB/s", bytes / seconds / 1e6);
    if (seconds < 1e-6)
        return format("%.0f ns", seconds * 1e9);
    if (seconds < 1e-3)
        return format("%.2f µs", seconds * 1e6);
    return seconds < 1 ? format("%.2f ms", seconds * 1e3) : format("%.2f s", seconds);
}

std::string goalText(const Goal& goal, double bytes) {
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (goal.mostSeconds > 0)
        add((bytes > 0 ? "at least " : "at most ") + amount(goal.mostSeconds, bytes));
    if (goal.mostToLimit > 0)
        add(format("%.2f x limit", goal.mostToLimit));
    if (goal.mostToAlternative > 0)
        add(format("%.2f x alternative", goal.mostToAlternative));
    return text;
}

/// Calibrates the contenders: ours, the limit if there is one, the alternatives that work here, and the
/// references.
std::vector<Lane> lanesOf(const Path& path) {
    std::vector<Lane> lanes{{&path.ours}};
    if (path.limit)
        lanes.push_back({&*path.limit});
    const std::size_t firstAlternative = lanes.size();
    for (const Contender& alternative : path.alternatives)
        lanes.push_back({&alternative});
    const std::size_t firstReference = lanes.size();
    for (const Contender& reference : path.references)
        lanes.push_back({&reference});

    for (std::size_t i = lanes.size(); i-- > 0;) {
        if (lanes[i].calibrate())
            continue;
        require(i >= firstAlternative && i < firstReference,
                path.name + ": " + lanes[i].contender->name + " does not work");
        printDetail(path.name, lanes[i].contender->name, "does not work here");
        lanes.erase(lanes.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return lanes;
}

void runRound(const Path& path, std::vector<Lane>& lanes) {
    for (const std::size_t i : randomOrder(lanes.size()))
        require(lanes[i].runBatch(), path.name + ": " + lanes[i].contender->name + " failed");
}

} // namespace

std::vector<std::size_t> randomOrder(std::size_t count) {
    static std::mt19937 random;
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::ranges::shuffle(order, random);
    return order;
}

void measure(const Path& path) {
    std::vector<Lane> lanes = lanesOf(path);
    const std::size_t firstAlternative = path.limit ? 2 : 1;
    const std::size_t firstReference = lanes.size() - path.references.size();
    const double end = now() + path.seconds;
    for (std::size_t round = 0; round < kFewestRounds || (now() < end && round < kMostRounds); ++round)
        runRound(path, lanes);

    for (const Lane& lane : lanes)
        printDetail(path.name, lane.contender->name, amount(lane.typical(), path.bytes));
    const Lane& ours = lanes.front();
    Row row{.path = path.name,
            .ours = amount(ours.typical(), path.bytes),
            .goal = goalText(path.goal, path.bytes)};
    bool isMet = path.goal.mostSeconds <= 0 || ours.typical() <= path.goal.mostSeconds;
    if (path.limit) {
        row.limit = amount(lanes[1].typical(), path.bytes);
        row.toLimit = ratio(ours, lanes[1]);
        isMet = isMet && (path.goal.mostToLimit <= 0 || row.toLimit.median <= path.goal.mostToLimit);
    }
    if (firstReference > firstAlternative) {
        const auto best = std::min_element(
            lanes.begin() + static_cast<std::ptrdiff_t>(firstAlternative),
            lanes.begin() + static_cast<std::ptrdiff_t>(firstReference),
            [](const Lane& left, const Lane& right) { return left.typical() < right.typical(); });
        row.alternative = amount(best->typical(), path.bytes) + " (" + best->contender->name + ")";
        row.toAlternative = ratio(ours, *best);
        isMet = isMet &&
                (path.goal.mostToAlternative <= 0 || row.toAlternative.median <= path.goal.mostToAlternative);
    }
    if (!row.goal.empty())
        row.isMet = isMet;
    print(row);
}

void measureGrowth(const Path& path, std::size_t size) {
    std::vector<Lane> lanes = lanesOf(path);
    for (std::size_t round = 0; round < kGrowthRounds; ++round)
        runRound(path, lanes);
    for (const Lane& lane : lanes)
        std::printf("point\t%s\t%llu\t%s\t%.9f\n", path.name.c_str(), static_cast<unsigned long long>(size),
                    lane.contender->name.c_str(), lane.typical());
    std::fflush(stdout);
}

// Prints tab-separated fields, from which bench/run.py builds the table.
void print(const Row& row) {
    const auto number = [](const Spread& ratios) {
        if (ratios.median < 0)
            return std::string();
        return format("%.2f", ratios.median) +
               (ratios.least < ratios.most ? format(" (%.2f to ", ratios.least) + format("%.2f)", ratios.most)
                                           : "");
    };
    std::printf("row\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n", row.path.c_str(), row.ours.c_str(),
                row.limit.c_str(), row.alternative.c_str(), number(row.toLimit).c_str(),
                number(row.toAlternative).c_str(), row.goal.c_str(),
                !row.isMet   ? ""
                : *row.isMet ? "yes"
                             : "no");
    std::fflush(stdout);
}

void printDetail(const std::string& path, const std::string& contender, const std::string& result) {
    std::printf("detail\t%s\t%s\t%s\n", path.c_str(), contender.c_str(), result.c_str());
}

double now() {
    static const double kPeriod = [] {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return 1 / static_cast<double>(frequency.QuadPart);
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) * kPeriod;
}

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Spread spread(std::vector<double> values) {
    if (values.empty())
        return {};
    const auto [least, most] = std::ranges::minmax(values);
    return {least, median(std::move(values)), most};
}

std::string format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

void fail(const std::string& what) {
    std::fprintf(stderr, "bench: %s\n", what.c_str());
    std::exit(1);
}

void require(bool holds, const std::string& what) {
    if (!holds)
        fail(what);
}

void keep(const void* value) {
    static const void* volatile kept;
    kept = value;
    static_cast<void>(kept);
}

std::wstring setting(const wchar_t* name) {
    wchar_t value[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
    require(length > 0 && length < MAX_PATH, "run the benchmarks with scripts/bench.sh");
    return value;
}

} // namespace bench
