#pragma once

#include "base/json.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>

// One line per setting. Use these macros in the body of a settings model, a SettingModelBase with
//
//     T read(const QString &key, const T &fallback) const; // for each type T of its settings
//     bool setValue(const QString &key, const QVariant &value, bool needSave); // true: changed
//
// Each declares the property `name` with its getter, the signal `nameChanged`, and the invokable
// setter `setName(value, needSave = true)`: it stores the value under `key` and emits the signal
// if that changed something; with `needSave` false the value lives until the process ends.
// The getter returns `fallback` if nothing is stored; it is evaluated at each read.
//
// moc expands these macros. A key is a QStringLiteral: reading a setting allocates nothing.

/// The signal carries the new value.
#define MODELBASE_SETTING(type, name, Name, key, fallback)                                         \
    MODELBASE_SETTING_NAMED(type, name, Name, key, fallback, , value)

/// As MODELBASE_SETTING, with parameter names that QML code relies on: the signal's and the
/// setter's.
#define MODELBASE_SETTING_NAMED(type, name, Name, key, fallback, changedParameter, parameter)      \
    MODELBASE_SETTING_GETTER(type, name, Name, key, fallback)                                      \
    MODELBASE_SETTING_SETTER(type, Name, key, parameter, name##Changed(parameter))                 \
Q_SIGNALS:                                                                                         \
    void name##Changed(type changedParameter);

/// The signal carries nothing. `parameter` is the name of the setter's parameter.
#define MODELBASE_SETTING_BARE(type, name, Name, key, fallback, parameter)                         \
    MODELBASE_SETTING_GETTER(type, name, Name, key, fallback)                                      \
    MODELBASE_SETTING_SETTER(type, Name, key, parameter, name##Changed())                          \
Q_SIGNALS:                                                                                         \
    void name##Changed();

/// A size limit in bytes; the signal carries the old and the new one.
#define MODELBASE_SETTING_LIMIT(name, Name, key, fallback)                                         \
    MODELBASE_SETTING_GETTER(int, name, Name, key, fallback)                                       \
    Q_INVOKABLE void set##Name(int limitSize, bool needSave = true)                                \
    {                                                                                              \
        const int oldSize = name();                                                                \
        if (setValue(QStringLiteral(key), limitSize, needSave))                                    \
            Q_EMIT name##Changed(oldSize, limitSize);                                              \
    }                                                                                              \
Q_SIGNALS:                                                                                         \
    void name##Changed(int oldSize, int newSize);

/// A map, stored as JSON; the signal carries the setter's argument.
#define MODELBASE_SETTING_MAP(name, Name, key)                                                     \
    MODELBASE_SETTING_MAP_GETTER(name, Name, key)                                                  \
    MODELBASE_SETTING_JSON_SETTER(QVariantMap, Name, key, mapToJson, name##Changed(value))         \
Q_SIGNALS:                                                                                         \
    void name##Changed(QVariantMap);

/// As MODELBASE_SETTING_MAP; the signal carries nothing.
#define MODELBASE_SETTING_MAP_BARE(name, Name, key)                                                \
    MODELBASE_SETTING_MAP_GETTER(name, Name, key)                                                  \
    MODELBASE_SETTING_JSON_SETTER(QVariantMap, Name, key, mapToJson, name##Changed())              \
Q_SIGNALS:                                                                                         \
    void name##Changed();

/// A list, stored as JSON, `fallback` is JSON text; the signal carries nothing.
#define MODELBASE_SETTING_LIST_BARE(name, Name, key, fallback)                                     \
    MODELBASE_SETTING_PROPERTY(QVariantList, name, Name)                                           \
    QVariantList name() const                                                                      \
    {                                                                                              \
        return jsonToList(read(QStringLiteral(key), QByteArrayLiteral(fallback)));                 \
    }                                                                                              \
    MODELBASE_SETTING_JSON_SETTER(QVariantList, Name, key, listToJson, name##Changed())            \
Q_SIGNALS:                                                                                         \
    void name##Changed();

/// No property and no signal, for the program's own code; the setter always saves.
#define MODELBASE_SETTING_STORED(type, name, Name, key, fallback)                                  \
    MODELBASE_SETTING_INTERNAL(type, name, key, fallback)                                          \
    MODELBASE_SETTING_STORE(type, set##Name, key, value)

/// As MODELBASE_SETTING_STORED, with a setter that QML may call.
#define MODELBASE_SETTING_HANDED(type, name, Name, key, fallback, parameter)                       \
    MODELBASE_SETTING_INTERNAL(type, name, key, fallback)                                          \
    Q_INVOKABLE MODELBASE_SETTING_STORE(type, set##Name, key, parameter)

/// As MODELBASE_SETTING_HANDED, with a setter of any name and a getter that QML may call.
#define MODELBASE_SETTING_RECORD(type, name, setter, key, fallback, parameter)                     \
    MODELBASE_SETTING_READONLY(type, name, key, fallback)                                          \
    Q_INVOKABLE MODELBASE_SETTING_STORE(type, setter, key, parameter)

/// As MODELBASE_SETTING_STORED, for a map that is stored as JSON.
#define MODELBASE_SETTING_MAP_RECORD(name, Name, key, parameter)                                   \
    MODELBASE_SETTING_MAP_READONLY(name, key)                                                      \
    Q_INVOKABLE void set##Name(QVariantMap parameter)                                              \
    {                                                                                              \
        if (makeStorable(QStringLiteral(key), &parameter))                                         \
            setValue(QStringLiteral(key), mapToJson(parameter), true);                             \
    }

/// As MODELBASE_SETTING_READONLY, for a map that is stored as JSON.
#define MODELBASE_SETTING_MAP_READONLY(name, key)                                                  \
public:                                                                                            \
    Q_INVOKABLE QVariantMap name() const                                                           \
    {                                                                                              \
        return jsonToMap(read(QStringLiteral(key), QByteArrayLiteral("{}")));                      \
    }

/// As MODELBASE_SETTING, without a property and a signal.
#define MODELBASE_SETTING_SILENT(type, name, Name, key, fallback)                                  \
    MODELBASE_SETTING_READONLY(type, name, key, fallback)                                          \
    Q_INVOKABLE void set##Name(type value, bool needSave = true)                                   \
    {                                                                                              \
        setValue(QStringLiteral(key), value, needSave);                                            \
    }

/// A getter alone, for the program's own code.
#define MODELBASE_SETTING_INTERNAL(type, name, key, fallback)                                      \
public:                                                                                            \
    type name() const                                                                              \
    {                                                                                              \
        return read(QStringLiteral(key), type(fallback));                                          \
    }

/// A getter alone, which QML may call.
#define MODELBASE_SETTING_READONLY(type, name, key, fallback)                                      \
public:                                                                                            \
    Q_INVOKABLE type name() const                                                                  \
    {                                                                                              \
        return read(QStringLiteral(key), type(fallback));                                          \
    }

// The parts of the macros above; also for settings that share all but one of them.

// "public:" first: moc takes a Q_PROPERTY that follows Q_SIGNALS for a signal.
#define MODELBASE_SETTING_PROPERTY(type, name, Name)                                               \
public:                                                                                            \
    Q_PROPERTY(type name READ name WRITE set##Name NOTIFY name##Changed)

#define MODELBASE_SETTING_STORE(type, setter, key, parameter)                                      \
    void setter(type parameter)                                                                    \
    {                                                                                              \
        setValue(QStringLiteral(key), parameter, true);                                            \
    }

#define MODELBASE_SETTING_GETTER(type, name, Name, key, fallback)                                  \
    MODELBASE_SETTING_PROPERTY(type, name, Name)                                                   \
    type name() const                                                                              \
    {                                                                                              \
        return read(QStringLiteral(key), type(fallback));                                          \
    }

#define MODELBASE_SETTING_MAP_GETTER(name, Name, key)                                              \
    MODELBASE_SETTING_PROPERTY(QVariantMap, name, Name)                                            \
    QVariantMap name() const                                                                       \
    {                                                                                              \
        return jsonToMap(read(QStringLiteral(key), QByteArrayLiteral("{}")));                      \
    }

#define MODELBASE_SETTING_SETTER(type, Name, key, parameter, change)                               \
    Q_INVOKABLE void set##Name(type parameter, bool needSave = true)                               \
    {                                                                                              \
        if (setValue(QStringLiteral(key), parameter, needSave))                                    \
            Q_EMIT change;                                                                         \
    }

#define MODELBASE_SETTING_JSON_SETTER(type, Name, key, toJson, change)                             \
    Q_INVOKABLE void set##Name(type value, bool needSave = true)                                   \
    {                                                                                              \
        if (makeStorable(QStringLiteral(key), &value)                                              \
            && setValue(QStringLiteral(key), toJson(value), needSave))                             \
            Q_EMIT change;                                                                         \
    }
