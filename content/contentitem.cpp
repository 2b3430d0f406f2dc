#include "content/contentitem.h"
