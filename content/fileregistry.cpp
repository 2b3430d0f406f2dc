#include "content/fileregistry.h"

#include "content/filedata.h"

#include <algorithm>

FileRegistry::FileRegistry() = default;

FileRegistry::~FileRegistry() = default;

QSharedPointer<FileData> FileRegistry::file(const QString &id)
{
    const std::lock_guard lock(m_mutex);
    return m_records.value(id).toStrongRef();
}

QSharedPointer<FileData> FileRegistry::add(const QSharedPointer<FileData> &record)
{
    const QString id = record ? record->fileId() : QString();
    if (id.isEmpty())
        return record;
    QSharedPointer<FileData> held;
    {
        const std::lock_guard lock(m_mutex);
        held = m_records.value(id).toStrongRef();
        if (!held) {
            // Once every doubling, so that adding stays cheap and dead entries never outnumber
            // the others for long.
            if (m_records.size() >= m_purgeAt) {
                m_records.removeIf([](const auto &entry) { return entry.value().isNull(); });
                m_purgeAt = std::max<qsizetype>(64, m_records.size() * 2);
            }
            m_records.insert(id, record);
        }
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
