#include "storage/globalstorageprovider.h"
