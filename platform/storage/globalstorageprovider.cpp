#include "storage/globalstorageprovider.h"

#include "storage/database_p.h"
#include "storage/rowstorage_p.h"
#include "storage/settingstorage.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace storage
{
GlobalStorageProvider::GlobalStorageProvider(QObject *parent)
    : QObject(parent),
      m_database(std::make_shared<Database>(SchemaSteps{settingSchema}, Database::OneProcess)),
      m_settings(std::make_unique<SettingStorage>(m_database))
{
}

GlobalStorageProvider::~GlobalStorageProvider()
{
    close();
}

bool GlobalStorageProvider::open()
{
    if (m_database->isOpen() || m_database->open(filePath()))
        return true;
    m_database->retryOpening();
    return false;
}

bool GlobalStorageProvider::isOpen() const
{
    return m_database->isOpen();
}

bool GlobalStorageProvider::recovered() const
{
    return m_database->recovered();
}

bool GlobalStorageProvider::removeSetAside()
{
    const QFileInfo database(filePath());
    QDir directory = database.dir();
    bool removed = true;
    for (const char *suffix : {".damaged-*", "-recovering*"}) {
        const QString names = database.fileName() + QLatin1StringView(suffix);
        for (const QString &name : directory.entryList({names}, QDir::Files)) {
            if (!directory.remove(name)) {
                Database::log(QStringLiteral("cannot remove %1").arg(directory.filePath(name)));
                removed = false;
            }
        }
    }
    return removed;
}

bool GlobalStorageProvider::sync()
{
    return m_database->sync();
}

bool GlobalStorageProvider::close(QDeadlineTimer deadline)
{
    return m_database->close(deadline);
}

void GlobalStorageProvider::closeInCrash()
{
    m_database->closeInCrash();
}

void GlobalStorageProvider::closeAllInCrash()
{
    Database::closeAllInCrash();
}

QString GlobalStorageProvider::filePath() const
{
    if (m_database->isOpen())
        return m_database->filePath();
    const QString directory = m_directory.isEmpty()
        ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
        : m_directory;
    return directory + QStringLiteral("/global.db");
}

void GlobalStorageProvider::setDirectory(const QString &directory)
{
    m_directory = directory;
}

SettingStorage *GlobalStorageProvider::settingStorage() const
{
    return m_settings.get();
}

} // namespace storage
