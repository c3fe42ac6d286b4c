/// \file ZEL_Parms.h
/// Loops over the parameters of a list, and look-up by a standard string.
///
///     for (ZEL_Parm &parm : ZELparms(list)) {
///         std::puts(parm.getToken());
///     }
///
/// Ownership:  borrows the list. Parameters that are added at the end during a loop are visited too;
///             none may be removed.
/// Threads:    those of ZEL_ParmList's const calls.
/// Cost:       a test of the index for each parameter.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_ParmList.h>

#include <string_view>

/// The parameters of a list, from the first to the last; null entries are left out. LIST and PARM are
/// const or not.
template <class LIST, class PARM>
class ZEL_Parms
{
public:
    explicit ZEL_Parms(LIST &list) : myList(list) {}

    struct End
    {};
    class Iterator
    {
    public:
        explicit Iterator(LIST &list) : myList(&list) { skipNulls(); }
        PARM &operator*() const { return *myList->getParmPtr(myIndex); }
        Iterator &operator++()
        {
            ++myIndex;
            skipNulls();
            return *this;
        }
        bool operator!=(End) const { return myIndex < myList->getEntries(); }

    private:
        void skipNulls()
        {
            while (myIndex < myList->getEntries() && !myList->getParmPtr(myIndex)) {
                ++myIndex;
            }
        }

        LIST *myList;
        int myIndex = 0;
    };
    Iterator begin() const { return Iterator(myList); }
    End end() const { return End(); }

private:
    LIST &myList;
};

inline ZEL_Parms<ZEL_ParmList, ZEL_Parm> ZELparms(ZEL_ParmList &list)
{
    return ZEL_Parms<ZEL_ParmList, ZEL_Parm>(list);
}
inline ZEL_Parms<const ZEL_ParmList, const ZEL_Parm> ZELparms(const ZEL_ParmList &list)
{
    return ZEL_Parms<const ZEL_ParmList, const ZEL_Parm>(list);
}

/// The parameter of that token, null if there is none.
inline ZEL_Parm *ZELfindParm(ZEL_ParmList &list, std::string_view token)
{
    return list.getParmPtr(KIT_StringHolder(token.data(), token.size()));
}
inline const ZEL_Parm *ZELfindParm(const ZEL_ParmList &list, std::string_view token)
{
    return list.getParmPtr(KIT_StringHolder(token.data(), token.size()));
}
