#include "content/fileregistry.h"

#include "content/filedata.h"

FileRegistry::FileRegistry() = default;

FileRegistry::~FileRegistry() = default;

QSharedPointer<FileData> FileRegistry::file(const QString &id)
{
    const std::lock_guard lock(m_mutex);
    return m_records.value(id);
}

QSharedPointer<FileData> FileRegistry::add(const QSharedPointer<FileData> &record)
{
    const QString id = record ? record->fileId() : QString();
    if (id.isEmpty())
        return record;
    QSharedPointer<FileData> held;
    {
        const std::lock_guard lock(m_mutex);
        QWeakPointer<FileData> &entry = m_records.entry(id);
        held = entry.toStrongRef();
        if (!held)
            entry = record;
    }
    return held && held->isSameRecord(*record) ? held : record;
}

void FileRegistry::clear()
{
    const std::lock_guard lock(m_mutex);
    m_records.clear();
}

qsizetype FileRegistry::entryCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_records.size();
}
