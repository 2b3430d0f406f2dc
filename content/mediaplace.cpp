#include "content/mediaplace_p.h"

#include "content/modelbaseutil.h"
#include "settings/appdirmanager.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace
{

const QSet<QString> &mediaFolders()
{
    static const QSet<QString> folders = [] {
        QSet<QString> all;
        for (int modelType = 1; modelType <= 256; modelType *= 2) {
            for (int fileType = 0; fileType <= 13; ++fileType) {
                const QString folder = ModelBaseUtil::makeMediaPath({}, modelType, fileType);
                all.insert(QDir::fromNativeSeparators(folder).chopped(1));
            }
        }
        return all;
    }();
    return folders;
}

bool isAccountId(QStringView text)
{
    bool ok = false;
    const qint64 id = text.toLongLong(&ok);
    return ok && id > 0 && QString::number(id) == text;
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
    if (const QString name = dirs->renamed(path); !name.isEmpty()) {
        if (const QString place = find(name); !place.isEmpty())
            return place;
    }
    if (QFileInfo::exists(path))
        return path;
    for (const QString &name : mediaNames(path)) {
        if (const QString place = find(name); !place.isEmpty())
            return place;
    }
    return {};
}
