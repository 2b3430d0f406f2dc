#pragma once

#include "modelbase_export.h"

#include <QObject>

class StickerProvider;

/// One account on this machine, as far as message contents need it.
class MODELBASE_EXPORT AccountBase : public QObject
{
    Q_OBJECT

public:
    explicit AccountBase(QObject *parent = nullptr);
    ~AccountBase() override;

    /// Not owned; null until one is set, and then stickers cannot be made.
    StickerProvider *stickerProvider() const { return m_stickerProvider; }
    void setStickerProvider(StickerProvider *provider) { m_stickerProvider = provider; }

private:
    StickerProvider *m_stickerProvider = nullptr;
};
