#include "base/util.h"
