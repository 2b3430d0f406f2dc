#pragma once

#include "account/fileprovider.h"
#include "content/weakregistry.h"
#include "modelbase_export.h"

#include <QString>

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
    WeakRegistry<QString, FileData> m_records;
};
