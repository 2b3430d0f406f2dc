#pragma once

#include "account/fileprovider.h"
#include "modelbase_export.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QWeakPointer>

#include <mutex>

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
