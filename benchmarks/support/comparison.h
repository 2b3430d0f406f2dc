#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

/// Our time against a hand-written alternative, measured in the same run.
namespace comparison
{

/// One side of a comparison: a Google Benchmark body, with its loop over `state`.
using Body = std::function<void(benchmark::State &)>;

/// One row of the table. `most` is the ratio (ours / baseline) that the row should not exceed.
void add(const std::string &subject, double most, Body ours, Body baseline);

/// One row about memory: bytes measured once, by functions that build an object and return its
/// size.
void addBytes(const std::string &subject, double most, std::function<double()> ours,
              std::function<double()> baseline);

/// Runs every row under a QGuiApplication and prints the table: subject, ours, baseline, ratio,
/// target. The two sides of a row alternate, a few hundredths of a second each; times and ratio are
/// medians over these pairs, so that other load on the machine affects both sides alike.
/// --benchmark_filter=REGEX selects rows by subject.
int run(int argc, char **argv);

} // namespace comparison

#define COMPARISON_MAIN(addRows)                                                                   \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        addRows();                                                                                 \
        return comparison::run(argc, argv);                                                        \
    }
