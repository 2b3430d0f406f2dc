#include "support/fuzzing.h"

#include <QFile>
#include <QGuiApplication>
#include <QHashSeed>
#include <QTemporaryDir>
#include <QtEndian>

#include <google/protobuf/stubs/logging.h>

#include <cstdio>
#include <cstdlib>

void fuzzing::check(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "ERROR: this does not hold: %s\n", what);
    std::abort();
}

QString fuzzing::text(QByteArrayView input)
{
    if (input.isEmpty())
        return {};
    const QByteArrayView bytes = input.sliced(1);
    if (input.front() % 2 == 0)
        return QString::fromUtf8(bytes);
    QString text(bytes.size() / 2, Qt::Uninitialized);
    qFromLittleEndian<char16_t>(bytes.data(), text.size(), text.data());
    return text;
}

QDir fuzzing::folderWith(const QString &name, QByteArrayView content)
{
    static const QTemporaryDir directory;
    const QDir folder(directory.path());
    for (const QString &left : folder.entryList(QDir::Files | QDir::Hidden | QDir::System))
        QFile::remove(folder.filePath(left));
    QFile file(folder.filePath(name));
    check(file.open(QIODevice::WriteOnly)
              && file.write(content.data(), content.size()) == content.size(),
          "the input can be written down");
    return folder;
}

/// Memory that the libraries below Qt keep until the process ends.
extern "C" Q_DECL_EXPORT const char *__lsan_default_suppressions()
{
    return "leak:libfontconfig.so\nleak:libfreetype.so\nleak:libQt6Gui.so\n";
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // No place to write to: an input leaves nothing behind for the next one, and no log files fill
    // up.
    for (const char *home : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
        qputenv(home, "/dev/null");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    google::protobuf::SetLogHandler(nullptr);
    // The same input always takes the same path.
    QHashSeed::setDeterministicGlobalSeed();
    static QGuiApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzOne(QByteArrayView(data, qsizetype(size)));
    return 0;
}
