#pragma once

#include "feeds/recordererror.h"

#include <QHash>
#include <QString>

/// The participants of a conversation.
struct Cast {
    QHash<QString, int> people; ///< ids by name
    int botId = 0;              ///< the bot that bot commands are meant for

    int idOf(const QString &name) const
    {
        const int id = people.value(name);
        if (id == 0)
            throw RecorderError(QStringLiteral("no person is named %1").arg(name));
        return id;
    }
};
