/// \file ZEL_ChoiceThreadPrivate.h
/// What a thread keeps of the menus it asks for: the entries of the last one, and the scripts that
/// run just now.
///
/// Vocabulary: *entries* = those up to the array's first sentinel.
/// Ownership:  owns the arrays. They never shrink and their elements are never destroyed, only made
///             sentinels: a generator that asks for another menu goes on writing into them.
/// Threads:    each thread has its own record, which stays until the process has ended.
/// Cost:       the first 32 threads reach theirs by an index. Both arrays take their full size when
///             a generator is first called, and keep it.
#pragma once

#include <KIT/KIT_Array.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Name.h>

#include <cstdint>

class ZEL_ChoiceList;

class ZEL_ChoiceThread
{
public:
    /// Elements of both arrays when a generator is called, its sentinel included.
    static constexpr int64_t theArraySize = 8192;

    /// The calling thread's record.
    static ZEL_ChoiceThread &get();

    /// Forgets the entries of both arrays.
    void clear();
    /// The same for the names, which then hold one sentinel at least.
    void startNames();
    /// Adds an entry. Nothing when the array is full and a generator is writing into it.
    void appendName(const KIT_StringRef &token, const KIT_StringRef &label);
    const ZEL_Name *getNames() const { return myNames.data(); }
    int64_t getNameCount() const { return myNameCount; }

    /// Makes an array for a generator while it lives, and closes it behind what the generator wrote.
    class Generation
    {
    public:
        explicit Generation(ZEL_ChoiceThread &thread);
        ~Generation();
        Generation(const Generation &) = delete;
        Generation &operator=(const Generation &) = delete;

        ZEL_Name *names() { return myThread.myNames.data(); }
        ZEL_Item *items() { return myThread.myItems.data(); }

    private:
        ZEL_ChoiceThread &myThread;
    };

    /// Lets a script run, unless the thread is in a circle of scripts.
    ///
    /// The circle is found with one remembered list, which is taken anew at each power of two of the
    /// depth: the list that comes round again while it is remembered closes the circle. The count of
    /// scripts below each menu that the outermost script asks for is limited, too: a script that asks
    /// for its own menu again and again closes circle after circle and never ends.
    class ScriptRun
    {
    public:
        ScriptRun(ZEL_ChoiceThread &thread, const ZEL_ChoiceList *list);
        ~ScriptRun();
        ScriptRun(const ScriptRun &) = delete;
        ScriptRun &operator=(const ScriptRun &) = delete;

        bool mayRun() const { return myRunFlag; }

    private:
        ZEL_ChoiceThread &myThread;
        const ZEL_ChoiceList *myRememberedList;
        uint64_t myDepth;
        int64_t mySavedDepth;
        bool myRunFlag;
    };

    bool namesBusy = false; ///< no call of a name generator sets it
    bool itemsBusy = false; ///< an item generator is running

private:
    /// Scripts that wait for each other, and scripts below one request of the outermost script.
    static constexpr int theScriptDepth = 64;
    static constexpr int theScriptRuns = 10000;

    bool isCycle(const ZEL_ChoiceList *list);

    ZEL_ChoiceThread *myOlder = nullptr; // the record that was made before
    const ZEL_ChoiceList *myRememberedList = nullptr;
    uint64_t myDepth = 2;
    int64_t mySavedDepth = 0;
    bool myCycleFlag = false;
    int myScriptsInWork = 0;
    int myScriptRuns = 0;
    int myGenerators = 0;
    int64_t myNameCount = 0; // entries that appendName added
    KIT_Array<ZEL_Name> myNames;
    KIT_Array<ZEL_Item> myItems;
};
