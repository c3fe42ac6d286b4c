/// \file ZEL_ChoiceThreadPrivate.h
/// A thread's state for the menus that it requests: the entries of the last one, and the running
/// scripts.
///
/// Vocabulary: *entries* = those up to the array's first sentinel.
/// Ownership:  owns the arrays. They never shrink and their elements are never destroyed, only
///             reset to sentinels: a generator that requests another menu keeps writing into
///             them.
/// Threads:    each thread has its own record, which stays until the process has ended.
/// Cost:       the first 32 threads find their record by an index. Both arrays get their full size
///             when a generator is first called, and keep it.
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
    /// The same for the names, which then contain at least one sentinel.
    void startNames();
    /// Adds an entry; does nothing when the array is full and a generator is writing into it.
    void appendName(const KIT_StringRef &token, const KIT_StringRef &label);
    const ZEL_Name *getNames() const { return myNames.data(); }
    int64_t getNameCount() const { return myNameCount; }

    /// Prepares an array for a generator; the destructor terminates it after the generator's
    /// entries.
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

    /// Lets a script run, unless the thread's scripts form a cycle.
    ///
    /// Brent's cycle detection: one list is remembered and replaced whenever the depth reaches a
    /// power of two; meeting it again means that the menu scripts call each other in a cycle. The
    /// number of scripts below each menu that the outermost script requests is limited, too: a
    /// script that keeps requesting its own menu would run into one refused cycle after another and
    /// never end.
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
    /// The limit on nested scripts, and on scripts below one request of the outermost script.
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
