/// \file KIT_EnvControl.h
/// The numbered integer settings of the application.
///
/// Vocabulary: *setting* = an integer with a number from 0 to 511; those of KIT_EnvSetting also have
///             an environment variable, which gives the start value.
/// Threads:    any thread.
/// Errors:     a number outside the range reads as 0 and cannot be set.
/// Cost:       getInt() is one load after the first call.

#pragma once

#include <BAS/BAS_API.h>

enum KIT_EnvSetting
{
    KIT_ENV_CONDENSE_PATHS = 189,     ///< shorten paths below the scene's folder when they are set
    KIT_ENV_EXPERIMENTAL_PARMS = 222, ///< show parameters that scripts mark as experimental
    KIT_ENV_SORTED_SAVE = 307,        ///< write the parameters of a list sorted by token
    KIT_ENV_FOLD_PATH_CASE = 330,     ///< folder names that differ in case only are the same
    KIT_ENV_MAX_STREAM_ITEMS = 340,   ///< multi-parameter items that a stream may make; 0: 100,000
    KIT_ENV_MAX_SCRIPT_NESTING = 341, ///< pages inside of each other in a dialog script; 0: 200
    KIT_ENV_MAX_VECTOR_SIZE = 342     ///< components that a dialog script may ask for; 0: 256
};

class KIT_API KIT_EnvControl
{
public:
    /// The setting's value; 0 unless it was set or its variable holds another number.
    static int getInt(int setting);
    /// False for a number outside the range.
    static bool setInt(int setting, int value);
    /// The environment variable of a setting, or null.
    static const char *getVariable(int setting);
};

/// The value of an environment variable, or null.
KIT_API const char *KITgetEnv(const char *name);
