#include <ZEL/ZEL_ScriptParm.h>

#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/templates/ZEL_TemplateSpecPrivate.h>

namespace
{

/// The spare data given to a template when the record has none.
const ZEL_SpareData &emptySpareData()
{
    static const ZEL_SpareData theEmpty;
    return theEmpty;
}

ZEL_Default *defaultsOrNull(KIT_ValArray<ZEL_Default> &defaults)
{
    return defaults.isEmpty() ? nullptr : defaults.data();
}

} // namespace

int ZEL_ScriptParm::computeTemplateSize() const
{
    return 1 + (myGroup && !myGroup->isMultiParm() ? myGroup->computeTemplateSize() : 0);
}

ZEL_Template *ZEL_ScriptParm::getMultiTemplate()
{
    if (!myMultiTemplate && myGroup && myGroup->isMultiParm()) {
        ZEL_ScriptImports *imports = nullptr;
        buildMultiParmTemplate(imports, 0);
        delete imports;
    }
    return myMultiTemplate.get();
}

void ZEL_ScriptParm::fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports,
                                  int depth)
{
    if (myGroup && !myGroup->isMultiParm()) {
        fillGroup(target, index, imports, depth);
        return;
    }
    ZEL_Template &one = target[index];
    if (myGroup) {
        fillMulti(one, imports, depth);
    } else if (myBaseParmFlag) {
        fillBaseParm(one);
    } else {
        fillParm(one);
    }
    index++;
}

void ZEL_ScriptParm::fillGroup(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports,
                               int depth)
{
    if (!myGroup->getGroupConditional()) {
        myGroup->buildConditionals();
    }
    if (!myGroup->getDefaults()) {
        myGroup->buildSizes();
    }
    ZEL_Template &whole = target[index];
    ZEL_TemplateSpec spec;
    spec.type = &myType;
    spec.vectorSize = myGroup->getPageCount();
    spec.name = &myName;
    spec.defaults = myGroup->getDefaults();
    spec.callback = getCallback();
    spec.spare = mySpareData.get();
    spec.conditional = myGroup->getGroupConditional();
    spec.makeParm(whole);
    whole.setNoCook(getSpareDataOrEmpty(), true);
    if (myBaseParmFlag) {
        whole.setBaseParm(true);
    }
    index++;
    myGroup->fillTemplate(target, index, imports, depth);
}

void ZEL_ScriptParm::fillMulti(ZEL_Template &target, ZEL_ScriptImports *&imports, int depth)
{
    if (!myGroup->getGroupConditional()) {
        myGroup->buildConditionals();
    }
    buildMultiParmTemplate(imports, depth);
    ZEL_TemplateSpec spec;
    spec.multiType = myGroup->getMultiType();
    spec.items = myMultiTemplate.get();
    spec.name = &myName;
    spec.defaults = defaultsOrNull(myDefaults);
    spec.range = myRange.get();
    spec.callback = getCallback();
    spec.spare = mySpareData.get();
    spec.conditional = myGroup->getGroupConditional();
    spec.makeMulti(target);
    target.setNoCook(getSpareDataOrEmpty(), true);
    if (myBaseParmFlag) {
        target.setBaseParm(true);
    }
}

void ZEL_ScriptParm::fillBaseParm(ZEL_Template &target)
{
    const ZEL_Type type =
        ZEL_TYPE_BASEPARM |
        (myType & (ZEL_TYPE_INVISIBLE | ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE));
    ZEL_TemplateSpec spec;
    spec.type = &type;
    spec.exportLevel = getExport();
    spec.name = &myName;
    spec.makeParm(target);
}

void ZEL_ScriptParm::fillParm(ZEL_Template &target)
{
    const ZEL_SpareData &spare = getSpareDataOrEmpty();
    if (spare.getUnquotedState() && myType.isStringType()) {
        myType |= ZEL_TYPE_UNQUOTED;
    }
    if (wantsParametersAnimatable() && !myType.hasAnyOf(ZEL_TYPE_SEPARATOR)) {
        myType |= ZEL_TYPE_CHANNEL;
    }
    const bool rampFlag = (myMultiType & (ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB)) != 0;
    ZEL_TemplateSpec spec;
    spec.exportLevel = getExport();
    spec.name = &myName;
    spec.defaults = defaultsOrNull(myDefaults);
    spec.range = myRange.get();
    spec.callback = getCallback();
    spec.spare = mySpareData.get();
    spec.help = myHelpText;
    spec.conditional = &myConditionals;
    if (rampFlag) {
        spec.multiType = myMultiType;
        spec.makeMulti(target);
    } else {
        spec.type = &myType;
        spec.extended = myTypeExtended;
        spec.vectorSize = mySize;
        spec.choices = myMenu.get();
        spec.makeParm(target);
    }
    target.setNoCook(spare, true);
}

int ZEL_ScriptParm::buildMultiParmTemplate(ZEL_ScriptImports *&imports, int depth)
{
    const int size = myGroup->computeTemplateSize();
    myMultiTemplate.reset(new ZEL_Template[static_cast<uint32_t>(size) + 1]);
    int index = 0;
    for (int i = 0; i < myGroup->getPageCount(); i++) {
        myGroup->getPage(i)->fillTemplate(myMultiTemplate.get(), index, imports, depth + 1, -1,
                                          -1 - i);
    }
    return size;
}

ZEL_Callback ZEL_ScriptParm::getCallback() const
{
    return getSpareDataOrEmpty().getCallbackData() ? getScriptParmCallback() : ZEL_Callback();
}

ZEL_Template::ZEL_Export ZEL_ScriptParm::getExport() const
{
    switch (myExportLevel) {
    case 1: return ZEL_Template::ZEL_EXPORT_2;
    case 2: return ZEL_Template::ZEL_EXPORT_3;
    default: return ZEL_Template::ZEL_EXPORT_0;
    }
}

const ZEL_SpareData &ZEL_ScriptParm::getSpareDataOrEmpty() const
{
    return mySpareData ? *mySpareData : emptySpareData();
}
