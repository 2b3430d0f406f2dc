#include "storage/settingstorage.h"
