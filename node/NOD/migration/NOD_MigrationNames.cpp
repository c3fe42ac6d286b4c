#include <NOD/migration/NOD_MigrationNamesPrivate.h>

#include <NOD/tree/NOD_NumberPatternPrivate.h>
#include <ZEL/ZEL_CallbackType.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>

namespace
{

bool hasValue(const ZEL_Template &description)
{
    const ZEL_Type &type = description.getType();
    const bool labelFlag =
        type.isStringType() && type.hasStringType(ZEL_TYPE_LABEL.getStringType());
    return description.getVectorSize() > 0 && !description.isSwitcher() && !labelFlag &&
           !ZELisCallbackType(type) &&
           (type.isFloatType() || type.isOrdinalType() || type.isStringType() || type.isDataType());
}

} // namespace

void NOD_MigrationNames::add(const ZEL_Template *templates, int depth, const std::string &block)
{
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        std::string token = at->getTokenRef().nonNullStr();
        for (int marks = int(std::count(token.begin(), token.end(), '#')); marks < depth; ++marks) {
            token += marks ? "_#" : "#";
        }
        if (hasValue(*at) || at->isMultiType()) {
            myPlaces.emplace(token, myNames.size());
            myNames.push_back({token, at, block});
        }
        if (at->isMultiType()) {
            add(at->getMultiParmTemplate(), depth + 1, token);
        }
    }
}

const NOD_MigrationName *NOD_MigrationNames::find(const std::string &token) const
{
    const auto place = myPlaces.find(token);
    if (place != myPlaces.end()) {
        return &myNames[place->second];
    }
    for (const NOD_MigrationName &name : myNames) {
        std::vector<std::string> numbers;
        if (NODmatchNumbers(token, name.token, numbers)) {
            return &name;
        }
    }
    return nullptr;
}

std::vector<std::string> NODfixedEntries(const ZEL_Template &description)
{
    std::vector<std::string> entries;
    const ZEL_ChoiceList *const menu = description.getChoiceListPtr();
    const bool fixedFlag = menu && menu->choiceNamesPtr() && menu->getStaticSize() > 0 &&
                           (menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT) != 0;
    for (int i = 0; fixedFlag && i < menu->getStaticSize(); ++i) {
        entries.emplace_back(menu->choiceNamesPtr()[i].getTokenRef().nonNullStr());
    }
    return entries;
}
