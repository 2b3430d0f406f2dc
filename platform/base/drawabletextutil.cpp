#include "base/drawabletextutil.h"
