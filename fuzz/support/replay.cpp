// replay_<name> COUNT [FILE|FOLDER]...: runs a fuzz target on these files, then on COUNT damaged
// copies, the same ones each time. A file named "dictionary" holds words to insert.

#include "support/fuzzing.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>

#include <csignal>
#include <cstdio>
#include <random>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

#if defined(__SANITIZE_ADDRESS__)
// Makes every end of the process report the number of the input.
extern "C" Q_DECL_EXPORT const char *__asan_default_options()
{
    return "handle_abort=0:abort_on_error=1";
}
extern "C" Q_DECL_EXPORT const char *__ubsan_default_options()
{
    return "abort_on_error=1";
}
// Leaks are searched for while the application exists, so that its objects are not reported.
extern "C" Q_DECL_EXPORT const char *__lsan_default_options()
{
    return "leak_check_at_exit=0";
}
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace
{

int number = 0;

QByteArray read(const QString &path)
{
    QFile file(path);
    fuzzing::check(file.open(QIODevice::ReadOnly), "a seed can be read");
    return file.readAll();
}

/// "\x41", "\\" and "\"" each stand for one byte.
QByteArrayList wordsOf(const QByteArray &dictionary)
{
    QByteArrayList words;
    for (const QByteArray &line : dictionary.split('\n')) {
        if (!line.startsWith('"'))
            continue;
        QByteArray word = line.sliced(1, line.lastIndexOf('"') - 1);
        for (qsizetype at = 0; (at = word.indexOf('\\', at)) >= 0; ++at) {
            if (word.mid(at + 1, 1) == "x")
                word.replace(at, 4, QByteArray::fromHex(word.mid(at + 2, 2)));
            else
                word.remove(at, 1);
        }
        words.append(word);
    }
    return words;
}

void damage(QByteArray &bytes, const QByteArrayList &words, std::mt19937 &random)
{
    const auto below = [&random](qsizetype limit) { return qsizetype(random()) % limit; };
    const qsizetype at = below(bytes.size() + 1);
    switch (below(6)) {
    case 0:
        bytes.truncate(at);
        break;
    case 1:
        bytes.remove(at, below(20));
        break;
    case 2:
        bytes.insert(at, bytes.mid(below(bytes.size() + 1), below(40)));
        break;
    case 3:
        bytes.insert(
            at, words.isEmpty() ? QByteArray(1, char(random())) : words.at(below(words.size())));
        break;
    case 4:
        bytes.replace(at, 1, QByteArray(1, char(random())));
        break;
    default:
        bytes.replace(at, 1, QByteArray(1, char((bytes + '\0').at(at) ^ (1 << below(8)))));
    }
}

} // namespace

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    std::signal(SIGABRT, [](int) { std::fprintf(stderr, "This was input %d.\n", number); });
    const QStringList arguments = QCoreApplication::arguments();
    QStringList paths;
    for (const QString &path : arguments.sliced(2)) {
        paths.append(path);
        for (QDirIterator entry(path, QDir::Files); entry.hasNext();)
            paths.append(entry.next());
    }
    paths.removeIf([](const QString &path) { return !QFileInfo(path).isFile(); });
    paths.sort();
    QByteArrayList words;
    QByteArrayList seeds;
    for (const QString &path : std::as_const(paths)) {
        if (path.endsWith(u"/dictionary"))
            words = wordsOf(read(path));
        else
            seeds.append(read(path));
    }

    for (const QByteArray &seed : std::as_const(seeds)) {
        ++number;
        fuzzOne(seed);
    }
    std::mt19937 random(7);
    for (const int last = number + arguments.at(1).toInt(); number < last;) {
        QByteArray bytes = seeds.isEmpty() ? QByteArray() : seeds.at(number % seeds.size());
        while (seeds.isEmpty() && bytes.size() < qsizetype(number % 500))
            bytes += char(random());
        for (int changes = 1 + int(random() % 4); changes > 0; --changes)
            damage(bytes, words, random);
        ++number;
        fuzzOne(bytes);
    }
    std::printf("%d inputs, of %d seeds and %d words\n", number, int(seeds.size()),
                int(words.size()));
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check();
#endif
}
