/// \file ZEL_ConditionalBase.h
/// The base class of the conditions under which a parameter is disabled, hidden or must not cook.
///
/// Vocabulary: *type* = what the condition decides; *single*, *group*, *switcher* = one condition,
///             one for each type, one for each folder.
/// Ownership:  templates borrow conditionals; instance() returns a new one that the caller owns.
/// Threads:    const calls from any thread; filled by one thread, before the templates are used.
#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_Conditional;

/// What a condition decides. Stored: append only.
enum ZEL_ConditionalType : int32_t
{
    ZEL_CONDTYPE_DISABLE = 0, ///< the parameter is greyed out
    ZEL_CONDTYPE_HIDE = 1,    ///< the parameter is not shown
    ZEL_CONDTYPE_NOCOOK = 2   ///< a change does not recompute the owner
};

/// All of them, in order.
constexpr ZEL_ConditionalType theZELConditionalTypes[] = {ZEL_CONDTYPE_DISABLE, ZEL_CONDTYPE_HIDE,
                                                          ZEL_CONDTYPE_NOCOOK};

/// Which class a conditional is.
enum ZEL_ConditionalGroupType : int32_t
{
    ZEL_CONDGROUP_SINGLE = 0,  ///< `ZEL_Conditional`: one condition of one type
    ZEL_CONDGROUP_GROUP = 1,   ///< `ZEL_ConditionalGroup`: at most one for each type
    ZEL_CONDGROUP_SWITCHER = 2 ///< `ZEL_ConditionalSwitcher`: a group, and one for each folder
};

class ZEL_API ZEL_ConditionalBase
{
public:
    virtual ~ZEL_ConditionalBase();

    virtual ZEL_ConditionalGroupType groupType() const = 0;
    /// A copy with the instance numbers filled into its texts; the caller owns it.
    virtual ZEL_ConditionalBase *instance(const KIT_ValArray<int> &instances) const = 0;
    /// The condition of that type; null when there is none.
    virtual ZEL_Conditional *getConditional(ZEL_ConditionalType type) = 0;
    virtual const ZEL_Conditional *getConditional(ZEL_ConditionalType type) const = 0;
    /// Heap bytes, and the object itself when inclusive.
    virtual int64_t getMemoryUsage(bool inclusive) const = 0;
    /// Whether `instance` would replace anything; items share a condition in which it doesn't.
    /// Base: true.
    virtual bool hasItemNumbers() const;
};
