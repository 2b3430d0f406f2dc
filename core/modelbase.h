#pragma once

#include "modelbase_export.h"

#include <QString>

/// The operations that every model of an account has.
class MODELBASE_EXPORT ModelBase
{
public:
    virtual ~ModelBase() = default;

    /// Fills the model from the account's store; does nothing when `skip` is true.
    virtual void loadLocalData(bool skip) = 0;
    /// Empties the model; stored values stay. The library's models ignore the argument.
    virtual void clearData(bool clear) = 0;

protected:
    QString m_modelName;
};
