#include "storage/userstorageprovider.h"

#include "storage/configstorage.h"
#include "storage/database_p.h"
#include "storage/keystorage.h"
#include "storage/keystorage_p.h"
#include "storage/rowstorage_p.h"
#include "storage/settingstorage.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

namespace storage
{

namespace
{

QString databaseIn(const QString &directory)
{
    return QDir(directory).absoluteFilePath(QStringLiteral("account.db"));
}

} // namespace

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
    const QString path = databaseIn(directory);
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

UserStorageProvider::OpenFailure UserStorageProvider::openFailure() const
{
    return d->database->openFailure();
}

bool UserStorageProvider::isMissing(const QString &directory)
{
    using std::filesystem::file_type;
    const auto path = QFileInfo(databaseIn(directory)).filesystemAbsoluteFilePath();
    std::error_code ignored;
    if (std::filesystem::symlink_status(path, ignored).type() != file_type::not_found)
        return false;
    // A dangling link, or a file instead of a directory, hides what lies behind it.
    for (auto above = path.parent_path();; above = above.parent_path()) {
        const file_type type = std::filesystem::symlink_status(above, ignored).type();
        if (type == file_type::not_found && above.has_relative_path())
            continue;
        return type == file_type::directory
            || std::filesystem::status(above, ignored).type() == file_type::directory;
    }
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
