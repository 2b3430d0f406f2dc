#include "multimedia/mediareader_p.h"

#include "base/undying.h"
#include "multimedia/mediafile_p.h"

#include <QFileInfo>
#include <QLibrary>

#include <atomic>

#ifdef Q_OS_UNIX
#    include <dlfcn.h>
#endif

namespace multimedia
{
namespace
{

/// The reader's library is in the same directory as this one.
QString libraryPath()
{
    const QString name = QStringLiteral("modelbase_mediareader");
#ifdef Q_OS_UNIX
    Dl_info own;
    if (dladdr(reinterpret_cast<const void *>(&mediaReader), &own) != 0 && own.dli_fname)
        return QFileInfo(QFile::decodeName(own.dli_fname)).absolutePath() + u'/' + name;
#endif
    return name;
}

struct Loaded {
    MediaReader *reader = nullptr;
    QString path;
    QString why; // why there is none
};

Loaded load()
{
    QLibrary library(libraryPath(), MODELBASE_SOVERSION);
    using Instance = MediaReader *(*)();
    const auto instance =
        reinterpret_cast<Instance>(library.resolve("modelbase_media_reader_instance"));
    return {instance ? instance() : nullptr, library.fileName(), library.errorString()};
}

} // namespace

MediaReader *mediaReader()
{
    static const Loaded &loaded = undying(load());
    // Not during the loading: a handler of the log line may read a song.
    static std::atomic_bool isLogged = false;
    if (!loaded.reader && !isLogged.exchange(true)) {
        logFailure(QStringLiteral("cannot load the reader of songs and videos"), loaded.path,
                   loaded.why);
    }
    return loaded.reader;
}

} // namespace multimedia
