#include <ZEL/migration/ZEL_SwitcherMirrorPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SpareData.h>

#include <string>
#include <string_view>

namespace
{

/// strcmp returns -1 here. Saved scenes contain this text: it must not change.
constexpr std::string_view theMark = "1+strcmp(\"\", \"AUTO-GENERATED\")+";

const char *targetToken(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    if (!type.isSwitcher() || !type.hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE)) {
        return nullptr;
    }
    const ZEL_SpareData *spare = parm.getSparePtr();
    return spare ? spare->getValue(ZEL_SpareData::getSwitcherBaseToken()) : nullptr;
}

std::string expressionOf(const ZEL_Parm &parm, double time)
{
    KIT_String text;
    parm.getExpressionOnly(time, text, 0, BASgetSTID());
    return text.nonNullStr();
}

/// Parameters of the fixed part alone live as long as the list.
bool canBeTarget(const ZEL_Parm &parm)
{
    return parm.getInstance() && parm.getType().isSwitcher() && !parm.isSpareParm() &&
           !parm.getMultiParmOwner();
}

bool isMarked(std::string_view expression)
{
    return expression.substr(0, theMark.size()) == theMark;
}

} // namespace

ZEL_SwitcherMirror::ZEL_SwitcherMirror(ZEL_ParmList &list, ZEL_Parm &parm) : myParm(parm)
{
    const char *token = targetToken(parm);
    ZEL_Parm *target = token ? list.getParmPtr(token) : nullptr;
    if (target && target != &parm && canBeTarget(*target)) {
        myTarget = target;
    }
}

void ZEL_SwitcherMirror::takeValue(ZEL_Parm &to, const ZEL_Parm &from, double time, bool notify)
{
    constexpr bool replaceExpression = false;
    constexpr bool copyChannels = false;
    constexpr bool tellNow = false;
    to.clearAndDestroyChannels(tellNow);
    to.copyValue(time, 0, from, 0, replaceExpression, notify, copyChannels, ZEL_ADDKEY_PENDING,
                 ZEL_KEYSET_PREFERENCE);
}

void ZEL_SwitcherMirror::setUp(double time, bool notify)
{
    if (!myTarget || myParm.getVectorSize() == 0) {
        return;
    }
    const std::string present = expressionOf(*myTarget, time);
    if (!present.empty() && !isMarked(present)) {
        takeValue(myParm, *myTarget, time, notify);
        // Otherwise a default that is applied later would undo it.
        myParm.getInstance()->setDefaultsInitFlag(true);
    }
    const std::string expression =
        std::string(theMark) + "ch(\"" + myParm.getChannelToken(0).c_str() + "\")";
    constexpr bool evaluate = false;
    constexpr bool freshChannel = true;
    myTarget->setExpression(0.0, expression.c_str(), TRK_LANGUAGE_NATIVE, 0, evaluate, freshChannel,
                            notify);
}

void ZEL_SwitcherMirror::undo(double time, bool notify)
{
    if (myTarget && isMarked(expressionOf(*myTarget, time))) {
        takeValue(*myTarget, myParm, time, notify);
    }
}
