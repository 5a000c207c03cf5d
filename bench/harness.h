#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// \brief One way to do the work of a path.
struct Contender {
    std::string name;
    std::function<bool()> run; ///< Returns false on failure.
    /// Called before each run, outside the measured time. Without it, runs are measured in batches.
    std::function<void()> prepare{};
};

/// Upper bounds to meet; 0 means no bound.
struct Goal {
    double mostToLimit = 0;       ///< Our time divided by that of the limit.
    double mostToAlternative = 0; ///< Our time divided by that of the best alternative.
    double mostSeconds = 0;       ///< Our time for one call.
};

/// \brief An operation of the library, the limit that bounds it, and the alternatives that a user could pick.
struct Path {
    std::string name;
    Contender ours;
    std::optional<Contender> limit{};
    std::vector<Contender> alternatives{};
    std::vector<Contender> references{}; ///< These explain our time. They are not compared with it.
    Goal goal{};
    double bytes = 0;   ///< Processed by one call. If not 0, results are shown as MB/s.
    double seconds = 2; ///< Approximate time to measure.
};

/// The ratios of the rounds of a measurement. Negative if there are none.
struct Spread {
    double least = -1, median = -1, most = -1;
};
Spread spread(std::vector<double> values);

/// \brief Measures all contenders of a path in each round, in random order. Prints the row of the path.
///
/// Computes ratios within each round and reports their medians, because a temporary slowdown of the machine
/// affects all contenders of a round. Skips an alternative that fails here, and names it in the details.
void measure(const Path& path);

/// \brief Measures all contenders of a path in a few rounds. Prints the time of each as a point of a chart.
///
/// The name of the path is the name of the chart.
/// \param size The x value of the points, such as the number of keys or bytes.
void measureGrowth(const Path& path, std::size_t size);

/// A row of the table.
struct Row {
    std::string path{}, ours{}, limit{}, alternative{};
    Spread toLimit{}, toAlternative{};
    std::string goal{};
    std::optional<bool> isMet{};
};
void print(const Row& row);

/// Prints one line of the list of all contenders.
void printDetail(const std::string& path, const std::string& contender, const std::string& result);

/// Returns the indexes of a round's contenders in random order: each leaves work to the system, which slows
/// the next one.
std::vector<std::size_t> randomOrder(std::size_t count);

double now(); ///< Returns the monotonic time in seconds.
double median(std::vector<double> values);
std::string format(const char* format, double value);

/// Reports a failure and ends the program: figures of an operation that fails would mean nothing.
[[noreturn]] void fail(const std::string& what);
void require(bool holds, const std::string& what);

/// Keeps the compiler from removing the computation of a value.
void keep(const void* value);

/// Returns an environment variable that bench/run.py sets. Ends the program if it is missing.
std::wstring setting(const wchar_t* name);

} // namespace bench
