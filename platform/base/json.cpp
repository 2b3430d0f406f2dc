#include "base/json.h"
