#pragma once

#include "modelbase_export.h"

#include <QSharedPointer>
#include <QString>

class FileData;

/// Keeps the file records that an account's items and transfers share, so that a file has one
/// state, however many messages show it.
///
/// Thread: any.
class MODELBASE_EXPORT FileProvider
{
public:
    virtual ~FileProvider() = default;

    /// The record of a file; null when no one holds one.
    virtual QSharedPointer<FileData> file(const QString &id) = 0;
    /// Registers a record and returns the one to use: the existing record if it is the same
    /// (FileData::isSameRecord), otherwise `record` itself. file() keeps returning the first record
    /// of an id, so that no message can change what another one shows. Null, and a record without
    /// an id, are returned unchanged.
    virtual QSharedPointer<FileData> add(const QSharedPointer<FileData> &record) = 0;
};
