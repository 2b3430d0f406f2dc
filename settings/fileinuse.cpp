#include "settings/fileinuse.h"

#include <QDir>
#include <QHash>

#include <mutex>

namespace
{

struct Uses {
    std::mutex mutex;
    QHash<QString, int> counts;

    bool contain(const QString &path) const
    {
        for (auto use = counts.keyBegin(); use != counts.keyEnd(); ++use) {
            if (path.startsWith(*use)
                && (path.size() == use->size() || path.at(use->size()) == u'.'))
                return true;
        }
        return false;
    }
};

Uses &uses()
{
    static Uses *all = new Uses; // never deleted: a download may outlive statics
    return *all;
}

QString clean(const QString &path)
{
    return QDir::cleanPath(QDir::fromNativeSeparators(path));
}

} // namespace

FileInUse::FileInUse(const QString &path) : m_path(clean(path))
{
    const std::lock_guard lock(uses().mutex);
    ++uses().counts[m_path];
}

FileInUse::~FileInUse()
{
    const std::lock_guard lock(uses().mutex);
    if (--uses().counts[m_path] == 0)
        uses().counts.remove(m_path);
}

bool FileInUse::contains(const QString &path)
{
    const std::lock_guard lock(uses().mutex);
    return uses().contain(clean(path));
}

bool FileInUse::unlessUsed(const QString &path, const std::function<void()> &work)
{
    const std::lock_guard lock(uses().mutex);
    if (uses().contain(clean(path)))
        return false;
    work();
    return true;
}
