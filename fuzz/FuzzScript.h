// What the targets of dialog scripts share.
#pragma once

#include <KIT/KIT_EnvControl.h>

#include <cstdlib>

inline void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Items of nested multi-parameters multiply, so few of them are allowed.
inline void setScriptLimits()
{
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_ITEMS, 2);
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, 16);
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 8);
    KIT_EnvControl::setInt(KIT_ENV_EXPERIMENTAL_PARMS, 1);
}
