#pragma once

#include "modelbase_export.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <QVariant>

#include <optional>

/// What the settings models have in common: values by key, for QML and for any thread.
class MODELBASE_EXPORT SettingModelBase : public QObject
{
    Q_OBJECT
    QML_ANONYMOUS

public:
    /// A copy of the value stored under `key`, or `defaultValue`. From any thread, while others
    /// change it.
    virtual QVariant value(const QString &key, const QVariant &defaultValue) const = 0;
    /// The same for QML. In C++ a model's own getValue(), which returns a reference, hides it.
    Q_INVOKABLE QVariant getValue(const QString &key, const QVariant &defaultValue) const;

protected:
    explicit SettingModelBase(QObject *parent = nullptr);
    ~SettingModelBase() override;

    /// The value to keep for a given value: a script's object or array becomes a map or list, which
    /// lives on without the engine. Nothing, with one log line that names the key, if no row can
    /// hold the value or a part of it (see storage::RowStorage::isStorable()), for functions,
    /// cycles, and a script's value of more than 100,000 elements. May run code of the script: must
    /// not be called under a lock.
    static std::optional<QVariant> storable(const QString &key, const QVariant &value);
    /// True for the values that storable() returns unchanged, at no cost.
    static bool isPlain(const QVariant &value)
    {
        switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::Double:
        case QMetaType::QString:
        case QMetaType::QByteArray:
            return true;
        default:
            return false;
        }
    }
    /// The same in place, for maps and lists. False, without a change, for a value that cannot be
    /// kept.
    template <typename Container>
    static bool makeStorable(const QString &key, Container *container)
    {
        std::optional<QVariant> kept = storable(key, QVariant(*container));
        if (kept)
            *container = kept->template value<Container>();
        return kept.has_value();
    }
};
