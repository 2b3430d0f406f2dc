#pragma once

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/items/stickeritem.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/fakedialog.h"

#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>

/// What the QML tests ask of the application around them, as the context property "testbed".
class Testbed : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void applicationAvailable() { startApplication(); }
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(QML_MODULES));
        engine->rootContext()->setContextProperty(QStringLiteral("testbed"), this);
    }
    void cleanupTestCase()
    {
        m_items.clear();
        leaveApplication();
    }

public:
    /// The lines of kinds.txt.
    Q_INVOKABLE QVariantList kinds() const
    {
        QVariantList kinds;
        for (const QString &line : facts(QStringLiteral("kinds.txt")))
            kinds.append(jsonToMap(line.toUtf8()));
        return kinds;
    }
    /// An item of the kind `name`, of a stored map: of one content, or of several.
    Q_INVOKABLE ContentItem *itemOf(const QString &name, const QVariantMap &map)
    {
        const QString content = QStringLiteral("content");
        const bool isWhole = map.value(content).typeId() == QMetaType::QVariantList;
        const QVariantMap stored = isWhole ? map : QVariantMap{{content, QVariantList{map}}};
        if (name == QStringLiteral("StickerItem")) // which the factory has from an account
            m_items.append(QSharedPointer<StickerItem>::create(map, 1, nullptr));
        else
            m_items.append(restoreContent(stored, 1, nullptr));
        return m_items.last().data();
    }
    /// Lets go of the items: QML must have no say in their end.
    Q_INVOKABLE void dropItems() { m_items.clear(); }
    Q_INVOKABLE bool signIn(qint64 id)
    {
        auto *account = new FakeAccount(AccountManager::getInstance());
        return account->signIn(id);
    }
    Q_INVOKABLE DialogBase *dialog() { return &m_dialog; }
    /// Watches an object whose end would be a fault.
    Q_INVOKABLE void watch(QObject *object) { m_watched.append(object); }
    Q_INVOKABLE void watchNothing() { m_watched.clear(); }
    Q_INVOKABLE int deleted() const { return int(m_watched.count(QPointer<QObject>())); }

private:
    QList<QSharedPointer<ContentItem>> m_items;
    FakeDialog m_dialog;
    QList<QPointer<QObject>> m_watched;
};
