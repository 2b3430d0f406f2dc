#include "base/define.h"
