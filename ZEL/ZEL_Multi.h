/// \file ZEL_Multi.h
/// A float parameter whose value is the count of its items, each a copy of a block of parameters.
///
/// Vocabulary: *item* = one copy of the block, 0-based; *child* = a parameter of the block;
///             *flat index* = item x children + child.
/// Units:      item numbers in names are the 0-based item plus the template's start offset.
/// Ownership:  as `ZEL_Float`. The children stand in the list like every other parameter.
/// Threads:    as `ZEL_Float`.
///
/// At present the count is held, animated and saved, and no items are made for it.
#pragma once

#include <ZEL/ZEL_Float.h>

class ZEL_API ZEL_Multi : public ZEL_Float
{
public:
    ZEL_Multi(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Multi() override;

    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;
    bool isMultiParm() const override;
    int getMultiParmNumItems() const override;
    int getMultiParmInstancesPerItem() const override;

    /// Takes the other's count over.
    void copy(const ZEL_Multi *other);
    /// Null outside 0 .. children x items - 1.
    ZEL_Parm *getParm(int flatIndex) const;
    ZEL_Template *getTemplate(int flatIndex) const;
    /// The flat index of a child by its token, -1 if it is none of this multi-parameter's.
    int findMultiParmIndex(const char *token, bool useStartOffset) const;

    /// True while any multi-parameter grows or shrinks.
    static bool getIsAddingOrRemovingParms() { return theIsAddingOrRemovingParms; }

    /// Puts instance numbers into a name; see `ZELinstanceString`.
    static void instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat);

protected:
    ZEL_Multi(const ZEL_Multi &source, ZEL_Parm *parm);

private:
    int myInstancesPerItem;

    static bool theIsAddingOrRemovingParms;
};
