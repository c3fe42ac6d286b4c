#include <ZEL/evaluation/ZEL_ChoiceThreadPrivate.h>

#include <BAS/BAS_PerThread.h>

#include <algorithm>
#include <atomic>

ZEL_ChoiceThread &ZEL_ChoiceThread::get()
{
    // Never destroyed: other threads may request menus while the process ends. Linked, so that leak checkers
    // find the records of high ids, too.
    static auto *const theRecords = new BAS_PerThread<ZEL_ChoiceThread *>;
    static std::atomic<ZEL_ChoiceThread *> theNewest{nullptr};
    ZEL_ChoiceThread *&record = theRecords->local();
    if (!record) {
        record = new ZEL_ChoiceThread;
        record->myOlder = theNewest.exchange(record);
    }
    return *record;
}

// ---------------------------------------------------------------------- //
// The arrays
// ---------------------------------------------------------------------- //

void ZEL_ChoiceThread::clear()
{
    startNames();
    for (int64_t i = 0; i < myItems.size() && !myItems[i].isSentinel(); ++i) {
        myItems[i] = ZEL_Item();
    }
}

void ZEL_ChoiceThread::startNames()
{
    if (myNames.isEmpty()) {
        myNames.setSize(KITbumpAlloc(0));
    }
    for (int64_t i = 0; i < myNames.size() && !myNames[i].isSentinel(); ++i) {
        myNames[i].setAsSentinel();
    }
    myNameCount = 0;
}

void ZEL_ChoiceThread::appendName(const KIT_StringRef &token, const KIT_StringRef &label)
{
    // One entry is reserved for the sentinel.
    if (myNameCount + 1 >= myNames.size()) {
        if (myGenerators > 0) {
            return;
        }
        myNames.setSize(KITbumpAlloc(myNames.size()));
    }
    ZEL_Name &name = myNames[myNameCount++];
    name.setTokenAndLabelRef(token, label);
    name.setExpressionFlag(0);
}

ZEL_ChoiceThread::Generation::Generation(ZEL_ChoiceThread &thread) : myThread(thread)
{
    thread.clear();
    if (thread.myGenerators == 0) {
        thread.myNames.setSize(std::max(thread.myNames.size(), theArraySize));
        thread.myItems.setSize(std::max(thread.myItems.size(), theArraySize));
    }
    ++thread.myGenerators;
}

ZEL_ChoiceThread::Generation::~Generation()
{
    --myThread.myGenerators;
    myThread.myNames[theArraySize - 1].setAsSentinel();
    myThread.myItems[theArraySize - 1].getName().setAsSentinel();
}

// ---------------------------------------------------------------------- //
// Running scripts
// ---------------------------------------------------------------------- //

bool ZEL_ChoiceThread::isCycle(const ZEL_ChoiceList *list)
{
    if (myCycleFlag || myScriptsInWork >= theScriptDepth || myScriptRuns >= theScriptRuns) {
        return true;
    }
    if ((myDepth & (myDepth - 1)) == 0) {
        myRememberedList = list;
        mySavedDepth = int64_t(myDepth);
        return false;
    }
    myCycleFlag = myRememberedList == list;
    return myCycleFlag;
}

ZEL_ChoiceThread::ScriptRun::ScriptRun(ZEL_ChoiceThread &thread, const ZEL_ChoiceList *list)
    : myThread(thread), myRememberedList(thread.myRememberedList), myDepth(thread.myDepth),
      mySavedDepth(thread.mySavedDepth), myRunFlag(!thread.isCycle(list))
{
    if (!myRunFlag) {
        thread.myDepth = 2;
        thread.myCycleFlag = false;
        return;
    }
    ++thread.myDepth;
    ++thread.myScriptsInWork;
    ++thread.myScriptRuns;
}

ZEL_ChoiceThread::ScriptRun::~ScriptRun()
{
    if (!myRunFlag) {
        return;
    }
    myThread.myRememberedList = myRememberedList;
    myThread.myDepth = myDepth;
    myThread.mySavedDepth = mySavedDepth;
    // The outermost script may request any number of menus.
    if (--myThread.myScriptsInWork <= 1) {
        myThread.myScriptRuns = 0;
    }
}
