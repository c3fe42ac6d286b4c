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
    ZEL_TemplateSpec content;
    content.type = &myType;
    content.vectorSize = myGroup->getPageCount();
    content.name = &myName;
    content.defaults = myGroup->getDefaults();
    content.callback = getCallback();
    content.spare = mySpareData.get();
    content.conditional = myGroup->getGroupConditional();
    content.makeParm(whole);
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
    ZEL_TemplateSpec content;
    content.multiType = myGroup->getMultiType();
    content.items = myMultiTemplate.get();
    content.name = &myName;
    content.defaults = defaultsOrNull(myDefaults);
    content.range = myRange.get();
    content.callback = getCallback();
    content.spare = mySpareData.get();
    content.conditional = myGroup->getGroupConditional();
    content.makeMulti(target);
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
    ZEL_TemplateSpec content;
    content.type = &type;
    content.exportLevel = getExport();
    content.name = &myName;
    content.makeParm(target);
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
    ZEL_TemplateSpec content;
    content.exportLevel = getExport();
    content.name = &myName;
    content.defaults = defaultsOrNull(myDefaults);
    content.range = myRange.get();
    content.callback = getCallback();
    content.spare = mySpareData.get();
    content.help = myHelpText;
    content.conditional = &myConditionals;
    if (rampFlag) {
        content.multiType = myMultiType;
        content.makeMulti(target);
    } else {
        content.type = &myType;
        content.extended = myTypeExtended;
        content.vectorSize = mySize;
        content.choices = myMenu.get();
        content.makeParm(target);
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
