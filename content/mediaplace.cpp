#include "content/mediaplace_p.h"

#include "base/undying.h"
#include "content/modelbaseutil.h"
#include "settings/appdirmanager.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <utility>

namespace
{

const QSet<QString> &mediaFolders()
{
    static const auto &folders = undying([] {
        QSet<QString> all;
        for (int modelType = 1; modelType <= 256; modelType *= 2) {
            for (int fileType = 0; fileType <= 13; ++fileType) {
                const QString folder = ModelBaseUtil::makeMediaPath({}, modelType, fileType);
                all.insert(QDir::fromNativeSeparators(folder).chopped(1));
            }
        }
        return all;
    }());
    return folders;
}

bool isAccountId(QStringView text)
{
    bool ok = false;
    const qint64 id = text.toLongLong(&ok);
    return ok && id > 0 && QString::number(id) == text;
}

bool isBelow(const QString &path, const QString &dir)
{
    const auto clean = [](const QString &text) {
        return QDir::cleanPath(QDir::fromNativeSeparators(text));
    };
    return clean(path).startsWith(clean(dir) + u'/');
}

/// What may be the place of a media file below a cache data directory: the outermost folder that is
/// called as an account's media first.
QStringList mediaNames(const QString &path)
{
    QString clean = path;
    if (clean.size() > 2 && (clean.at(1) == u':' || clean.startsWith(u"\\\\")))
        clean.replace(u'\\', u'/'); // of another system
    clean = QDir::cleanPath(QDir::fromNativeSeparators(clean));
    const QStringList parts = clean.split(u'/');
    QStringList names;
    for (qsizetype i = 0; i + 2 < parts.size(); ++i) {
        if (isAccountId(parts.at(i))
            && (mediaFolders().contains(parts.at(i + 1))
                || mediaFolders().contains(parts.at(i + 1) + u'/' + parts.at(i + 2))))
            names.append(parts.mid(i).join(u'/'));
    }
    return names;
}

} // namespace

QString findMediaFile(const QString &path)
{
    if (path.isEmpty())
        return {};
    const AppDirManager *dirs = AppDirManager::instance();
    const auto find = [&](const QString &name) {
        for (const QString &dir : dirs->mediaDirs()) {
            const QString place = dir + QDir::toNativeSeparators(name);
            if (QFileInfo::exists(place))
                return place;
        }
        return QString();
    };
    // As long as a move has not removed the original, that counts. But in the directory in use,
    // which a move back may have made of an old one, something else has the name.
    const QString name = dirs->renamed(path);
    const QString renamed = name.isEmpty() ? QString() : find(name);
    if (!renamed.isEmpty() && isBelow(path, dirs->mediaDirs().first()))
        return renamed;
    if (QFileInfo::exists(path))
        return path;
    if (!renamed.isEmpty())
        return renamed;
    const QStringList likelyNames = mediaNames(path);
    if (likelyNames.isEmpty())
        return {};
    // Search the old place first: the directory in use may have a new file of the same name.
    // Farther back lies what was left when a move was given up.
    QStringList places = dirs->mediaDirs();
    std::reverse(places.begin(), places.end());
    places += dirs->everyDir();
    for (const QString &likely : likelyNames) {
        for (const QString &dir : std::as_const(places)) {
            const QString place = dir + QDir::toNativeSeparators(likely);
            if (QFileInfo::exists(place))
                return place;
        }
    }
    return {};
}
