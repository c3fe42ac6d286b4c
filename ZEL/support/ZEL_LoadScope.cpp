#include <ZEL/support/ZEL_LoadScopePrivate.h>

__thread int ZEL_LoadScope::theCount = 0;
