/// \file ZEL_ParmOwner.h
/// The interface of the node that owns a parameter list.
///
/// Vocabulary: *pending override* = the text of an override that the node has yet to cook; while
///             it isn't empty every evaluation calls `zelCookOverrides` first.
/// Ownership:  a base of the host's nodes. Holds a plain pointer to the list, which the node
///             sets; the list holds a plain pointer back, which a node that is destroyed first
///             clears by `ZEL_ParmList::clearParmOwner`.
/// Threads:    operations marked *evaluation* are called from any thread at once; the rest from the
///             thread that changes the list.
/// Errors:     a list may have no owner (lists of presets, fallback lists): callers skip the call.
///             Notifications of the removal of parameters and items must not throw.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

#include <iosfwd>
#include <memory>

class GRF_Node;
class KIT_IStream;
class KIT_StringArray;
class KIT_WorkBuffer;
class ZEL_Parm;
class ZEL_ParmList;
class ZEL_ParmMicroNode;
class ZEL_ParmNameMap;

/// The owner's own data in calls that take a context. Copying copies nothing.
class ZEL_API ZEL_ParmOwnerContext
{
public:
    ZEL_ParmOwnerContext() = default;
    ZEL_ParmOwnerContext(const ZEL_ParmOwnerContext &) {}
    ZEL_ParmOwnerContext &operator=(const ZEL_ParmOwnerContext &) { return *this; }
    virtual ~ZEL_ParmOwnerContext();
};

class ZEL_API ZEL_ParmOwner
{
public:
    ZEL_ParmOwner(const ZEL_ParmOwner &) = default;
    ZEL_ParmOwner &operator=(const ZEL_ParmOwner &) = default;

    // ------------------------------------------------------------------ //
    /// \name The table of virtual operations, in slot order
    // ------------------------------------------------------------------ //
    ///@{
    /// The owner as a node of the application's graph. Base: null.
    virtual GRF_Node *castToGRFNode();
    virtual const GRF_Node *castToGRFNode() const;
    /// Gets the names that a load doesn't know; may add spare parameters, or map names to those to
    /// load them as. If false, the load warns, with `errors` if any, and continues. Base: true.
    virtual bool createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                              KIT_String &errors);
    /// A list that receives entries which the live list doesn't have; may be null.
    virtual ZEL_ParmList *supplyFallbackList() = 0;
    /// Disposes of the fallback list after a load; must accept a null list.
    virtual void settleFallbackList(ZEL_ParmList **list) = 0;
    /// Runs a menu script of the command language. False if it failed.
    virtual bool runMenuScript(const char *script, std::ostream &out, std::ostream &err) = 0;
    /// Gives the object under which a Python evaluation runs with this node current.
    virtual void pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope) = 0;
    /// *Evaluation.* Base: the pending override flag, for every component.
    virtual bool isParmPendingOverride(const char *token, int index) const;
    /// *Evaluation.* Cooks the pending overrides; on any error the component evaluates to 0. Base:
    /// no error.
    virtual KIT_ErrorSeverity zelCookOverrides(double time, int thread, const char *token,
                                               int index);
    /// Reserved for the node layer; this library never calls it.
    virtual void *ownerHook() = 0;
    /// A button was pressed, or a parameter's dependencies may have changed.
    virtual void rebuildParmDependency(int parmIndex) = 0;
    /// The parameter at this index is about to be removed. Not to throw: it is removed all the same.
    virtual void parmRemoved(int parmIndex) = 0;
    /// *Evaluation.* May rewrite an expanded path value.
    virtual void adjustExpandedPath(KIT_String &path) = 0;
    /// A spare parameter is about to be destroyed.
    virtual void spareParmRemoved(const char *token) = 0;
    /// New items with these parameters were created.
    virtual void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) = 0;
    /// The set of instances changed.
    virtual void multiInstancesChanged() = 0;
    /// Writes the node's own sections of a preset.
    virtual bool savePresetContents(std::ostream &os) = 0;
    /// Reads one such section; false if `word` isn't the keyword of one.
    virtual bool loadPresetSection(const char *word, KIT_IStream &is) = 0;
    /// 1 forbids editing of the parameters.
    virtual int getParmEditState() = 0;
    /// *Evaluation.* A new array of vector-size dependency nodes for the parameter; the library
    /// owns and deletes it as one array, so the elements may be of a subclass that adds virtual
    /// operations but no fields. Called once for a parameter, under its lock: it must not request
    /// that parameter's nodes. Base: `ZEL_ParmMicroNode::createArray`.
    virtual ZEL_ParmMicroNode *createParmMicroNodes(ZEL_Parm &parm) const;
    /// Base: a null holder.
    virtual KIT_StringHolder evaluateDisableExpression(const ZEL_Parm &parm,
                                                       const KIT_StringRef &expression);
    /// *Evaluation.* The parameter that a data parameter's channel refers to, or null.
    /// `component` is `index` on entry and may be changed.
    virtual ZEL_Parm *followChannelReference(int index, double time, int parmIndex,
                                             int &component) = 0;
    virtual ~ZEL_ParmOwner();

protected:
    /// Bytes of the override text, plus the object's own when `inclusive`.
    virtual std::int64_t getMemoryUsage(bool inclusive) const;

public:
    /// *Evaluation.* Writes the node's path and returns the buffer's text.
    virtual const char *getFullPath(KIT_WorkBuffer &path) const = 0;
    ///@}

    void getFullPath(KIT_String &path) const;
    KIT_StringHolder getFullPath() const;

    ZEL_ParmList *getParmList() { return myParmList; }
    const ZEL_ParmList *getParmList() const { return myParmList; }
    void setParmList(ZEL_ParmList *list) { myParmList = list; }

    const KIT_String &getPendingOverrideString() const { return myPendingOverride; }
    /// Null and "" clear the text and the flag.
    void setPendingOverrideString(const char *text);
    bool isPendingOverride() const { return myPendingOverrideFlag; }

protected:
    ZEL_ParmOwner() = default;

private:
    ZEL_ParmList *myParmList = nullptr;
    KIT_String myPendingOverride;
    bool myPendingOverrideFlag = false;
};
