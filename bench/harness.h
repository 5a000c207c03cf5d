#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// \brief One way to do the work of a path.
struct Contender {
    std::string name;
    std::function<bool()> run; ///< False when it did not work.
    /// Called before each run and not measured. A run is measured alone then, otherwise in batches.
    std::function<void()> prepare{};
};

/// What is to be reached; what is left at 0 is not asked for.
struct Goal {
    double mostToLimit = 0;       ///< Our time, by that of the limit.
    double mostToAlternative = 0; ///< Our time, by that of the best alternative.
    double mostSeconds = 0;       ///< Our time for one call.
};

/// \brief A path of the library beside what bounds it and what a user would otherwise pick.
struct Path {
    std::string name;
    Contender ours;
    std::optional<Contender> limit{};
    std::vector<Contender> alternatives{};
    Goal goal{};
    double bytes = 0;   ///< Of one call; with it, results are shown as MB/s.
    double seconds = 2; ///< How long to measure, about.
};

/// \brief Measures all contenders of a path in turn, round by round, and prints the row of the path.
///
/// Ratios are made within a round, and their medians are told: what slows the machine down for a while slows
/// all contenders of a round. An alternative that does not work here is left out and named.
void measure(const Path& path);

/// A row of the table that was measured in another way. Numbers below 0 are left out.
struct Row {
    std::string path{}, ours{}, limit{}, alternative{};
    double toLimit = -1;
    double toAlternative = -1;
    std::string goal{};
    std::optional<bool> isMet{};
};
void print(const Row& row);

/// A line of the list of all contenders.
void printDetail(const std::string& path, const std::string& contender, const std::string& result);

double now(); ///< Seconds.
double median(std::vector<double> values);
std::string format(const char* format, double value);

/// Reports and ends the program: what is measured does not work, so figures would mean nothing.
[[noreturn]] void fail(const std::string& what);
void require(bool holds, const std::string& what);

/// Keeps the compiler from leaving out the work that led to a value.
void keep(const void* value);

/// The setting that the script has made in the environment.
std::wstring setting(const wchar_t* name);

} // namespace bench
