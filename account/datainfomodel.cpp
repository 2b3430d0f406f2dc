#include "account/datainfomodel.h"

#include "account/accountbase.h"
#include "core/storedvalues_p.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QThread>

namespace
{

constexpr QLatin1Char idSeparator(',');

constexpr auto unretrievableKey = [] { return QStringLiteral("unretrievable_ids"); };

bool onMainThread()
{
    const QCoreApplication *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace

DataInfoModel::DataInfoModel(AccountBase *account)
    : QObject(account),
      m_values(std::make_unique<Values>(account->storage()->bufferConfigStorage()))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

DataInfoModel::~DataInfoModel() = default;

QStringList DataInfoModel::unretrievableIds() const
{
    return m_values->value(unretrievableKey(), QString()).split(idSeparator);
}

void DataInfoModel::saveUnretrievableIds(const QStringList &ids)
{
    saveDataInfo(unretrievableKey(), ids.join(idSeparator));
}

QByteArray DataInfoModel::missRange(const QString &key) const
{
    return getDataInfo(key, QByteArray());
}

void DataInfoModel::saveMissRange(const QString &key, const QByteArray &range)
{
    saveDataInfo(key, range);
}

void DataInfoModel::removeMissRange(const QString &key)
{
    m_values->remove(key, onMainThread());
}

void DataInfoModel::loadLocalData(bool skip)
{
    if (!skip)
        m_values->load([](const auto &) {});
}

void DataInfoModel::clearData(bool)
{
    m_values->clear();
}

bool DataInfoModel::flush()
{
    return m_values->flush();
}

bool DataInfoModel::flush(QDeadlineTimer deadline)
{
    return m_values->flush(deadline);
}

bool DataInfoModel::getDataInfo(const QString &key, bool fallback) const
{
    return m_values->value(key, fallback);
}

qint64 DataInfoModel::getDataInfo(const QString &key, qint64 fallback) const
{
    return m_values->value(key, fallback);
}

QByteArray DataInfoModel::getDataInfo(const QString &key, const QByteArray &fallback) const
{
    return m_values->value(key, fallback);
}

void DataInfoModel::saveDataInfo(const QString &key, const QVariant &value)
{
    m_values->set(key, value, onMainThread());
}

bool DataInfoModel::containstDataInfo(const QString &key) const
{
    return m_values->contains(key);
}
