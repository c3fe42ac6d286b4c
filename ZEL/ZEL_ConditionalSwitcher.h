/// \file ZEL_ConditionalSwitcher.h
/// The conditions of a set of folders: those of the whole set, and those of each tab.
///
/// Vocabulary: *tab* = one folder of the set.
/// Units:      tabs are numbered from 0, in the order of the folders.
/// Ownership:  owns its conditions; what is added is copied, and copies are deep.
/// Threads:    const calls from any thread; changes by one thread at a time.
/// Errors:     as ZEL_Conditional: a text that can't be read adds an empty condition.
#pragma once

#include <ZEL/ZEL_ConditionalGroup.h>

#include <initializer_list>
#include <map>
#include <memory>

/// How a table of templates declares a condition of one tab.
struct ZEL_ConditionalSwitcherItem
{
    int32_t tab;
    const char *text;
    ZEL_ConditionalType type;
};

class ZEL_API ZEL_ConditionalSwitcher : public ZEL_ConditionalGroup
{
public:
    ZEL_ConditionalSwitcher();
    /// `tabs` for the tabs, `items` for the whole set.
    ZEL_ConditionalSwitcher(std::initializer_list<ZEL_ConditionalSwitcherItem> tabs,
                            std::initializer_list<Item> items = {});
    ZEL_ConditionalSwitcher(const ZEL_ConditionalSwitcher &other);
    ZEL_ConditionalSwitcher &operator=(const ZEL_ConditionalSwitcher &other);
    ~ZEL_ConditionalSwitcher() override;

    ZEL_ConditionalGroupType groupType() const override;
    ZEL_ConditionalSwitcher *instance(const KIT_ValArray<int> &instances) const override;
    int64_t getMemoryUsage(bool inclusive) const override;
    bool hasItemNumbers() const override;

    /// Replaces the tab's conditions. Passing a switcher leaves the tab without any.
    void setTabConditional(int tab, const ZEL_ConditionalBase &base);
    /// Adds to the tab's conditions; a second one makes it a group, with one condition for each
    /// type.
    void addTabConditional(int tab, const ZEL_Conditional &conditional);
    /// A single condition or a group; null when the tab has none.
    ZEL_ConditionalBase *getTabConditional(int tab);
    const ZEL_ConditionalBase *getTabConditional(int tab) const;
    /// The tab's condition of that type; null when there is none.
    ZEL_Conditional *getTabConditional(int tab, ZEL_ConditionalType type);
    const ZEL_Conditional *getTabConditional(int tab, ZEL_ConditionalType type) const;
    /// Removes the conditions of the set and of all tabs.
    void clear();

private:
    std::map<int32_t, std::unique_ptr<ZEL_ConditionalBase>> myTabs;
};
