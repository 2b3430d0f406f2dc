#pragma once

#include "modelbase_export.h"

#include <QString>

/// What an account can ask of each of its models, whatever else they are.
class MODELBASE_EXPORT ModelBase
{
public:
    virtual ~ModelBase() = default;

    /// Fills the model from the account's store; does nothing when `skip` is true.
    virtual void loadLocalData(bool skip) = 0;
    /// Empties the model; what is stored stays. No model of the library looks at the argument.
    virtual void clearData(bool clear) = 0;

protected:
    QString m_modelName;
};
