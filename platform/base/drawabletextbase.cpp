#include "base/drawabletextbase.h"
