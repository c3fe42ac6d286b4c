#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ScriptPlacesPrivate.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>

namespace
{

void collect(const ZEL_ScriptPage &page, NOD_ScriptParms &parms)
{
    for (int i = 0; i < page.getParmEntries(); ++i) {
        const ZEL_ScriptParm &parm = *page.getParm(i);
        parms[&parm.getName()] = &parm;
        const ZEL_ScriptGroup *const group = parm.getGroup();
        for (int k = 0; group && k < group->getPageCount(); ++k) {
            collect(*group->getPage(k), parms);
        }
    }
}

class NameCheck
{
public:
    NameCheck(NOD_ScriptPlaces &places, NOD_Report &report)
        : myFile(places.getScript().getFile()), myParms(NODscriptParms(places.getScript())),
          myPlaces(places), myReport(report)
    {
        tell(places.getScript().getTemplates(), 0);
    }

private:
    void tell(const ZEL_Template *from, int item);
    void tell(const ZEL_Template &at, int code, const std::string &name);

    const std::string &myFile;
    const NOD_ScriptParms myParms;
    NOD_ScriptPlaces &myPlaces;
    NOD_Report &myReport;
};

/// The name of an item's parameter with the item's number; as it is outside of blocks.
std::string itemName(std::string name, int item)
{
    const std::string number = item > 0 ? std::to_string(item) : "#";
    for (std::size_t at = 0; (at = name.find('#', at)) != std::string::npos; at += number.size()) {
        name.replace(at, 1, number);
    }
    return name;
}

bool isExpression(const ZEL_Template &one, const ZEL_Default &value)
{
    const ZEL_Type &type = one.getType();
    return type.isStringType()
               ? ZEL_Parm::isStringExpression(value.getString(), value.getStringMeaning(), &one)
           : type.isOrdinalType() ? ZEL_Parm::isOrdinalExpression(value, &one)
                                  : type.isFloatType() && *value.getString();
}

/// The number of the last item that a new block has; of the first one, without any.
int lastItem(const ZEL_Template &block)
{
    constexpr double theMost = 1e6;
    const ZEL_Default *const count = block.getFactoryDefaults();
    const double items = count ? std::clamp(double(count->getFloat()), 1.0, theMost) : 1.0;
    return std::max(block.getMultiStartOffset() + int(items) - 1, 1);
}

/// Whether a component has an expression that no channel can hold.
bool hasNoChannel(const ZEL_Template &one, int item)
{
    const ZEL_Default *const defaults = one.isSwitcher() ? nullptr : one.getFactoryDefaults();
    for (int i = 0; defaults && i < one.getVectorSize(); ++i) {
        const std::string name = itemName(one.getChannelToken(i).nonNullStr(), item);
        if (!TRK_Collection::isValidChannelName(name.c_str()) && isExpression(one, defaults[i])) {
            return true;
        }
    }
    return false;
}

void NameCheck::tell(const ZEL_Template *from, int item)
{
    for (const ZEL_Template *at = from; at && !at->isTerminator(); ++at) {
        const std::string name = itemName(at->getToken(), item);
        if (at->getType().getBasicType() != ZEL_Type::ZEL_BASIC_NONE &&
            !ZEL_ParmList::isTextName(KIT_StringRef(name.c_str()))) {
            tell(*at, ZEL_ERR_TEXT_NAME, name);
        }
        if (hasNoChannel(*at, item)) {
            tell(*at, ZEL_ERR_CHANNEL_NAME, name);
        }
        if (at->isMultiType() && !at->isRampType()) {
            tell(at->getMultiParmTemplate(), lastItem(*at));
        }
    }
}

void NameCheck::tell(const ZEL_Template &at, int code, const std::string &name)
{
    const auto found = myParms.find(at.getNamePtr());
    const ZEL_ScriptParm *const parm = found == myParms.end() ? nullptr : found->second;
    const bool placedFlag = parm && parm->getLine() > 0;
    myReport.add({KIT_ERROR_WARNING,
                  placedFlag ? parm->getFile().c_str() : myFile,
                  placedFlag ? parm->getLine() : 0,
                  {},
                  KITformatMessage(ZEL_ERROR_CATEGORY, code, name.c_str()),
                  ZEL_ERROR_CATEGORY,
                  code,
                  myPlaces.findWord(at, "name", at.getToken() ? at.getToken() : "")});
}

} // namespace

NOD_ScriptParms NODscriptParms(const NOD_Interface &script)
{
    NOD_ScriptParms parms;
    if (script.getPage()) {
        collect(*script.getPage(), parms);
    }
    return parms;
}

void NODcheckNames(const NOD_Interface &script, NOD_Report &report)
{
    NOD_ScriptPlaces places(script);
    NODcheckNames(places, report);
}

void NODcheckNames(NOD_ScriptPlaces &places, NOD_Report &report)
{
    NameCheck(places, report);
}
