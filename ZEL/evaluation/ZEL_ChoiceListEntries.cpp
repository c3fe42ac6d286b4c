#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/evaluation/ZEL_ChoiceThreadPrivate.h>
#include <ZEL/menus/ZEL_ChoiceTablePrivate.h>

namespace
{

/// Sets a flag for its lifetime; the destructor clears it even if a generator throws.
class Busy
{
public:
    explicit Busy(bool &mark) : myMark(mark) { myMark = true; }
    ~Busy() { myMark = false; }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

private:
    bool &myMark;
};

} // namespace

// The caller's parameter may belong to an item of a multi-parameter that the generator reads.
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

/// The table, or the generator's result; null if there is neither, or the generator is running.
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
    const Busy busy(thread.itemsBusy);
    myGenerator.items(data, generation.items(), int(ZEL_ChoiceThread::theArraySize - 1), spare,
                      parm);
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
        return ZELcountChoices(findItems(owner, nullptr, nullptr));
    }
    const ZEL_Name *names = nullptr;
    getChoiceNames(names, owner, nullptr, parm, false);
    return ZELcountChoices(names);
}

bool ZEL_ChoiceList::tokenFromIndex(KIT_String &out, int64_t index, void *data,
                                    const ZEL_SpareData *spare, const ZEL_Parm *parm) const
{
    const char *token = nullptr;
    bool foundFlag = false;
    if (index >= 0 && myUsesItemsFlag) {
        const ZEL_Item *items = findItems(data, spare, parm);
        foundFlag = index < ZELcountChoices(items);
        token = foundFlag ? items[index].getToken() : nullptr;
    } else if (index >= 0) {
        const ZEL_Name *names = nullptr;
        getChoiceNames(names, data, spare, parm, false);
        foundFlag = index < ZELcountChoices(names);
        token = foundFlag ? names[index].getToken() : nullptr;
    }
    if (foundFlag) {
        out.harden(token ? token : "");
    } else {
        out.itoa(index);
    }
    return foundFlag;
}
