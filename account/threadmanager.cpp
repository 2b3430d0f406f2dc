#include "account/threadmanager.h"
