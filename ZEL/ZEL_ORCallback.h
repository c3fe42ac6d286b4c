/// \file ZEL_ORCallback.h
/// The override provider, which supplies the values of single components from outside the library.
///
/// Vocabulary: *data index* = the provider's own number for a data source; 0 or more.
/// Ownership:  one per process, installed by `ZEL_ParmList::setORCallback` before threads start;
///             not owned.
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

    /// The value of a data source at a time. `timeDep` may be null; else set it to 0 or 1, or
    /// leave it unchanged if unknown. Set `active` to 0 if the source has no value (the component
    /// then uses its own), to 1 if it has, to -1 if it is active but unsure.
    virtual double evalFloat(int dataIndex, double time, int *timeDep, int *active) = 0;
    /// True if the provider took the value. The library passes 0 for `reserved1`, `reserved2`.
    virtual bool setFloat(int dataIndex, double time, int reserved1, int reserved2,
                          double value) = 0;
    virtual std::int64_t evalInt(int dataIndex, double time, int *timeDep, int *active) = 0;
    virtual bool setInt(int dataIndex, double time, int reserved1, int reserved2,
                        std::int64_t value) = 0;
    virtual KIT_StringHolder evalString(int dataIndex, double time, int *timeDep, int *active) = 0;
    /// For the provider's own use: this library writes texts as numbers and never calls it.
    virtual bool setString(int dataIndex, double time, int reserved1, int reserved2,
                           const KIT_StringHolder &value) = 0;
};
