#pragma once

#include "modelbase_export.h"

#include <QSharedPointer>
#include <QString>

class FileData;

/// Where an account keeps the file records that its items and transfers share, so that a file has
/// one state, however many messages show it.
///
/// Thread: any.
class MODELBASE_EXPORT FileProvider
{
public:
    virtual ~FileProvider() = default;

    /// The record of a file; null when nobody holds one.
    virtual QSharedPointer<FileData> file(const QString &id) = 0;
    /// Registers a record and gives the one to use: the one that was there before when it says the
    /// same (FileData::isSameRecord), otherwise `record` itself. The first record of an id stays
    /// what file() gives, so that no message can change what another one shows. Null, and a record
    /// without an id, come back as they are.
    virtual QSharedPointer<FileData> add(const QSharedPointer<FileData> &record) = 0;
};
