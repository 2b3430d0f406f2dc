#include "support/comparison.h"

#include <QGuiApplication>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace comparison
{
namespace
{

struct Row {
    std::string subject;
    double most = 0;
    bool isTime = true;
    double ours = 0;
    double baseline = 0;
};

std::vector<Row> &rows()
{
    static std::vector<Row> all;
    return all;
}

struct BytesRow {
    std::size_t row;
    std::function<double()> ours;
    std::function<double()> baseline;
};

std::vector<BytesRow> &bytesRows()
{
    static std::vector<BytesRow> all;
    return all;
}

/// Collects what Google Benchmark measures; the table is printed at the end.
class Collector : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &report) override
    {
        for (const Run &run : report) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(),
                             run.error_message.c_str());
                m_failed = true;
            } else if (run.run_type == Run::RT_Iteration) {
                m_times[run.run_name.function_name].push_back(
                    run.real_accumulated_time / double(std::max<std::int64_t>(1, run.iterations)));
            }
        }
    }

    /// Seconds an iteration, the median of all repetitions; 0 when the filter left it out.
    double median(const std::string &name)
    {
        std::vector<double> &times = m_times[name];
        if (times.empty())
            return 0;
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }

    bool failed() const { return m_failed; }

private:
    std::map<std::string, std::vector<double>> m_times;
    bool m_failed = false;
};

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
    rows().push_back({subject, most, true, 0, 0});
    benchmark::RegisterBenchmark((subject + "|ours").c_str(), std::move(ours))->UseRealTime();
    benchmark::RegisterBenchmark((subject + "|baseline").c_str(), std::move(baseline))
        ->UseRealTime();
}

void addBytes(const std::string &subject, double most, std::function<double()> ours,
              std::function<double()> baseline)
{
    bytesRows().push_back({rows().size(), std::move(ours), std::move(baseline)});
    rows().push_back({subject, most, false, 0, 0});
}

int run(int argc, char **argv)
{
    std::vector<char *> arguments(argv, argv + argc);
    static char repetitions[] = "--benchmark_repetitions=5";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char shorter[] = "--benchmark_min_time=0.2";
    // Before the user's own arguments, so that those win.
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, shorter});
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    QGuiApplication app(count, arguments.data());

    for (const BytesRow &bytes : bytesRows()) {
        rows()[bytes.row].baseline = bytes.baseline();
        rows()[bytes.row].ours = bytes.ours();
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    for (Row &row : rows()) {
        if (row.isTime) {
            row.ours = collector.median(row.subject + "|ours");
            row.baseline = collector.median(row.subject + "|baseline");
        }
        if (row.ours <= 0 || row.baseline <= 0)
            continue;
        const double ratio = row.ours / row.baseline;
        std::printf("%-58s %12s %12s %8.2f %8.2f  %s\n", row.subject.c_str(),
                    readable(row.ours, row.isTime).c_str(),
                    readable(row.baseline, row.isTime).c_str(), ratio, row.most,
                    ratio <= row.most ? "ok" : "MISSED");
    }
    return collector.failed() ? 1 : 0;
}

} // namespace comparison
