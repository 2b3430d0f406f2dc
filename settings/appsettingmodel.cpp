#include "settings/appsettingmodel.h"
