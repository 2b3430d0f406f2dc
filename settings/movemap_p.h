#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

/// The map of a move, stored until everything is at its new place: for each account's id the
/// entries of its media folders, as JSON text.
namespace MoveMap
{

// Members of an entry, besides those that name its folder.
constexpr auto movedKey = [] { return QStringLiteral("moved"); };
/// Names of files that the user has skipped; only if there are any.
constexpr auto skippedKey = [] { return QStringLiteral("skipped"); };

/// The combinations of model source type and file type, each with its folder below the account's.
struct MediaFolder {
    int modelType;
    int fileType;
    QString path; // two file types share one
};

const QList<MediaFolder> &mediaFolders();
/// With a separator at the end, as all folders here.
QString accountFolder(const QString &id);
/// The folder of an entry, below its account's.
QString folderOf(const QVariantMap &entry);
QVariant toJsonText(const QVariantList &entries);
QVariantList fromJsonText(const QVariant &text);
/// The entries of one account; adds their bytes to `bytes`.
QVariantList surveyAccount(const QString &source, const QString &id, qint64 *bytes);
/// The stored map without entries that cannot be trusted: it decides which folders are emptied.
QVariantMap readAccounts(const QByteArray &info);

/// A unique name below a directory: not one of the user's files, nor of a move to another place,
/// which may have been copied here.
QString nameOfOurs(const char *purpose, const QString &directory);
/// The file in which copies for an account are written.
QString scratchFile(const QString &target, const QString &id);

} // namespace MoveMap
