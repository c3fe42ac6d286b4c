/// \file FacadeList.h
/// The list on which the tests of `ZEL_Parm` run, with owner, collection and event log.
#pragma once

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_ErrorManager.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <common/EventLog.h>
#include <common/TestOwner.h>

#include <string>

/// Index and token of the parameters, in list order.
enum FacadeParm
{
    PARM_T,      ///< "t", ZEL_XYZ of 3, defaults 1 2 3
    PARM_S,      ///< "s", ZEL_XYZ of 3
    PARM_F,      ///< "f", ZEL_FLT, default 5
    PARM_PRESS,  ///< "press", ZEL_CALLBACK
    PARM_QUIET,  ///< "quiet", ZEL_CALLBACK_NOREFRESH
    PARM_HIDDEN, ///< "hidden", an invisible ZEL_FLT, default 7
    PARM_COUNT,  ///< "count", a multi-parameter
    PARM_FOLDER  ///< "folder", ZEL_SWITCHER_REFRESH, not exclusive
};

class FacadeList
{
public:
    FacadeList()
        : templates{ZEL_Template(ZEL_XYZ, 3, &nameT, defaultsT),
                    ZEL_Template(ZEL_XYZ, 3, &nameS),
                    ZEL_Template(ZEL_FLT, 1, &nameF, &defaultF),
                    ZEL_Template(ZEL_CALLBACK, 1, &namePress),
                    ZEL_Template(ZEL_CALLBACK_NOREFRESH, 1, &nameQuiet),
                    ZEL_Template(ZEL_FLT | ZEL_TYPE_INVISIBLE, 1, &nameHidden, &defaultHidden),
                    ZEL_Template(ZEL_MULTITYPE_LIST, items, 1.0, &nameCount),
                    ZEL_Template(ZEL_SWITCHER_REFRESH, 1, &nameFolder, &defaultFolder),
                    ZEL_Template()},
          list(templates, &collection, &owner, nullptr, "", false), events(list)
    {
        for (int i = 0; i < list.getEntries(); ++i) {
            parm(FacadeParm(i)).clearAllDirtyFlags();
        }
    }

    ZEL_Parm &parm(FacadeParm index) { return *list.getParmPtr(int(index)); }

    ZEL_Name nameT{"t", "Translate"}, nameS{"s", "Scale"}, nameF{"f", "Fraction"},
        namePress{"press", "Press"}, nameQuiet{"quiet", "Quiet"}, nameHidden{"hidden", "Hidden"},
        nameCount{"count", "Count"}, nameFolder{"folder", "Folder"};
    ZEL_Default defaultsT[3] = {ZEL_Default(1), ZEL_Default(2), ZEL_Default(3)};
    ZEL_Default defaultF{5}, defaultHidden{7}, defaultFolder{0, "Main"};
    ZEL_Template items[1] = {ZEL_Template()};
    ZEL_Template templates[9];
    TRK_Collection collection;
    TestOwner owner;
    ZEL_ParmList list;
    EventLog events;
};

/// All components at a time: "1 2 3".
inline std::string values(const ZEL_Parm &parm, double time = 0.0)
{
    std::string text;
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        double value = 0.0;
        parm.getValue(time, value, i, BASgetSTID());
        text += (i > 0 ? " " : "") + std::string(KIT_Digits(value).buffer());
    }
    return text;
}

/// One letter a component: D for a dirty one.
inline std::string dirty(const ZEL_Parm &parm)
{
    std::string text;
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        text += parm.isDirty(i) ? 'D' : '.';
    }
    return text;
}
