#include <ZEL/support/ZEL_LoadScopePrivate.h>

std::atomic<int> ZEL_LoadScope::theCount{0};
