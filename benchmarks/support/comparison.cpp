#include "support/comparison.h"

#include <QGuiApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <iterator>
#include <regex>
#include <vector>

namespace comparison
{
namespace
{

/// The number of pairs of runs, unless they take too long.
constexpr int mostPairs = 30;
constexpr int leastPairs = 5;
constexpr std::chrono::seconds longEnough{4};

struct Row {
    std::string subject;
    double most = 0;
    std::function<double()> bytesOfOurs = {}; ///< for rows about memory
    std::function<double()> bytesOfBaseline = {};

    // The measurements: seconds per iteration, or bytes.
    std::vector<double> ours = {};
    std::vector<double> baseline = {};
    std::chrono::steady_clock::duration taken{};

    bool isTime() const { return !bytesOfOurs; }
    bool isDone() const
    {
        return int(ours.size()) >= mostPairs
            || (int(ours.size()) >= leastPairs && taken >= longEnough);
    }
};

std::vector<Row> &rows()
{
    static std::vector<Row> all;
    return all;
}

/// The name of one side of a row: by row number, since subjects contain characters with a meaning
/// in filters.
std::string sideName(std::size_t row, const char *side)
{
    return std::to_string(row) + '|' + side;
}

/// Receives the time of one side from Google Benchmark.
class Collector : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &report) override
    {
        for (const Run &run : report) {
            if (run.error_occurred)
                m_error = run.error_message;
            else
                m_time =
                    run.real_accumulated_time / double(std::max<std::int64_t>(1, run.iterations));
        }
    }

    /// Runs a side; returns seconds per iteration, 0 when it failed.
    double run(std::size_t row, const char *side)
    {
        m_time = 0;
        benchmark::RunSpecifiedBenchmarks(this, '^' + std::to_string(row) + "\\|" + side);
        return m_error.empty() ? m_time : 0;
    }

    const std::string &error() const { return m_error; }

private:
    double m_time = 0;
    std::string m_error;
};

/// Runs one more pair. False when a side failed.
bool runPair(std::size_t number)
{
    Row &row = rows()[number];
    Collector collector;
    const auto begin = std::chrono::steady_clock::now();
    const double baseline = collector.run(number, "baseline");
    const double ours = collector.run(number, "ours");
    row.taken += std::chrono::steady_clock::now() - begin;
    if (ours <= 0 || baseline <= 0) {
        std::fprintf(stderr, "%s: %s\n", row.subject.c_str(), collector.error().c_str());
        return false;
    }
    row.ours.push_back(ours);
    row.baseline.push_back(baseline);
    return true;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string readable(double value, bool isTime)
{
    struct Unit {
        double size;
        const char *name;
    };
    static constexpr Unit times[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    static constexpr Unit sizes[] = {{1 << 20, "MiB"}, {1 << 10, "KiB"}, {1, "B"}};
    const Unit *unit = isTime ? std::begin(times) : std::begin(sizes);
    const Unit *last = (isTime ? std::end(times) : std::end(sizes)) - 1;
    while (unit != last && value < unit->size)
        ++unit;
    char text[32];
    std::snprintf(text, sizeof text, "%.2f %s", value / unit->size, unit->name);
    return text;
}

} // namespace

void add(const std::string &subject, double most, Body ours, Body baseline)
{
    const std::size_t number = rows().size();
    rows().push_back({subject, most});
    benchmark::RegisterBenchmark(sideName(number, "ours").c_str(), std::move(ours))->UseRealTime();
    benchmark::RegisterBenchmark(sideName(number, "baseline").c_str(), std::move(baseline))
        ->UseRealTime();
}

void addBytes(const std::string &subject, double most, std::function<double()> ours,
              std::function<double()> baseline)
{
    rows().push_back({subject, most, std::move(ours), std::move(baseline)});
}

int run(int argc, char **argv)
{
    std::vector<char *> arguments(argv, argv + argc);
    static char shorter[] = "--benchmark_min_time=0.02";
    // Before the user's own arguments, so that those take precedence.
    arguments.insert(arguments.begin() + 1, shorter);
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    QGuiApplication app(count, arguments.data());

    const std::regex filter(benchmark::GetBenchmarkFilter());
    std::vector<std::size_t> wanted;
    for (std::size_t i = 0; i < rows().size(); ++i) {
        if (std::regex_search(rows()[i].subject, filter))
            wanted.push_back(i);
    }
    // Bytes first, while the heap is not fragmented.
    for (std::size_t number : wanted) {
        Row &row = rows()[number];
        if (row.isTime())
            continue;
        row.baseline.push_back(row.bytesOfBaseline());
        row.ours.push_back(row.bytesOfOurs());
    }
    for (int pair = 0; pair < mostPairs; ++pair) {
        for (std::size_t number : wanted) {
            const Row &row = rows()[number];
            if (row.isTime() && !row.isDone() && !runPair(number))
                return 1;
        }
    }

    for (std::size_t number : wanted) {
        const Row &row = rows()[number];
        std::vector<double> ratios;
        std::transform(row.ours.begin(), row.ours.end(), row.baseline.begin(),
                       std::back_inserter(ratios), std::divides<>());
        const double ratio = median(ratios);
        std::printf("%-58s %12s %12s %8.2f %8.2f  %s\n", row.subject.c_str(),
                    readable(median(row.ours), row.isTime()).c_str(),
                    readable(median(row.baseline), row.isTime()).c_str(), ratio, row.most,
                    ratio <= row.most ? "ok" : "MISSED");
    }
    return 0;
}

} // namespace comparison
