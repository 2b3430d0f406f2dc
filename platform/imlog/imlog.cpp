#include "imlog/imlog.h"
