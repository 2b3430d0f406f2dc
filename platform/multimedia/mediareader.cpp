#include "multimedia/mediareader_p.h"

#include "multimedia/mediafile_p.h"

#include <QFileInfo>
#include <QLibrary>

#ifdef Q_OS_UNIX
#    include <dlfcn.h>
#endif

namespace multimedia
{
namespace
{

/// The reader's library lies beside this one, wherever that is.
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

MediaReader *load()
{
    QLibrary library(libraryPath(), 0);
    using Instance = MediaReader *(*)();
    if (const auto instance =
            reinterpret_cast<Instance>(library.resolve("modelbase_media_reader_instance")))
        return instance();
    logFailure(QStringLiteral("cannot load the reader of songs and videos"), library.fileName(),
               library.errorString());
    return nullptr;
}

} // namespace

MediaReader *mediaReader()
{
    static MediaReader *const reader = load();
    return reader;
}

} // namespace multimedia
