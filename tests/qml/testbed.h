#pragma once

#include "account/threadmanager.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/items/stickeritem.h"
#include "dialog/dialogbase.h"
#include "settings/appsettingmodel.h"
#include "support/fakeaccount.h"

#include <QCoreApplication>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>

#include <memory>

/// A dialog as QML sees one.
class TestDialog : public DialogBase
{
    Q_OBJECT
    Q_PROPERTY(int confirmed MEMBER m_confirmed NOTIFY confirmedChanged)

public:
    using DialogBase::DialogBase;

    AccountBase *account() const override { return nullptr; }
    QString name() const override { return QStringLiteral("Picnic"); }
    void jumpToMessage(qint64, MessageModelBase *) override { }
    void mentionsConfirmed(const QList<qint64> &msgIds, bool) override
    {
        m_confirmed += int(msgIds.size());
        Q_EMIT confirmedChanged();
    }
    void reactionsConfirmed(const QList<qint64> &, bool) override { }
    void dialogChanged() override { }

Q_SIGNALS:
    void confirmedChanged();

private:
    int m_confirmed = 0;
};

/// What the QML tests ask of the application around them, as the context property "testbed".
class Testbed : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void applicationAvailable()
    {
        ThreadManager::getInstance()->init();
        AppSettingModel::instance()->loadGlobalData();
        AccountManager::getInstance()->init(
            [](QObject *parent) { return new FakeAccount(parent); });
    }
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(QML_MODULES));
        engine->rootContext()->setContextProperty(QStringLiteral("testbed"), this);
    }
    void cleanupTestCase()
    {
        m_items.clear();
        AccountManager::getInstance()->waitForFinished();
        AccountManager::releaseInstance();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }

public:
    /// An item of the stored map `json`; kept here.
    Q_INVOKABLE ContentItem *item(const QString &json)
    {
        m_items.append(makeContentItem(json.toStdString(), 1, 1, nullptr));
        return m_items.last().data();
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
    Q_INVOKABLE void setText(ContentItem *item, const QString &text) { item->setContent(text, {}); }
    Q_INVOKABLE void measure(ContentItem *item, int width)
    {
        item->calcSize(width, 0, 0, ContentItem::CONTENT_CHANGED, false);
    }
    Q_INVOKABLE bool signIn(qint64 id)
    {
        auto *account = new FakeAccount(AccountManager::getInstance());
        return account->signIn(id);
    }
    Q_INVOKABLE DialogBase *dialog()
    {
        if (!m_dialog) {
            m_dialog = std::make_unique<TestDialog>();
            m_dialog->setIsGroup(true);
            m_dialog->addAtMeMessages({3, 5});
        }
        return m_dialog.get();
    }
    /// Watches an object whose end would be a fault.
    Q_INVOKABLE void watch(QObject *object) { m_watched.append(object); }
    Q_INVOKABLE void watchNothing() { m_watched.clear(); }
    Q_INVOKABLE int deleted() const { return int(m_watched.count(QPointer<QObject>())); }

private:
    QList<QSharedPointer<ContentItem>> m_items;
    std::unique_ptr<TestDialog> m_dialog;
    QList<QPointer<QObject>> m_watched;
};
