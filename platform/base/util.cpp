#include "base/util.h"

#include "base/privatefile.h"
#include "imlog/imlog.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QUrl>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <vector>

namespace
{

Q_LOGGING_CATEGORY(log, "im.base")

/// Removes everything that can be removed, and returns the first reason why something cannot.
void removeTree(const std::filesystem::path &path, QString *obstacle)
{
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(path, error))) {
        std::vector<fs::path> entries;
        for (fs::directory_iterator it(path, error); !error && it != fs::directory_iterator();
             it.increment(error))
            entries.push_back(it->path());
        for (const fs::path &entry : entries)
            removeTree(entry, obstacle);
    }
    fs::remove(path, error);
    if (error && obstacle->isEmpty()) {
        *obstacle = QStringLiteral("%1: %2").arg(QFileInfo(path).filePath(),
                                                 QString::fromLocal8Bit(error.message().c_str()));
    }
}

} // namespace

bool Util::isEmojiGame(const QString &text)
{
    static constexpr QStringView games[] = {u"🎲", u"🎯", u"🏀", u"⚽", u"🎳", u"🎰"};
    QStringView emoji = text;
    if (emoji.endsWith(QChar(0xfe0f))) // the emoji selector, which some keyboards add
        emoji.chop(1);
    return std::find(std::begin(games), std::end(games), emoji) != std::end(games);
}

QString Util::fromUtf8(QByteArrayView bytes)
{
    if (!bytes.startsWith("\xEF\xBB\xBF"))
        return QString::fromUtf8(bytes);
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringConverter::Utf8, Flag::ConvertInitialBom | Flag::Stateless);
    return decoder(bytes);
}

QString Util::separator()
{
    return QString(QDir::separator());
}

QString Util::defaultCacheDataDir()
{
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return QDir::toNativeSeparators(dir) + separator();
}

bool Util::mkpath(const QString &path)
{
    if (!path.isEmpty() && privatefile::makeDirectory(path))
        return true;
    ImLog::error(log(), QStringLiteral("Cannot make directory \"%1\"").arg(path));
    return false;
}

bool Util::removeLocalFolder(const QString &path)
{
    // Without its last slash: "link/" would name the target of the link.
    const QString clean = QDir::cleanPath(path);
    if (clean.isEmpty() || QDir(clean).isRoot()) {
        ImLog::error(log(), QStringLiteral("Refused to remove \"%1\"").arg(path));
        return false;
    }
    const QFileInfo info(clean);
    const bool isLink = info.isSymbolicLink() || info.isJunction();
    if (!info.exists() && !isLink)
        return true;
    if (!info.isDir() && !isLink) {
        ImLog::error(log(), QStringLiteral("Not a directory, not removed: \"%1\"").arg(path));
        return false;
    }
    QString obstacle;
    removeTree(info.filesystemFilePath(), &obstacle);
    if (!obstacle.isEmpty())
        ImLog::error(log(), QStringLiteral("Cannot remove \"%1\" - %2").arg(path, obstacle));
    return obstacle.isEmpty();
}

QString Util::toLocalFile(const QString &pathOrUrl)
{
    if (pathOrUrl.startsWith(QLatin1StringView("file:"), Qt::CaseInsensitive))
        return QUrl(pathOrUrl).toLocalFile();
    return pathOrUrl;
}

QString Util::intToSizeStr(qint64 bytes)
{
    const QString units[] = {
        QStringLiteral(" B"),  QStringLiteral(" KB"), QStringLiteral(" MB"), QStringLiteral(" GB"),
        QStringLiteral(" TB"), QStringLiteral(" PB"), QStringLiteral(" EB"),
    };
    if (bytes < 1024)
        return QString::number(std::max<qint64>(bytes, 0)) + units[0];
    double size = double(bytes);
    const QString *unit = units;
    // A value that would be rounded to "1024.0" uses the next unit.
    for (; size >= 1023.95; ++unit)
        size /= 1024;
    return QString::number(size, 'f', 1) + *unit;
}
