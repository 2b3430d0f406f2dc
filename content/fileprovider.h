#pragma once

#include "modelbase_export.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QWeakPointer>

#include <mutex>

class FileData;

/// Where an account keeps the file records that its items and transfers share, so that a file has
/// one state, however many messages show it.
///
/// Thread: any.
class MODELBASE_EXPORT FileProvider
{
public:
    virtual ~FileProvider() = default;

    /// The record of a file; null when nobody holds one.
    virtual QSharedPointer<FileData> file(const QString &id) = 0;
    /// Registers a record and gives the one to use: the one that was there before when it says the
    /// same (FileData::isSameRecord), otherwise `record` itself. The first record of an id stays
    /// what file() gives, so that no message can change what another one shows. Null, and a record
    /// without an id, come back as they are.
    virtual QSharedPointer<FileData> add(const QSharedPointer<FileData> &record) = 0;
};

/// The provider of an account whose application sets none: it holds no record itself and forgets
/// those that nobody holds any more.
class MODELBASE_EXPORT FileRegistry : public FileProvider
{
public:
    FileRegistry();
    ~FileRegistry() override;

    QSharedPointer<FileData> file(const QString &id) override;
    QSharedPointer<FileData> add(const QSharedPointer<FileData> &record) override;
    /// How many entries there are, those of records that are gone and were not yet forgotten
    /// included.
    qsizetype entryCount() const;
    /// Forgets all records, also those that somebody holds.
    void clear();

private:
    mutable std::mutex m_mutex;
    QHash<QString, QWeakPointer<FileData>> m_records;
    qsizetype m_purgeAt = 64; // entries at which to look for dead ones next
};
