#include "i18n/languagefollower.h"

#include <QPointer>
#include <QThread>

#include <mutex>
#include <utility>
#include <vector>

namespace
{

std::mutex followersMutex;
LanguageFollower *firstFollower = nullptr;

} // namespace

LanguageFollower::LanguageFollower(QObject *object, Retranslate retranslate)
    : m_object(object), m_retranslate(retranslate)
{
    const std::lock_guard lock(followersMutex);
    m_next = std::exchange(firstFollower, this);
    if (m_next)
        m_next->m_previous = this;
}

LanguageFollower::~LanguageFollower()
{
    const std::lock_guard lock(followersMutex);
    (m_previous ? m_previous->m_next : firstFollower) = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
}

void LanguageFollower::notifyAll()
{
    // Objects that a slot deletes meanwhile are left out, and new ones have the new texts already.
    std::vector<std::pair<QPointer<QObject>, Retranslate>> here;
    {
        const std::lock_guard lock(followersMutex);
        for (const LanguageFollower *follower = firstFollower; follower;
             follower = follower->m_next) {
            QObject *object = follower->m_object;
            const Retranslate retranslate = follower->m_retranslate;
            if (object->thread() == QThread::currentThread()) {
                here.emplace_back(object, retranslate);
            } else {
                QMetaObject::invokeMethod(
                    object, [=] { retranslate(object); }, Qt::QueuedConnection);
            }
        }
    }
    for (const auto &[object, retranslate] : here) {
        if (object)
            retranslate(object);
    }
}
