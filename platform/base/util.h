#pragma once

#include "base/base_export.h"

#include <QByteArrayView>
#include <QRegularExpression>
#include <QString>

/// Texts, paths, and the patterns that recognise links, addresses and tags in a text. Everything
/// here is reentrant; the expressions are compiled on first use and never freed.
class MODELBASE_BASE_EXPORT Util
{
public:
    // Recognisers. The `captured(0)` of each global match becomes an entity. All scripts are
    // supported, and matching takes time linear in the text, whatever it contains. A text that is
    // not valid UTF-16 has no match.

    /// Links: http, https and ftp with any host; "www." names; names that end in a well-known
    /// top-level domain; IPv4 addresses and localhost with a port (the address also with a path).
    /// Brackets stay balanced, punctuation at the end is excluded. No e-mail addresses, versions or
    /// file names; "notes.md" or "user.name" only with a path or a port.
    static const QRegularExpression &getRegularUrl();
    /// E-mail addresses: dot-atoms (RFC 5322, RFC 6532) before a host with a top-level domain.
    static const QRegularExpression &getRegularEmail();
    /// "@id": letters, marks, digits and underscores. A Latin id ends where a script without spaces
    /// between words begins, such as Chinese or Thai.
    static const QRegularExpression &getRegularImId();
    /// Phone numbers of 7 to 15 digits: with "+" (E.164), in groups ("(495) 123-45-67"), or at
    /// least nine digits without separators. No dates, IP addresses or amounts.
    static const QRegularExpression &getRegularPhoneNumber();
    /// "#tag": as an id, with at least one letter.
    static const QRegularExpression &getRegularHashTag();
    /// "/start" and "/start@bot", ASCII only. No paths.
    static const QRegularExpression &getRegularBotCmd();
    /// Positions in a video: "m:ss", "mm:ss", "h:mm:ss", "hh:mm:ss".
    static const QRegularExpression &getRegularTime();

    /// True when `text` is exactly one of the emoji that start a game: dice, darts, basketball,
    /// football, bowling or slot machine, with or without the variation selector U+FE0F.
    static bool isEmojiGame(const QString &text);

    /// Converts all of a UTF-8 text: QString::fromUtf8() drops U+FEFF at the start as a byte order
    /// mark, which would shift every offset into the text.
    static QString fromUtf8(QByteArrayView bytes);

    /// The platform's directory separator.
    static QString separator();
    /// The per-user directory for the client's data (QStandardPaths::AppDataLocation), ending in a
    /// separator. Not created.
    static QString defaultCacheDataDir();
    /// Creates `path` with all its parents. New directories are accessible to their owner only
    /// (0700), whatever the umask. Returns whether it is a directory afterwards; false with a log
    /// line.
    static bool mkpath(const QString &path);
    /// Deletes a directory and its content. Links, including `path` itself, are removed and never
    /// followed. True when it no longer exists or never did; false, with a log line, for a file, a
    /// root directory, an empty path, or when something inside cannot be deleted: everything else
    /// is deleted then.
    static bool removeLocalFolder(const QString &path);
    /// Returns when everything below a directory is on the disk, safe from a power cut. On Linux
    /// that writes the whole file system, and may take seconds. False when there is no such
    /// directory, or the system reports a write failure.
    static bool syncFolder(const QString &path);
    /// Whether any process, including this one, has the file open for writing. False if the system
    /// does not tell: only Linux does, and only for the user's own files.
    static bool isOpenForWriting(const QString &path);
    /// A local path from a path or a "file:" URL. Returns a path unchanged.
    static QString toLocalFile(const QString &pathOrUrl);
    /// A file name that is valid on any system, made from a name of unknown origin.
    ///
    /// Characters that are invalid on some system (control characters, <>:"/\|?*, half surrogate
    /// pairs) become "_"; characters that only change the text direction are removed; so are spaces
    /// at both ends and dots at the end. Names of Windows devices ("CON", "nul.txt") get a "_" in
    /// front. A name of more than 255 bytes in UTF-8 is shortened before its extension, by whole
    /// visible characters. Never empty, ".", or ".."; a safe name is returned unchanged.
    static QString safeFileName(const QString &name);
    /// A file name for display: without control characters and newlines, and without the characters
    /// that change the direction of text, which can show "gpj.exe" as "exe.jpg".
    static QString shownFileName(const QString &name);
    /// "name (2).jpg" from "name.jpg" and 2; the name itself for 0. If that exceeds 255 bytes in
    /// UTF-8, the part before the number is shortened, as by safeFileName().
    static QString numberedFileName(const QString &name, int number);
    /// A size for display, in steps of 1024 with one digit after the point: "0 B", "1.5 KB", "12.0
    /// MB". Negative sizes count as 0.
    static QString intToSizeStr(qint64 bytes);
};
