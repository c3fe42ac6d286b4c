/// \file KIT_EnvControl.h
/// The numbered integer settings of the application, and the environment.
///
/// Vocabulary: *setting* = an integer with a number from 0 to 511; those of KIT_EnvSetting also
///             have an environment variable, which gives the start value; *limit* = a setting with
///             a default, which applies while the setting is not above 0, and an upper bound.
/// Threads:    any thread.
/// Errors:     a number outside the range reads as 0 and cannot be set. A variable that is no whole
///             number isn't used: a warning of the thread that reads a setting first, or calls
///             readEnvironment(), which an application does where it looks for messages.
/// Cost:       getInt() is one load after the first call.
///
/// KIT_Settings.def has a row for each setting and each variable that is a text.

#pragma once

#include <BAS/BAS_API.h>

enum KIT_EnvSetting
{
#define KIT_SETTING(enumerator, number, variable, byDefault, most) enumerator = number,
#include <KIT/KIT_Settings.def>
};

/// The names of the variables that are texts, for KITgetEnv().
#define KIT_VARIABLE(constant, variable) inline constexpr const char *constant = variable;
#include <KIT/KIT_Settings.def>

class KIT_API KIT_EnvControl
{
public:
    /// The setting's value; 0 unless it was set or its variable holds another number.
    static int getInt(int setting);
    /// The setting's value if it is above 0, at most its upper bound; else its default.
    static int getLimit(int setting);
    /// The upper bound of a limit; 0 for a number that has no row.
    static int getUpperBound(int setting);
    /// False for a number outside the range.
    static bool setInt(int setting, int value);
    /// Takes the start values from the environment, if no setting has been read yet.
    static void readEnvironment();
    /// The environment variable of a setting, or null.
    static const char *getVariable(int setting);
};

/// The value of an environment variable, or null.
KIT_API const char *KITgetEnv(const char *name);
