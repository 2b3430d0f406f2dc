#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QAbstractListModel>

/// The list of a dialog's messages as a view shows it. The application's own list model derives
/// from it; DialogBase only passes it on to DialogBase::jumpToMessage().
class MODELBASE_EXPORT MessageModelBase : public QAbstractListModel
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    using QAbstractListModel::QAbstractListModel;
};
