// What the targets of dialog scripts share.
#pragma once

#include "FuzzLimits.h"

#include <KIT/KIT_EnvControl.h>

#include <cstdlib>

inline void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

inline void setScriptLimits()
{
    setFuzzLimits(2, 16);
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 8);
    KIT_EnvControl::setInt(KIT_ENV_EXPERIMENTAL_PARMS, 1);
}
