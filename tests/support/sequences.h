#pragma once

#include <QTest>

#include <cstdio>
#include <functional>
#include <random>

/// One random sequence of operations on something that has states. Each step has random numbers of
/// its own: what an earlier step used up does not change them.
class Sequence
{
public:
    Sequence(unsigned seed, int steps) : m_seed(seed), m_steps(steps) { current() = this; }
    ~Sequence() { current() = nullptr; }
    Q_DISABLE_COPY_MOVE(Sequence)

    /// Begins the next step; false after the last one, and once something has failed.
    bool next()
    {
        if (m_step == m_steps || QTest::currentTestFailed())
            return false;
        std::seed_seq seeds{m_seed, unsigned(++m_step)};
        m_random.seed(seeds);
        return true;
    }
    /// A number from 0 to `bound` - 1; 0 for a bound below 2.
    int below(qsizetype bound) { return bound < 2 ? 0 : int(m_random() % std::size_t(bound)); }
    unsigned seed() const { return m_seed; }
    bool chance(int percent) { return below(100) < percent; }
    template <typename List>
    auto pick(const List &list)
    {
        return list[below(list.size())];
    }

    /// Notes what is being done, for the report of a failure.
    void note(const QString &what)
    {
        m_log += QStringLiteral("    %1: %2\n").arg(m_step).arg(what).toLocal8Bit();
    }
    /// Tells which sequence runs and what it did. Run on a failure; with AddressSanitizer also when
    /// the program is about to die.
    void report() const
    {
        std::fprintf(stderr, "Sequence of seed %u (again: SEQUENCE_SEED=%u SEQUENCES=1):\n%s",
                     m_seed, m_seed, m_log.constData());
    }
    /// The one that runs, or null.
    static Sequence *&current()
    {
        static Sequence *sequence = nullptr;
        return sequence;
    }

private:
    const unsigned m_seed;
    const int m_steps;
    int m_step = 0;
    std::minstd_rand m_random;
    QByteArray m_log;
};

/// Runs `run` for `count` sequences of `steps` steps, with the seeds 1, 2, 3..., until one fails,
/// and prints what was run. The environment may choose other numbers: SEQUENCES, SEQUENCE_SEED (the
/// first one) and SEQUENCE_STEPS.
inline void runSequences(const char *name, int count, int steps,
                         const std::function<void(Sequence &)> &run)
{
    const auto chosen = [](const char *variable, int otherwise) {
        bool ok = false;
        const int value = qEnvironmentVariableIntValue(variable, &ok);
        return ok ? value : otherwise;
    };
    count = chosen("SEQUENCES", count);
    steps = chosen("SEQUENCE_STEPS", steps);
    const unsigned first = unsigned(chosen("SEQUENCE_SEED", 1));
    int ran = 0;
    for (; ran < count && !QTest::currentTestFailed(); ++ran) {
        Sequence sequence(first + unsigned(ran), steps);
        run(sequence);
        if (QTest::currentTestFailed())
            sequence.report();
    }
    std::printf("%s: %d sequences of %d steps, seeds %u to %u\n", name, ran, steps, first,
                first + unsigned(ran) - 1);
    std::fflush(stdout);
}

#ifdef __SANITIZE_ADDRESS__
/// Called by AddressSanitizer before it reports.
extern "C" __attribute__((used, visibility("default"))) inline void __asan_on_error()
{
    if (const Sequence *sequence = Sequence::current())
        sequence->report();
}
#endif
