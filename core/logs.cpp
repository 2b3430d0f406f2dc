#include "core/logs_p.h"

Q_LOGGING_CATEGORY(lcSettings, "im.settingmodel")
Q_LOGGING_CATEGORY(lcModel, "im.modelbase")
