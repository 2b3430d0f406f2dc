#pragma once

#include "modelbase_export.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <QVariant>

#include <optional>

/// What the settings models have in common: values by key, as QML and threads read and hand them
/// over.
class MODELBASE_EXPORT SettingModelBase : public QObject
{
    Q_OBJECT
    QML_ANONYMOUS

public:
    /// A copy of the value stored under `key`, or `defaultValue`. From any thread, while others
    /// change it.
    virtual QVariant value(const QString &key, const QVariant &defaultValue) const = 0;
    /// The same for QML. In C++ a model's own getValue() hides it, which gives a reference.
    Q_INVOKABLE QVariant getValue(const QString &key, const QVariant &defaultValue) const;

protected:
    explicit SettingModelBase(QObject *parent = nullptr);
    ~SettingModelBase() override;

    /// The value to keep for a value that is handed over: a script's object or array becomes a map or
    /// list, which lives on without the engine. Nothing, with one log line that names the key, for
    /// what no row can hold (see storage::RowStorage::isStorable()), also within a map or list,
    /// as for functions, cycles, and a script's value of more than 100,000 elements. May run code of
    /// the script: not to be called under a lock.
    static std::optional<QVariant> storable(const QString &key, const QVariant &value);
    /// True for the values that storable() gives back as they are, at no cost.
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
    /// The same in place, for maps and lists. False, and no change, for what cannot be kept.
    template <typename Container>
    static bool makeStorable(const QString &key, Container *container)
    {
        std::optional<QVariant> kept = storable(key, QVariant(*container));
        if (kept)
            *container = kept->template value<Container>();
        return kept.has_value();
    }
};
