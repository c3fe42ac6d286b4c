// Limits under which the targets find what is slow, not what is merely large.
#pragma once

#include <KIT/KIT_EnvControl.h>

/// Items of nested multi-parameters multiply, so few of them are allowed where a script makes them.
inline void setFuzzLimits(int items, int megabytes)
{
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_ITEMS, items);
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, megabytes);
}
