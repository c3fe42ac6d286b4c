/// \file ZEL_ScriptGroup.h
/// The pages of one set of folders, or the one page of a multi-parameter.
///
/// Vocabulary: *owner* = the record that represents the set in its page (ZEL_ScriptParm). *Sizes* =
///             one default a folder: how many parameters it contains directly, and its label.
/// Ownership:  owns its pages, sizes and conditions; templates borrow the last two.
/// Threads:    one thread at a time.
/// Errors:     a missing page is null.
#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Template.h>

#include <memory>
#include <vector>

class ZEL_ConditionalSwitcher;
class ZEL_ScriptImports;
class ZEL_ScriptPage;
class ZEL_ScriptParm;

class ZEL_API ZEL_ScriptGroup
{
public:
    ZEL_ScriptGroup(ZEL_ScriptParm *owner, bool multi);
    virtual ~ZEL_ScriptGroup();
    ZEL_ScriptGroup(const ZEL_ScriptGroup &) = delete;
    ZEL_ScriptGroup &operator=(const ZEL_ScriptGroup &) = delete;

    // ---------------------------------------------------------------- //
    /// \name Pages
    // ---------------------------------------------------------------- //
    int getPageCount() const { return int(myPages.size()); }
    /// Null outside 0 .. count - 1.
    ZEL_ScriptPage *getPage(int index) const
    {
        return index >= 0 && index < getPageCount() ? myPages[size_t(index)].get() : nullptr;
    }
    /// Takes ownership of the page.
    void addPage(ZEL_ScriptPage *page);
    ZEL_ScriptParm *getOwner() const { return myOwner; }
    void setOwner(ZEL_ScriptParm *owner) { myOwner = owner; }

    // ---------------------------------------------------------------- //
    /// \name Multi-parameters
    // ---------------------------------------------------------------- //
    bool isMultiParm() const { return myIsMultiFlag; }
    ZEL_MultiType getMultiType() const { return myMultiType; }
    void setMultiType(ZEL_MultiType type) { myMultiType = type; }

    // ---------------------------------------------------------------- //
    /// \name Templates
    // ---------------------------------------------------------------- //
    /// Templates of all pages.
    int computeTemplateSize() const;
    /// Rebuilds the sizes, ended by a zero record.
    void buildSizes();
    /// Rebuilds the conditions: those of the first page for the set, those of each page's tab for
    /// its folder. Null when there are none.
    void buildConditionals();
    /// Null until buildSizes(). A rebuild invalidates what was returned before.
    ZEL_Default *getDefaults() { return mySizes.isEmpty() ? nullptr : mySizes.data(); }
    ZEL_ConditionalSwitcher *getGroupConditional() const { return myConditional.get(); }
    /// Writes each page's templates from `index` on. Imports are one level deeper; in the first
    /// folder their switcher is the template before `index`, in a later one the last template so
    /// far.
    void fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports, int depth);

private:
    std::vector<std::unique_ptr<ZEL_ScriptPage>> myPages;
    ZEL_ScriptParm *myOwner;
    KIT_ValArray<ZEL_Default> mySizes;
    std::unique_ptr<ZEL_ConditionalSwitcher> myConditional;
    ZEL_MultiType myMultiType = ZEL_MULTITYPE_LIST;
    bool myIsMultiFlag;
};
