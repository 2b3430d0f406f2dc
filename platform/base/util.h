#pragma once

#include "base/base_export.h"

#include <QByteArrayView>
#include <QRegularExpression>
#include <QString>

/// Texts, paths, and the patterns by which a text's links, addresses and tags are recognised.
/// Everything here is reentrant; the expressions are compiled on first use and live forever.
class MODELBASE_BASE_EXPORT Util
{
public:
    // Recognisers. Each `captured(0)` of a global match is what becomes an entity. All scripts
    // count, and all of them take time in proportion to the text, whatever stands in it. A text
    // that is not valid UTF-16 has no match.

    /// Links: http, https and ftp with any host; "www." names; names that end in a well-known
    /// top-level domain; IPv4 addresses and localhost with a port (the address also with a path).
    /// Brackets stay balanced, punctuation at the end is left out. No e-mail addresses, versions or
    /// file names; "notes.md" or "user.name" only with a path or a port.
    static const QRegularExpression &getRegularUrl();
    /// E-mail addresses: dot-atoms (RFC 5322, RFC 6532) before a host with a top-level domain.
    static const QRegularExpression &getRegularEmail();
    /// "@id": letters, marks, digits and underscores. A Latin id ends where Chinese, Thai and the
    /// like begin, which put no space between words.
    static const QRegularExpression &getRegularImId();
    /// Phone numbers of 7 to 15 digits: with "+" (E.164), in groups ("(495) 123-45-67"), or nine
    /// and more digits without anything between. No dates, IP addresses or amounts.
    static const QRegularExpression &getRegularPhoneNumber();
    /// "#tag": as an id, with at least one letter.
    static const QRegularExpression &getRegularHashTag();
    /// "/start" and "/start@bot", ASCII only. No paths.
    static const QRegularExpression &getRegularBotCmd();
    /// Positions in a video: "m:ss", "mm:ss", "h:mm:ss", "hh:mm:ss".
    static const QRegularExpression &getRegularTime();

    /// True when `text` is one of the emoji that start a game, alone: dice, darts, basketball,
    /// football, bowling or slot machine, with or without the variation selector U+FE0F.
    static bool isEmojiGame(const QString &text);

    /// A text from UTF-8, all of it: QString::fromUtf8() takes U+FEFF at the start for a byte order
    /// mark and drops it, and with it the place of every offset into the text.
    static QString fromUtf8(QByteArrayView bytes);

    /// The platform's directory separator.
    static QString separator();
    /// The per-user directory for the client's data (QStandardPaths::AppDataLocation), ending in a
    /// separator. Not created.
    static QString defaultCacheDataDir();
    /// Makes `path` with all its parents. Those that are made are their owner's alone (0700),
    /// whatever the umask says. True when it is a directory afterwards; else false, with a log line.
    static bool mkpath(const QString &path);
    /// Deletes a directory and all it holds. Links, `path` itself included, are removed and never
    /// followed. True when it is gone afterwards or was never there; false, with a log line, for a
    /// file, a root directory, an empty path, or when something inside cannot be deleted: all else
    /// is gone then.
    static bool removeLocalFolder(const QString &path);
    /// Returns when everything below a directory is on the disk, where a power cut does not harm it.
    /// On Linux that is all the file system has to write, and may take seconds. False when there is
    /// no such directory, or the system reports that it could not be written.
    static bool syncFolder(const QString &path);
    /// Whether some process, this one included, has the file open for writing. False where the
    /// system does not tell: that it is only known on Linux, for files of one's own.
    static bool isOpenForWriting(const QString &path);
    /// A local path from a path or a "file:" URL. A path is returned as it is.
    static QString toLocalFile(const QString &pathOrUrl);
    /// A name that a file can be given on any system, made of one that came from somewhere else.
    ///
    /// What is no part of a name anywhere (control characters, <>:"/\|?*, half surrogate pairs)
    /// becomes "_"; characters that only change the direction of what follows go; so do spaces at
    /// both ends and dots at the last. Names of Windows devices ("CON", "nul.txt") get a "_" in
    /// front. A name of more than 255 bytes in UTF-8 loses the end of what stands before its
    /// extension, whole characters of it as people see them. Never empty, ".", or ".."; a safe name
    /// comes back as it is.
    static QString safeFileName(const QString &name);
    /// The name of a file as people may see it: without control characters and newlines, and without
    /// the characters that change the direction of text, which can show "gpj.exe" as "exe.jpg".
    static QString shownFileName(const QString &name);
    /// "name (2).jpg" of "name.jpg" and 2; the name itself for 0. Where that is longer than 255
    /// bytes in UTF-8, the end of what stands before the number is cut off, as safeFileName() does.
    static QString numberedFileName(const QString &name, int number);
    /// A size for people, in steps of 1024 with one digit after the point: "0 B", "1.5 KB",
    /// "12.0 MB". Negative sizes count as 0.
    static QString intToSizeStr(qint64 bytes);
};
