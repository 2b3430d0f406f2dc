#include "storage/userstorageprovider.h"

#include "storage/configstorage.h"
#include "storage/database_p.h"
#include "storage/keystorage.h"
#include "storage/keystorage_p.h"
#include "storage/rowtable_p.h"
#include "storage/settingstorage.h"

#include <QDir>

#include <mutex>
#include <utility>

namespace storage
{

class UserStorageProvider::Private
{
public:
    const std::shared_ptr<Database> database =
        std::make_shared<Database>(SchemaSteps{settingSchema, configSchema, keySchema});
    SettingStorage settings{database};
    ConfigStorage bufferConfig{database, "buffer_config"};
    ConfigStorage syncConfig{database, "sync_config"};
    KeyStorage keys{database};

    std::mutex mutex; ///< guards what follows
    std::function<void(qint64)> updateGroupInfo;
};

UserStorageProvider::UserStorageProvider(QObject *parent)
    : QObject(parent), d(std::make_unique<Private>())
{
}

UserStorageProvider::~UserStorageProvider()
{
    close();
}

bool UserStorageProvider::open(const QString &directory, bool create)
{
    const QString path = QDir(directory).absoluteFilePath(QStringLiteral("account.db"));
    if (isOpen() && filePath() != path)
        close();
    return d->database->open(path, create);
}

bool UserStorageProvider::isOpen() const
{
    return d->database->isOpen();
}

bool UserStorageProvider::recovered() const
{
    return d->database->recovered();
}

bool UserStorageProvider::close(QDeadlineTimer deadline)
{
    return d->database->close(deadline);
}

void UserStorageProvider::closeInCrash()
{
    d->database->closeInCrash();
}

QString UserStorageProvider::filePath() const
{
    return d->database->filePath();
}

SettingStorage *UserStorageProvider::settingStorage() const
{
    return &d->settings;
}

ConfigStorage *UserStorageProvider::bufferConfigStorage() const
{
    return &d->bufferConfig;
}

ConfigStorage *UserStorageProvider::syncConfigStorage() const
{
    return &d->syncConfig;
}

KeyStorage *UserStorageProvider::keyStorage() const
{
    return &d->keys;
}

void UserStorageProvider::setUpdateGroupInfoMethod(std::function<void(qint64)> method)
{
    const std::lock_guard lock(d->mutex);
    d->updateGroupInfo = std::move(method);
}

void UserStorageProvider::updateGroupInfo(qint64 groupId) const
{
    std::function<void(qint64)> method;
    {
        const std::lock_guard lock(d->mutex);
        method = d->updateGroupInfo;
    }
    if (method)
        method(groupId);
}

} // namespace storage
