#include "settings/settingmodelbase.h"

#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "storage/settingstorage.h"

#include <QJSValue>
#include <QJSValueIterator>

namespace
{

/// Replaces the values of a script engine in a value.
class Plain
{
public:
    /// Nothing if a script's value is not plain data, or too large.
    std::optional<QVariant> operator()(const QVariant &value)
    {
        QVariant plain = convert(value, 0);
        return m_refused ? std::nullopt : std::optional(std::move(plain));
    }

private:
    // Rows hold no deeper values; it also ends cycles.
    static constexpr int maxDepth = 100;

    QVariant convert(const QVariant &value, int depth)
    {
        if (depth > maxDepth)
            return refuse();
        if (value.metaType() == QMetaType::fromType<QJSValue>())
            return convert(value.value<QJSValue>(), depth);
        switch (value.typeId()) {
        case QMetaType::QVariantList: {
            QVariantList list = value.toList();
            for (QVariant &element : list)
                element = convert(element, depth + 1);
            return list;
        }
        case QMetaType::QVariantMap:
            return convertPairs(value.toMap(), depth);
        case QMetaType::QVariantHash:
            return convertPairs(value.toHash(), depth);
        default:
            return value;
        }
    }

    template <typename Pairs>
    QVariant convertPairs(Pairs pairs, int depth)
    {
        for (QVariant &element : pairs)
            element = convert(element, depth + 1);
        return pairs;
    }

    QVariant convert(const QJSValue &script, int depth)
    {
        if (m_refused || --m_left < 0 || script.isCallable() || script.isError())
            return refuse();
        // Dates, URLs, bytes and QML's value types have their own types.
        const QVariant value = script.toVariant(QJSValue::RetainJSObjects);
        if (value.metaType() != QMetaType::fromType<QJSValue>())
            return convert(value, depth);
        if (!script.isObject() || depth >= maxDepth)
            return refuse();
        if (script.isArray())
            return convertArray(script, depth);
        QVariantMap map;
        for (QJSValueIterator it(script); !m_refused && it.next();)
            map.insert(it.name(), convert(it.value(), depth + 1));
        return map;
    }

    QVariant convertArray(const QJSValue &array, int depth)
    {
        const quint32 length = array.property(QStringLiteral("length")).toUInt();
        QVariantList list;
        for (quint32 i = 0; i < length && !m_refused; ++i)
            list.append(convert(array.property(i), depth + 1));
        return list;
    }

    QVariant refuse()
    {
        m_refused = true;
        return {};
    }

    // Remaining values of the script: a shared one counts each time.
    int m_left = 100'000;
    bool m_refused = false;
};

} // namespace

SettingModelBase::SettingModelBase(QObject *parent) : QObject(parent) { }

SettingModelBase::~SettingModelBase() = default;

QVariant SettingModelBase::getValue(const QString &key, const QVariant &defaultValue) const
{
    return value(key, defaultValue);
}

std::optional<QVariant> SettingModelBase::storable(const QString &key, const QVariant &value)
{
    if (storage::RowStorage::isStorable(value))
        return value;
    std::optional<QVariant> plain = Plain()(value);
    if (plain && storage::RowStorage::isStorable(*plain))
        return plain;
    ImLog::error(lcSettings(),
                 QStringLiteral("A value of type %1 cannot be stored: %2")
                     .arg(QLatin1StringView(value.typeName()), key.left(64)));
    return std::nullopt;
}
