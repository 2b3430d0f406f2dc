#include "settings/appdirmanager.h"
