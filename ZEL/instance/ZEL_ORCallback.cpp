#include <ZEL/ZEL_ORCallback.h>

ZEL_ORCallback::~ZEL_ORCallback() = default;
