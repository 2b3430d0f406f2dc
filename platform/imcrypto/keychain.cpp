#include "imcrypto/keychain_p.h"

#include "imcrypto/log_p.h"

#include <QSemaphore>
#include <QThread>

#include <qt6keychain/keychain.h>

#include <functional>
#include <memory>

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
#    include <QDBusConnection>
#    include <QDBusConnectionInterface>
#    include <QFileInfo>
#endif

using cryptobase::SecureBytes;

namespace crypto::keychain
{
namespace
{

/// Long enough for the user to type the keychain's password.
constexpr int answerTimeoutMs = 30000;

/// The name of all entries. It is needed to find the keys again and never changes.
QString service()
{
    return QStringLiteral("modelbase");
}

/// Lives on the keychain's thread. One for the whole process and never destroyed: the library's
/// queue belongs to the thread that used it first, and a call may hang in it at the end.
QObject *worker()
{
    static QObject *const object = [] {
        auto *thread = new QThread;
        thread->setObjectName(QStringLiteral("keychain"));
        auto *const living = new QObject;
        living->moveToThread(thread);
        thread->start();
        return living;
    }();
    return object;
}

/// Runs `work` on the keychain's thread; it reports through the semaphore, now or later. False
/// after a timeout: `work` may still run then, so it must own everything that it uses.
bool run(int timeoutMs, std::function<void(std::shared_ptr<QSemaphore>)> work)
{
    const auto done = std::make_shared<QSemaphore>();
    QMetaObject::invokeMethod(
        worker(), [work = std::move(work), done] { work(done); }, Qt::QueuedConnection);
    return done->tryAcquire(1, timeoutMs);
}

struct Outcome {
    QKeychain::Error error = QKeychain::OtherError;
    SecureBytes data;
};

/// Null, with a log line, when the keychain does not answer or answers with an error.
template <typename Job>
std::shared_ptr<Outcome> runJob(const QString &what, const QString &entry,
                                const std::function<void(Job *)> &prepare,
                                const std::function<void(Job *, Outcome &)> &finish)
{
    const auto outcome = std::make_shared<Outcome>();
    const bool answered =
        run(answerTimeoutMs, [entry, prepare, finish, outcome](std::shared_ptr<QSemaphore> done) {
            auto *const job = new Job(service());
            job->setKey(entry);
            prepare(job);
            QObject::connect(job, &QKeychain::Job::finished, job, [=](QKeychain::Job *) {
                outcome->error = job->error();
                finish(job, *outcome);
                done->release();
            });
            job->start();
        });
    if (answered && outcome->error == QKeychain::NoError)
        return outcome;
    logFailure(QStringLiteral("cannot %1 the keychain: %2")
                   .arg(what,
                        answered ? QStringLiteral("error %1").arg(outcome->error)
                                 : QStringLiteral("no answer")));
    return nullptr;
}

} // namespace

bool isPossible()
{
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")
        || (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")
            && QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus")));
#else
    return true;
#endif
}

bool isAvailable()
{
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    // Without an address, a request for the bus would start one.
    if (!isPossible())
        return false;
    constexpr int busTimeoutMs = 3000;
    const auto running = std::make_shared<bool>(false);
    const bool answered = run(busTimeoutMs, [running](std::shared_ptr<QSemaphore> done) {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        if (bus.isConnected()) {
            const QStringList names = bus.interface()->registeredServiceNames().value()
                + bus.interface()->activatableServiceNames().value();
            *running = names.contains(QStringLiteral("org.freedesktop.secrets"))
                || names.contains(QStringLiteral("org.kde.kwalletd5"))
                || names.contains(QStringLiteral("org.kde.kwalletd6"));
        }
        done->release();
    });
    return answered && *running;
#else
    return true;
#endif
}

std::optional<SecureBytes> read(const QString &entry)
{
    if (!isAvailable()) {
        logFailure(QStringLiteral("cannot read from the keychain: none is running"));
        return std::nullopt;
    }
    using Job = QKeychain::ReadPasswordJob;
    const auto outcome = runJob<Job>(
        QStringLiteral("read from"), entry, [](Job *) {},
        [](Job *job, Outcome &result) { result.data = SecureBytes(job->binaryData()); });
    if (!outcome)
        return std::nullopt;
    return std::move(outcome->data);
}

bool write(const QString &entry, const SecureBytes &key)
{
    using Job = QKeychain::WritePasswordJob;
    // The job may outlive this call.
    const auto copy = std::make_shared<SecureBytes>(QByteArray(key.constData(), key.size()));
    return runJob<Job>(
               QStringLiteral("write to"), entry, [copy](Job *job) { job->setBinaryData(*copy); },
               [](Job *, Outcome &) {})
        != nullptr;
}

void remove(const QString &entry)
{
    using Job = QKeychain::DeletePasswordJob;
    runJob<Job>(
        QStringLiteral("remove from"), entry, [](Job *) {}, [](Job *, Outcome &) {});
}

} // namespace crypto::keychain
