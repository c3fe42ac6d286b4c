/// \file BenchOwner.h
/// An owner of lists that does nothing.
#pragma once

#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <memory>

namespace bench
{

class BenchOwner : public ZEL_ParmOwner
{
public:
    ZEL_ParmList *supplyFallbackList() override { return nullptr; }
    void settleFallbackList(ZEL_ParmList **) override {}
    bool runMenuScript(const char *, std::ostream &, std::ostream &) override { return true; }
    void pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &) override {}
    void *ownerHook() override { return nullptr; }
    void rebuildParmDependency(int) override {}
    void parmRemoved(int) override {}
    void adjustExpandedPath(KIT_String &) override {}
    void spareParmRemoved(const char *) override {}
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &) override {}
    void multiInstancesChanged() override {}
    bool savePresetContents(std::ostream &) override { return true; }
    bool loadPresetSection(const char *, KIT_IStream &) override { return false; }
    int getParmEditState() override { return 0; }
    ZEL_Parm *followChannelReference(int, double, int, int &) override { return nullptr; }
    const char *getFullPath(KIT_WorkBuffer &path) const override
    {
        path.strcpy("/bench");
        return path.buffer();
    }
};

} // namespace bench
