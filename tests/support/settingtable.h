#pragma once

#include "storage/settingstorage.h"

#include <QFile>
#include <QJsonDocument>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

/// Writes down what a settings model is, one line a property and a method: each property is set and
/// reset as an application does it, on a real store. The text is compared with a file beside the
/// test: stored data and QML code in the field depend on each word of it.
///
///   name type = default | key as stored type | signal, with what it carried | what is odd
class SettingTable
{
public:
    std::function<QObject *()> model;
    std::function<void()> restart;                      ///< forgets what was not saved
    std::function<QMap<QString, QVariant>()> rows;      ///< what is stored now
    std::function<void()> wipe;                         ///< removes all rows, and restarts
    std::function<QString(const QByteArray &)> aliasOf; ///< for defaults that differ by machine

    /// A value of the type that is not the default and comes back from JSON as it was.
    static QVariant otherValue(const QByteArray &name, const QVariant &fallback)
    {
        if (name == "upgradeInfo")
            return QVariantMap{{u"value"_s, u"2.0"_s}, {u"remark"_s, u"faster"_s}};
        switch (fallback.typeId()) {
        case QMetaType::Bool:
            return !fallback.toBool();
        case QMetaType::Int:
            return fallback.toInt() + 21;
        case QMetaType::LongLong:
            return (qint64(1) << 53) + 1;
        case QMetaType::Double:
            return 1.25;
        case QMetaType::QByteArray:
            return QByteArray("\0\xff{", 3);
        case QMetaType::QVariantMap:
            return QVariantMap{{u"Ü"_s, QVariantList{9007199254740993LL, 0.5, true}}};
        case QMetaType::QVariantList:
            return QVariantList{9007199254740993LL, u"pin"_s, QVariantMap{{u"a"_s, 1LL}}};
        default:
            return u"[\"Grüße\", \"\U0001F600\"]"_s;
        }
    }

    QStringList lines() const
    {
        QStringList all;
        const QMetaObject *meta = model()->metaObject();
        for (int i = QObject::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i)
            all.append(propertyLine(meta->property(i)));
        QStringList methods;
        for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
            if (!announces(meta, i))
                methods.append(signature(meta->method(i)));
        }
        all.sort();
        methods.sort();
        return all + methods;
    }

    /// Fails with the first line that differs from those of the file.
    static void compare(const QStringList &lines, const QString &path)
    {
        QFile file(path);
        const QString text =
            file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        const QStringList expected = text.split(u'\n', Qt::SkipEmptyParts);
        if (lines != expected)
            qWarning().noquote() << lines.join(u'\n');
        for (qsizetype i = 0; i < lines.size() && i < expected.size(); ++i)
            QCOMPARE(lines[i], expected[i]);
        QCOMPARE(lines.size(), expected.size());
    }

    static QVariantMap rowsOf(storage::SettingStorage *storage)
    {
        QVariantMap values;
        for (const storage::SettingInfo &row : storage->allInfos())
            values.insert(row.key, row.value);
        return values;
    }

    static QString text(const QVariant &value)
    {
        return value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantList
            ? QString::fromUtf8(QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact))
            : value.toString();
    }

private:
    static bool announces(const QMetaObject *meta, int method)
    {
        for (int i = 0; i < meta->propertyCount(); ++i) {
            if (meta->property(i).notifySignalIndex() == method)
                return true;
        }
        return false;
    }

    static QString signature(const QMetaMethod &method)
    {
        QStringList parameters;
        for (int i = 0; i < method.parameterCount(); ++i)
            parameters.append(QString::fromLatin1(method.parameterTypeName(i) + ' '
                                                  + method.parameterNames().at(i))
                                  .trimmed());
        return QLatin1StringView(method.typeName()) + u' ' + QLatin1StringView(method.name()) + u'('
            + parameters.join(u", "_s) + u')';
    }

    QString propertyLine(const QMetaProperty &property) const
    {
        const QByteArray name = property.name();
        wipe();
        const QVariant before = property.read(model());
        const QString alias = aliasOf(name);
        QString line = QLatin1StringView(name) + u' ' + QLatin1StringView(property.typeName())
            + u" = "_s + (alias.isEmpty() ? text(before) : alias);

        const QVariant other = otherValue(name, before);
        QSignalSpy changed(model(), property.notifySignal());
        const bool isWritten = property.write(model(), other) && property.write(model(), other);
        const QVariant now = property.read(model());
        QStringList stored;
        const auto row = rows();
        for (auto it = row.cbegin(); it != row.cend(); ++it)
            stored.append(it.key() + u" as "_s + QLatin1StringView(it->typeName()));
        line += u" | "_s + stored.join(u", "_s) + u" | "_s + signature(property.notifySignal());
        if (changed.size() != 1)
            line += u" fired %1 times"_s.arg(changed.size());
        else if (changed[0] == QVariantList{other})
            line += u" new"_s;
        else if (changed[0] == QVariantList{before, other})
            line += u" old, new"_s;
        else if (!changed[0].isEmpty())
            line += u" something else"_s;

        QStringList odd;
        if (!isWritten)
            odd.append(u"cannot be written"_s);
        if (now != other)
            odd.append(u"reads back differently"_s);
        restart();
        if (property.read(model()) != now)
            odd.append(u"lost at the next start"_s);

        // Without saving: nothing of it is left at the next start.
        const QByteArray setter = "set" + name.left(1).toUpper() + name.mid(1);
        const QByteArray known = setter + '(' + property.typeName() + ",bool)";
        wipe();
        if (model()->metaObject()->indexOfMethod(known) >= 0
            && QMetaObject::invokeMethod(model(), setter,
                                         QGenericArgument(property.typeName(), other.constData()),
                                         Q_ARG(bool, false))) {
            const bool isSet = property.read(model()) == now;
            restart();
            if (!isSet || property.read(model()) != before)
                odd.append(u"stored without being saved"_s);
        } else {
            odd.append(u"no choice about saving"_s);
        }
        return odd.isEmpty() ? line : line + u" | "_s + odd.join(u", "_s);
    }
};
