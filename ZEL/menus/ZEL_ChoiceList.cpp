#include <ZEL/ZEL_ChoiceList.h>

#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/menus/ZEL_ChoiceThreadPrivate.h>

namespace
{

template <class Entry>
int32_t countTable(const Entry *table)
{
    int32_t count = 0;
    while (table && !table[count].isSentinel()) {
        count++;
    }
    return count;
}

} // namespace

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Name *table)
    : myType(type), myUsesItemsFlag(false), mySize(countTable(table)),
      myScriptLanguage(TRK_SCRIPT_COMMAND)
{
    myChoices.names = table;
    myGenerator.names = nullptr;
}

ZEL_ChoiceList::ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Item *table)
    : myType(type), myUsesItemsFlag(true), mySize(countTable(table)),
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
        mySize = myChoices.items ? countTable(myChoices.items) : mySize;
    } else {
        mySize = myChoices.names ? countTable(myChoices.names) : mySize;
    }
}

int64_t ZEL_ChoiceList::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0) + myScript.getMemoryUsage(false);
}

// ---------------------------------------------------------------------- //
// Asking for entries
// ---------------------------------------------------------------------- //

// The asker may belong to an item of a multi-parameter that the generator reads.
const ZEL_Name *ZEL_ChoiceList::generateNames(void *data, const ZEL_SpareData *spare,
                                              const ZEL_Parm *parm) const
{
    ZEL_ChoiceThread &thread = ZEL_ChoiceThread::get();
    if (thread.namesBusy) {
        return nullptr;
    }
    const ZEL_Multi::KeepItems keep;
    ZEL_ChoiceThread::Generation generation(thread);
    myGenerator.names(data, generation.names(), int(ZEL_ChoiceThread::theArraySize - 1), spare,
                      parm);
    const ZEL_Name *names = generation.names();
    return names->isSentinel() ? nullptr : names;
}

/// The table, or what the generator gives; null if there is nothing, or the generator is running.
const ZEL_Item *ZEL_ChoiceList::findItems(void *data, const ZEL_SpareData *spare,
                                          const ZEL_Parm *parm) const
{
    if (myChoices.items || !myGenerator.items) {
        return myChoices.items;
    }
    ZEL_ChoiceThread &thread = ZEL_ChoiceThread::get();
    if (thread.itemsBusy) {
        return nullptr;
    }
    const ZEL_Multi::KeepItems keep;
    ZEL_ChoiceThread::Generation generation(thread);
    thread.itemsBusy = true;
    myGenerator.items(data, generation.items(), int(ZEL_ChoiceThread::theArraySize - 1), spare,
                      parm);
    thread.itemsBusy = false;
    const ZEL_Item *items = generation.items();
    return items->isSentinel() ? nullptr : items;
}

const ZEL_Name *ZEL_ChoiceList::namesFromItems(const ZEL_Item *items) const
{
    if (!items) {
        return nullptr;
    }
    ZEL_ChoiceThread &thread = ZEL_ChoiceThread::get();
    thread.startNames();
    for (; !items->isSentinel(); ++items) {
        thread.appendName(items->getName().getTokenRef(), items->getName().getLabelRef());
    }
    return thread.getNames();
}

void ZEL_ChoiceList::getChoiceNames(const ZEL_Name *&out, void *data, const ZEL_SpareData *spare,
                                    const ZEL_Parm *parm, bool quiet) const
{
    if (myUsesItemsFlag) {
        out = namesFromItems(findItems(data, spare, parm));
    } else if (myChoices.names) {
        out = myChoices.names;
    } else if (myGenerator.names) {
        out = generateNames(data, spare, parm);
    } else {
        out = myScript.isstring() ? runScript(parm, quiet) : nullptr;
    }
}

void ZEL_ChoiceList::getChoiceItems(const ZEL_Item *&out, void *data, const ZEL_SpareData *spare,
                                    const ZEL_Parm *parm, bool) const
{
    out = myUsesItemsFlag ? findItems(data, spare, parm) : nullptr;
}

int ZEL_ChoiceList::getSizeSlow(const ZEL_Parm *parm) const
{
    void *owner = parm ? parm->getParmOwner() : nullptr;
    if (myUsesItemsFlag) {
        return countTable(findItems(owner, nullptr, nullptr));
    }
    const ZEL_Name *names = nullptr;
    getChoiceNames(names, owner, nullptr, parm, false);
    return countTable(names);
}

bool ZEL_ChoiceList::tokenFromIndex(KIT_String &out, int64_t index, void *data,
                                    const ZEL_SpareData *spare, const ZEL_Parm *parm) const
{
    const char *token = nullptr;
    bool foundFlag = false;
    if (index >= 0 && myUsesItemsFlag) {
        const ZEL_Item *items = findItems(data, spare, parm);
        foundFlag = index < countTable(items);
        token = foundFlag ? items[index].getToken() : nullptr;
    } else if (index >= 0) {
        const ZEL_Name *names = nullptr;
        getChoiceNames(names, data, spare, parm, false);
        foundFlag = index < countTable(names);
        token = foundFlag ? names[index].getToken() : nullptr;
    }
    if (foundFlag) {
        out.harden(token ? token : "");
    } else {
        out.itoa(index);
    }
    return foundFlag;
}
