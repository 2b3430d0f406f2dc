#pragma once

#include "modelbase_export.h"

#include <QObject>

/// A member of an object whose texts depend on the application's language: it notifies the object
/// when they must be read again. It takes four words and no connection, so that each of a hundred
/// thousand items can have one.
class MODELBASE_EXPORT LanguageFollower
{
public:
    using Retranslate = void (*)(QObject *object);

    /// `retranslate` is called with the object, on its thread.
    LanguageFollower(QObject *object, Retranslate retranslate);
    ~LanguageFollower();
    Q_DISABLE_COPY_MOVE(LanguageFollower)

    /// Notifies all followers; those of the calling thread at once. AppSettingModel calls it once
    /// all sources of texts use the new language.
    static void notifyAll();

private:
    QObject *const m_object;
    const Retranslate m_retranslate;
    LanguageFollower *m_previous = nullptr;
    LanguageFollower *m_next = nullptr;
};
