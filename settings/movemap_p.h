#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

/// The map of a move, which is stored until all is at its new place: for each account's id the
/// entries of its media folders, as JSON text.
namespace MoveMap
{

// Members of an entry, beside those that name its folder.
constexpr auto movedKey = [] { return QStringLiteral("moved"); };
/// Names of files that a person has skipped; only where there are some.
constexpr auto skippedKey = [] { return QStringLiteral("skipped"); };

/// The combinations of model source type and file type, each with its folder below an account's.
struct MediaFolder {
    int modelType;
    int fileType;
    QString path; // two file types share one
};

const QList<MediaFolder> &mediaFolders();
/// With a separator at its end, as all folders here.
QString accountFolder(const QString &id);
/// The folder of an entry, below its account's.
QString folderOf(const QVariantMap &entry);
QVariant toJsonText(const QVariantList &entries);
QVariantList fromJsonText(const QVariant &text);
/// The entries of one account, and their bytes added to `bytes`.
QVariantList surveyAccount(const QString &source, const QString &id, qint64 *bytes);
/// The stored map without what it cannot be trusted in: it says which folders are emptied.
QVariantMap readAccounts(const QByteArray &info);

/// A name below a directory that nothing else has: neither a person's files, nor those of a move to
/// another place, which may have been copied here.
QString nameOfOurs(const char *purpose, const QString &directory);
/// The file in which the copies for an account are made.
QString scratchFile(const QString &target, const QString &id);

} // namespace MoveMap
