#pragma once

#include "base/base_export.h"

#include <QRegularExpression>
#include <QString>

/// Paths, and the patterns by which a text's links, addresses and tags are recognised.
/// Everything here is reentrant; the expressions are compiled on first use and live forever.
class BASE_EXPORT Util
{
public:
    // Recognisers. Each match of `captured(0)` is what becomes an entity.
    static const QRegularExpression &getRegularUrl();
    static const QRegularExpression &getRegularEmail();
    static const QRegularExpression &getRegularImId();
    static const QRegularExpression &getRegularPhoneNumber();
    static const QRegularExpression &getRegularHashTag();
    static const QRegularExpression &getRegularBotCmd();
    static const QRegularExpression &getRegularTime();

    /// True when `text` is one of the emoji that start a game (dice, darts, ...), alone.
    static bool isEmojiGame(const QString &text);

    /// The platform's directory separator.
    static QString separator();
    /// The per-user directory for the client's data, ending in a separator. Not created.
    static QString defaultCacheDataDir();
    /// Makes `path` with all its parents. True when it exists afterwards.
    static bool mkpath(const QString &path);
    /// Deletes a directory and all it holds; links inside are removed, never followed. True when it
    /// is gone afterwards.
    static bool removeLocalFolder(const QString &path);
    /// A local path from a path or a "file:" URL.
    static QString toLocalFile(const QString &pathOrUrl);
    /// A size for people: "0 B", "1.5 KB", "12.3 MB".
    static QString intToSizeStr(qint64 bytes);
};
