/// \file ZEL_Utils.h
/// Walks over the parameters of folders and of multi-parameters' items.
///
/// Vocabulary: *covers* = the entries of a list that stand in a folder, those of sets of folders
///             inside of it included. A folder of "a", a set of two folders with "b" and "c" in
///             them, and "d" covers 5 entries: the set counts too.
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
    /// first of them, and answers how many there are. With `multi` the parameters in the items of a
    /// multi-parameter follow it, uncounted: they stand at the end of the list.
    static int traverseFolder(ZEL_ParmList &list, ZEL_Parm *switcher, int folder, int first,
                              bool multi, Visitor visitor, void *data);

    /// Sets the bits of the parameters in the items.
    static void flagMultiParmInstances(const ZEL_ParmList &list, ZEL_Parm *multi,
                                       KIT_BitArray &bits);
};
