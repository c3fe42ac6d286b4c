/// \file TestOwner.h
/// An owner for tests: has a path, returns what a test has set, and records its notifications.
///
/// Vocabulary: *call* = one line of text for each notification, as `parmRemoved 2`.
/// Ownership:  borrows its list, which the test makes; parameters passed to it are only recorded.
/// Threads:    the evaluation slots may be called from any thread; calls are recorded by the thread
///             that changes the list.
#pragma once

#include <BAS/BAS_Relaxed.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class TestOwner : public ZEL_ParmOwner
{
public:
    explicit TestOwner(const char *path = "/obj/test") : myPath(path) {}

    using ZEL_ParmOwner::getFullPath;
    using ZEL_ParmOwner::getMemoryUsage;

    /// The notifications since the last call, joined by "; ".
    std::string takeCalls()
    {
        std::string joined;
        for (const std::string &call : myCalls) {
            joined += (joined.empty() ? "" : "; ") + call;
        }
        myCalls.clear();
        return joined;
    }

    // What the slots return.
    int editState = 0;
    KIT_ErrorSeverity cookResult = KIT_ERROR_NONE;
    ZEL_ParmList *fallbackList = nullptr;
    ZEL_Parm *referencedParm = nullptr;
    int referencedComponent = 0;
    /// How often overrides were cooked, on all threads.
    std::atomic<int> cookCount{0};

    KIT_ErrorSeverity zelCookOverrides(double, int, const char *, int) override
    {
        ++cookCount;
        return cookResult;
    }
    void adjustExpandedPath(KIT_String &) override {}
    ZEL_Parm *followChannelReference(int, double, int, int &component) override
    {
        component = referencedComponent;
        return referencedParm;
    }
    int getParmEditState() override { return editState; }
    const char *getFullPath(KIT_WorkBuffer &path) const override
    {
        path.strcpy(myPath.c_str());
        return path.buffer();
    }

    ZEL_ParmList *supplyFallbackList() override
    {
        note("supplyFallbackList");
        return fallbackList;
    }
    void settleFallbackList(ZEL_ParmList **) override { note("settleFallbackList"); }
    bool runMenuScript(const char *script, std::ostream &, std::ostream &) override
    {
        note(std::string("runMenuScript ") + script);
        return true;
    }
    void pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope) override
    {
        note("pushScriptContext");
        scope = std::make_unique<ZEL_ParmOwnerContext>();
    }
    void *ownerHook() override { return nullptr; }
    void rebuildParmDependency(int parmIndex) override
    {
        note("rebuildParmDependency " + std::to_string(parmIndex));
    }
    void parmRemoved(int parmIndex) override { note("parmRemoved " + std::to_string(parmIndex)); }
    void spareParmRemoved(const char *token) override
    {
        note(std::string("spareParmRemoved ") + token);
    }
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override
    {
        std::string call = "multiItemCreated";
        for (const ZEL_Parm *parm : parms) {
            call += std::string(" ") + parm->getToken();
        }
        note(call);
    }
    void multiInstancesChanged() override { note("multiInstancesChanged"); }
    bool savePresetContents(std::ostream &) override { return true; }
    bool loadPresetSection(const char *, KIT_IStream &) override { return false; }

private:
    void note(const std::string &call) { myCalls.push_back(call); }

    std::string myPath;
    std::vector<std::string> myCalls;
};
