#include "support/comparison.h"

#include <QProcess>
#include <QString>

// The cost of linking the library before calling anything in it.

namespace
{

void start(benchmark::State &state, const char *program)
{
    for (auto _ : state) {
        if (QProcess::execute(QString::fromUtf8(program)) != 0)
            state.SkipWithError("not run");
    }
}

void addRows()
{
    comparison::add(
        "start of a program that links the library, calls nothing", 1.3,
        [](benchmark::State &state) { start(state, START_LINKED); },
        [](benchmark::State &state) { start(state, START_PLAIN); });
}

} // namespace

COMPARISON_MAIN(addRows)
