/// \file ZEL_ORCallback.h
/// The outside party that may take over the values of single components.
///
/// Vocabulary: *data index* = the party's own name for a data source; 0 or more.
/// Ownership:  one per process, installed by `ZEL_ParmList::setORCallback` before threads start; not
///             owned.
/// Threads:    the eval operations are called from any evaluation thread at once, the set
///             operations from the thread that sets values.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API ZEL_ORCallback
{
public:
    virtual ~ZEL_ORCallback();

    /// The value of a data source at a time. `timeDep` may be null; else it receives 0 or 1, or
    /// stays as it is for "not told". `active` receives 0 when the source has nothing to say
    /// (the component then uses its own value), 1 when it has, -1 when it is active but unsure.
    virtual double evalFloat(int dataIndex, double time, int *timeDep, int *active) = 0;
    /// True if the party has taken the value. The library passes 0 for `reserved1`, `reserved2`.
    virtual bool setFloat(int dataIndex, double time, int reserved1, int reserved2,
                          double value) = 0;
    virtual std::int64_t evalInt(int dataIndex, double time, int *timeDep, int *active) = 0;
    virtual bool setInt(int dataIndex, double time, int reserved1, int reserved2,
                        std::int64_t value) = 0;
    virtual KIT_StringHolder evalString(int dataIndex, double time, int *timeDep, int *active) = 0;
    /// Kept for the party's own use: this library writes texts as numbers and never calls it.
    virtual bool setString(int dataIndex, double time, int reserved1, int reserved2,
                           const KIT_StringHolder &value) = 0;
};
