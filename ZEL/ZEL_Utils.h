/// \file ZEL_Utils.h
/// Walks over the parameters of folders and of multi-parameters' items.
///
/// Vocabulary: *covers* = the entries of a list that are in a folder, including those in nested
///             sets of folders. A folder of "a", a set of two folders with "b" and "c" in them, and
///             "d" covers 5 entries: the set counts too.
/// Units:      indices of the list, from 0.
/// Threads:    those of ZEL_ParmList's const calls.
/// Errors:     counts that reach past the list end at it.
#pragma once

#include <ZEL/ZEL_API.h>

class KIT_BitArray;
class ZEL_Parm;
class ZEL_ParmList;

class ZEL_API ZEL_Utils
{
public:
    using Visitor = void (*)(const ZEL_ParmList &list, ZEL_Parm *parm, int index, void *data);

    /// Calls the visitor (null allowed) for each entry that the folder covers, `first` being the
    /// first of them, and returns how many there are. With `multi` a multi-parameter is followed by
    /// the parameters of its items, which aren't counted: they are at the end of the list.
    static int traverseFolder(ZEL_ParmList &list, ZEL_Parm *switcher, int folder, int first,
                              bool multi, Visitor visitor, void *data);

    /// Sets the bits of the parameters in the items.
    static void flagMultiParmInstances(const ZEL_ParmList &list, ZEL_Parm *multi,
                                       KIT_BitArray &bits);
};
