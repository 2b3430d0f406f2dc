#pragma once

#include "account/datainfomodel.h"
#include "imcrypto/store.h"
#include "settings/accountsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

/// A session that stores and tells what is safe, as a process of its own that comes to a sudden
/// end; and what the next start must find.
namespace session
{

constexpr qint64 firstId = 10001;
constexpr qint64 secondId = 10002; // who may leave during the session
constexpr int slotCount = 16;      // of the ranges: each step saves one and removes another

inline AppSettingModel *settings()
{
    return AppSettingModel::instance();
}

inline AccountManager *manager()
{
    return AccountManager::getInstance();
}

/// As long as no other near it, so that a torn value shows.
inline QByteArray bytesOf(int number)
{
    return QByteArray::number(number) + QByteArray(32 + 400 * (number % 10), '.');
}

/// 0 where nothing is stored, -1 for what was never written.
inline int numberOf(const QByteArray &bytes)
{
    const int number = bytes.left(bytes.indexOf('.')).toInt();
    return bytes.isEmpty() ? 0 : bytes == bytesOf(number) ? number : -1;
}

/// What the session stores again and again, with a number that grows.
struct Value {
    QByteArray name;
    std::function<bool(FakeAccount &, int number)> write;
    std::function<bool(FakeAccount &)> flush; // none where what was written is safe at once
    std::function<int(FakeAccount &)> read;   // -1 for what was never written, or in this order
};

/// Rows that are written one after the other: the first may be one step ahead of the last, and has
/// any number where all were removed before.
template <typename Write, typename Flush, typename Read>
Value rows(const QByteArray &name, Write write, Flush flush, Read read)
{
    static const auto keys = [] {
        QStringList all;
        for (int row = 0; row < 6; ++row)
            all.append(QStringLiteral("row/%1").arg(row));
        return all;
    }();
    return {name,
            [=](FakeAccount &account, int number) {
                for (const QString &key : keys)
                    write(account, key, bytesOf(number));
                return true;
            },
            flush,
            [=](FakeAccount &account) {
                std::vector<int> numbers;
                for (const QString &key : keys)
                    numbers.push_back(numberOf(read(account, key)));
                const bool inOrder = std::is_sorted(numbers.crbegin(), numbers.crend())
                    && (numbers.front() - numbers.back() <= 1 || numbers.back() == 0);
                return inOrder ? numbers.back() : -1;
            }};
}

inline QString slot(int number)
{
    return QStringLiteral("slot/%1").arg(number % slotCount);
}

inline int readSlots(const DataInfoModel &ranges)
{
    int last = 0;
    for (int i = 0; i < slotCount; ++i)
        last = std::max(last, numberOf(ranges.missRange(slot(i))));
    for (int number = last; number > std::max(0, last - slotCount); --number) {
        const int there = numberOf(ranges.missRange(slot(number)));
        const int age = last - number;
        if (age != slotCount / 2 && there != (age < slotCount / 2 ? number : 0))
            return -1;
    }
    // Saved, but what is to go with it may still be there.
    const int other = last - slotCount / 2;
    return other > 0 && !ranges.missRange(slot(other)).isEmpty() ? last - 1 : last;
}

inline bool flushRanges(FakeAccount &account)
{
    return account.dataInfoModel()->flush();
}

inline const Value values[] = {
    rows(
        "settings",
        [](FakeAccount &, const QString &key, const QByteArray &value) {
            settings()->setValue(key, value, true);
        },
        [](FakeAccount &) { return settings()->flush(); },
        [](FakeAccount &, const QString &key) {
            return settings()->getValue(key, {}).toByteArray();
        }),
    rows(
        "account settings",
        [](FakeAccount &account, const QString &key, const QByteArray &value) {
            account.accountSettingModel()->setValue(key, value, true);
        },
        [](FakeAccount &account) { return account.accountSettingModel()->flush(); },
        [](FakeAccount &account, const QString &key) {
            return account.accountSettingModel()->getValue(key, {}).toByteArray();
        }),
    rows(
        "ranges",
        [](FakeAccount &account, const QString &key, const QByteArray &value) {
            account.dataInfoModel()->saveMissRange(key, value);
        },
        flushRanges,
        [](FakeAccount &account, const QString &key) {
            return account.dataInfoModel()->missRange(key);
        }),
    {"slots",
     [](FakeAccount &account, int number) {
         account.dataInfoModel()->saveMissRange(slot(number), bytesOf(number));
         account.dataInfoModel()->removeMissRange(slot(number + slotCount / 2));
         return true;
     },
     flushRanges, [](FakeAccount &account) { return readSlots(*account.dataInfoModel()); }},
    {"offset",
     [](FakeAccount &account, int number) {
         account.dataInfoModel()->saveContactsOffset(number);
         return account.dataInfoModel()->flush();
     },
     {},
     [](FakeAccount &account) { return int(account.dataInfoModel()->contactsOffset()); }},
    {"user key",
     [](FakeAccount &account, int number) {
         return account.signalStore()->saveUserKey({7, 1, 1}, bytesOf(number));
     },
     {},
     [](FakeAccount &account) {
         return numberOf(account.signalStore()->userKey({7, 1, 1}));
     }},
    {"chat keys",
     [](FakeAccount &account, int number) {
         return account.signalStore()->saveChatKey(QStringLiteral("G-1"), number, bytesOf(number));
     },
     {},
     [](FakeAccount &account) {
         int last = 0;
         for (const auto &[version, key] :
              account.signalStore()->getMissingChatKeys(QStringLiteral("G-1"), 1, INT_MAX)) {
             if (version != ++last || numberOf(key) != version)
                 return -1;
         }
         return last;
     }},
    {"secure keys",
     [](FakeAccount &account, int number) {
         return !account.signalStore()->secureKey(QStringLiteral("key"), number, true).isEmpty();
     },
     {},
     [](FakeAccount &account) {
         int last = 0;
         while (account.signalStore()->secureKey(QStringLiteral("key"), last + 1).size() == 32)
             ++last;
         return last;
     }},
};

/// A line for what is safe now, in one call: two threads speak.
inline void say(qint64 id, const QByteArray &what, int number)
{
    std::printf("%d %lld %s\n", number, id, what.constData());
    std::fflush(stdout);
}

/// The account, which signs in unless it did before; null where that fails.
inline FakeAccount *signIn(qint64 id)
{
    if (AccountBase *known = manager()->getAccount(id))
        return static_cast<FakeAccount *>(known);
    manager()->addAccount();
    auto *account = static_cast<FakeAccount *>(manager()->loginAccount());
    if (!account || !account->signIn(id))
        return nullptr;
    if (settings()->flush())
        say(id, "account", 1);
    return account;
}

/// What a session has said, by the account and the name of the value.
using Safe = QMap<QByteArray, int>;

/// Adds what a session has said; returns how much that is. What follows the last line feed is half
/// a line.
inline int addSaid(const QByteArray &output, Safe *safe)
{
    int count = 0;
    for (const QByteArray &line : output.left(output.lastIndexOf('\n')).split('\n')) {
        if (line.isEmpty())
            continue;
        const qsizetype space = line.indexOf(' ');
        (*safe)[line.mid(space + 1)] = line.left(space).toInt();
        ++count;
    }
    return count;
}

/// Starts, looks for what is safe, and stops; `more` runs in between.
/// Returns what is lost or torn, and which stores did not open or only after a repair.
template <typename More>
QString check(const Safe &safe, More more)
{
    QStringList wrong;
    const auto expect = [&](bool holds, const QString &otherwise) {
        if (!holds)
            wrong.append(otherwise);
    };
    startApplication();
    const auto *global = settings()->globalStorage();
    expect(global->isOpen() && !global->recovered(), QStringLiteral("The settings do not open"));
    QStringList files{global->filePath()};
    for (const qint64 one : {firstId, secondId}) {
        const auto told = [&](const QByteArray &name) {
            return safe.value(QByteArray::number(one) + ' ' + name);
        };
        auto *account = static_cast<FakeAccount *>(manager()->getAccount(one));
        expect(!account || !told("left"), QStringLiteral("%1 has left and is listed").arg(one));
        if (told("leaves"))
            continue;
        expect(account || !told("account"), QStringLiteral("%1 is not listed").arg(one));
        if (!account)
            continue;
        expect(account->storage()->isOpen() && !account->storage()->recovered(),
               QStringLiteral("The store of %1 does not open").arg(one));
        files.append(account->storage()->filePath());
        for (const Value &value : values) {
            const int there = value.read(*account);
            expect(there >= told(value.name),
                   QStringLiteral("%1, %2: %3 was safe, %4 is there")
                       .arg(one)
                       .arg(QLatin1StringView(value.name))
                       .arg(told(value.name))
                       .arg(there));
        }
    }
    FakeAccount nobody;
    expect(values[0].read(nobody) >= 0, QStringLiteral("A setting is torn"));
    more(&wrong);
    leaveApplication();
    for (const QString &file : files) {
        SQLite::Database database(file.toStdString());
        expect(database.execAndGet("PRAGMA integrity_check").getString() == "ok", file);
    }
    return wrong.join(QLatin1Char('\n'));
}

} // namespace session
