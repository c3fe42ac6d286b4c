/// \file ConditionContents.h
/// What conditions hold, as text: `{[a][==][1] [b][!=][2]}{[c][>][3]}` for two groups.
#pragma once

#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>

#include <memory>
#include <string>

inline std::string contents(const ZEL_Conditional &conditional)
{
    std::string text;
    for (int group = 0; group < conditional.entries(); ++group) {
        const ZEL_ConditionalInfo &info = *conditional(group);
        text += "{";
        for (int i = 0; i < info.entries(); ++i) {
            text += std::string(i > 0 ? " " : "") + "[" + info.getControlParms()(i).nonNullStr() +
                    "][" + ZEL_Conditional::getOperatorString(info.getOperators()(i)) + "][" +
                    info.getControlValues()(i).nonNullStr() + "]";
        }
        text += "}";
    }
    return text;
}

/// One word for each type that there is: "disablewhen={[a][==][1]}". Without a conditional "none".
inline std::string contents(const ZEL_ConditionalBase *base)
{
    if (!base) {
        return "none";
    }
    std::string text = base->groupType() == ZEL_CONDGROUP_SINGLE  ? "single"
                       : base->groupType() == ZEL_CONDGROUP_GROUP ? "group"
                                                                  : "switcher";
    for (int type = ZEL_CONDTYPE_DISABLE; type <= ZEL_CONDTYPE_NOCOOK; ++type) {
        if (const ZEL_Conditional *found = base->getConditional(ZEL_ConditionalType(type))) {
            text += std::string(" ") + found->getName(false) + "=" + contents(*found);
        }
    }
    return text;
}

/// The same for a switcher and its first three tabs.
inline std::string contents(const ZEL_ConditionalSwitcher &switcher)
{
    std::string text = contents(static_cast<const ZEL_ConditionalBase *>(&switcher));
    for (int tab = 0; tab < 3; ++tab) {
        text += "; " + contents(switcher.getTabConditional(tab));
    }
    return text;
}
