/// \file KIT_Options.h
/// Named switches that are passed to an operation.
///
/// Vocabulary: *switch* = a name like "json:prettyprint" that is on, off, or not set.
/// Ownership:  copies the names.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     a null or empty name is ignored; names are not checked for a meaning.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringHolder.h>

#include <map>

class KIT_API KIT_Options
{
public:
    KIT_Options();
    KIT_Options(const KIT_Options &);
    KIT_Options &operator=(const KIT_Options &);
    ~KIT_Options();

    void setOptionB(const KIT_StringRef &name, bool value);
    /// The switch, or `fallback` where it isn't set.
    bool getOptionB(const KIT_StringRef &name, bool fallback) const;
    bool hasOption(const KIT_StringRef &name) const;

private:
    std::map<KIT_StringHolder, bool> mySwitches;
};
