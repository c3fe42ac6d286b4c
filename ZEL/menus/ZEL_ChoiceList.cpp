#include <ZEL/ZEL_ChoiceList.h>

#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/menus/ZEL_ChoiceTablePrivate.h>

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Name *table)
    : myType(type), myUsesItemsFlag(false), mySize(ZELcountChoices(table)),
      myScriptLanguage(TRK_SCRIPT_COMMAND)
{
    myChoices.names = table;
    myGenerator.names = nullptr;
}

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Item *table)
    : myType(type), myUsesItemsFlag(true), mySize(ZELcountChoices(table)),
      myScriptLanguage(TRK_SCRIPT_COMMAND)
{
    myChoices.items = table;
    myGenerator.items = nullptr;
}

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, NameGenerator generator)
    : myType(type), myUsesItemsFlag(false), mySize(-1), myScriptLanguage(TRK_SCRIPT_COMMAND)
{
    myChoices.names = nullptr;
    myGenerator.names = generator;
}

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, ItemGenerator generator)
    : myType(type), myUsesItemsFlag(true), mySize(-1), myScriptLanguage(TRK_SCRIPT_COMMAND)
{
    myChoices.items = nullptr;
    myGenerator.items = generator;
}

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, const char *script,
                               TRK_ScriptLanguage language)
    : myType(type), myUsesItemsFlag(false), mySize(-1), myScriptLanguage(language)
{
    myChoices.names = nullptr;
    myGenerator.names = nullptr;
    myScript.harden(script);
}

ZEL_ChoiceList::ZEL_ChoiceList(const ZEL_ChoiceList &) = default;
ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceList &&) noexcept = default;
ZEL_ChoiceList &ZEL_ChoiceList::operator=(const ZEL_ChoiceList &) = default;
ZEL_ChoiceList &ZEL_ChoiceList::operator=(ZEL_ChoiceList &&) noexcept = default;
ZEL_ChoiceList::~ZEL_ChoiceList() = default;

bool ZEL_ChoiceList::isDynamic() const
{
    return getChoiceGenerator() || getItemGenerator() || myScript.isstring();
}

void ZEL_ChoiceList::updateStaticChoiceSize()
{
    if (myUsesItemsFlag) {
        mySize = myChoices.items ? ZELcountChoices(myChoices.items) : mySize;
    } else {
        mySize = myChoices.names ? ZELcountChoices(myChoices.names) : mySize;
    }
}

int64_t ZEL_ChoiceList::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0) + myScript.getMemoryUsage(false);
}
