#include "content/modelbaseutil.h"
