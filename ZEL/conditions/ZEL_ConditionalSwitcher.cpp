#include <ZEL/ZEL_ConditionalSwitcher.h>

#include <ZEL/ZEL_Conditional.h>

#include <algorithm>
#include <memory>

namespace
{

/// A copy of a single condition or a group; null for a switcher, which a tab can't have.
std::unique_ptr<ZEL_ConditionalBase> copyForTab(const ZEL_ConditionalBase &base)
{
    switch (base.groupType()) {
    case ZEL_CONDGROUP_SINGLE:
        return std::make_unique<ZEL_Conditional>(static_cast<const ZEL_Conditional &>(base));
    case ZEL_CONDGROUP_GROUP:
        return std::make_unique<ZEL_ConditionalGroup>(
            static_cast<const ZEL_ConditionalGroup &>(base));
    case ZEL_CONDGROUP_SWITCHER: break;
    }
    return nullptr;
}

} // namespace

ZEL_ConditionalSwitcher::ZEL_ConditionalSwitcher() = default;

ZEL_ConditionalSwitcher::ZEL_ConditionalSwitcher(
    std::initializer_list<ZEL_ConditionalSwitcherItem> tabs, std::initializer_list<Item> items)
    : ZEL_ConditionalGroup(items)
{
    for (const ZEL_ConditionalSwitcherItem &item : tabs) {
        addTabConditional(item.tab, ZEL_Conditional(item.text, item.type));
    }
}

ZEL_ConditionalSwitcher::ZEL_ConditionalSwitcher(const ZEL_ConditionalSwitcher &other)
    : ZEL_ConditionalGroup(other)
{
    for (const auto &entry : other.myTabs) {
        setTabConditional(entry.first, *entry.second);
    }
}

ZEL_ConditionalSwitcher &ZEL_ConditionalSwitcher::operator=(const ZEL_ConditionalSwitcher &other)
{
    if (this != &other) {
        ZEL_ConditionalGroup::operator=(other);
        myTabs.clear();
        for (const auto &entry : other.myTabs) {
            setTabConditional(entry.first, *entry.second);
        }
    }
    return *this;
}

ZEL_ConditionalSwitcher::~ZEL_ConditionalSwitcher() = default;

ZEL_ConditionalGroupType ZEL_ConditionalSwitcher::groupType() const
{
    return ZEL_CONDGROUP_SWITCHER;
}

ZEL_ConditionalSwitcher *ZEL_ConditionalSwitcher::instance(const KIT_ValArray<int> &instances) const
{
    auto copy = std::make_unique<ZEL_ConditionalSwitcher>();
    copy->instanceFrom(*this, instances);
    for (const auto &entry : myTabs) {
        copy->myTabs[entry.first].reset(entry.second->instance(instances));
    }
    return copy.release();
}

int64_t ZEL_ConditionalSwitcher::getMemoryUsage(bool inclusive) const
{
    int64_t bytes =
        (inclusive ? int64_t(sizeof(*this)) : 0) + ZEL_ConditionalGroup::getMemoryUsage(false);
    for (const auto &entry : myTabs) {
        bytes += int64_t(sizeof(entry)) + entry.second->getMemoryUsage(true);
    }
    return bytes;
}

bool ZEL_ConditionalSwitcher::hasItemNumbers() const
{
    return ZEL_ConditionalGroup::hasItemNumbers() ||
           std::any_of(myTabs.begin(), myTabs.end(),
                       [](const auto &entry) { return entry.second->hasItemNumbers(); });
}

void ZEL_ConditionalSwitcher::setTabConditional(int tab, const ZEL_ConditionalBase &base)
{
    // Copy first: `base` may be the condition that the tab has now.
    std::unique_ptr<ZEL_ConditionalBase> copy = copyForTab(base);
    if (copy) {
        myTabs[tab] = std::move(copy);
    } else {
        myTabs.erase(tab);
    }
}

void ZEL_ConditionalSwitcher::addTabConditional(int tab, const ZEL_Conditional &conditional)
{
    std::unique_ptr<ZEL_ConditionalBase> &entry = myTabs[tab];
    if (!entry) {
        entry = std::make_unique<ZEL_Conditional>(conditional);
        return;
    }
    if (entry->groupType() == ZEL_CONDGROUP_GROUP) {
        static_cast<ZEL_ConditionalGroup &>(*entry).addConditional(conditional);
        return;
    }
    auto group = std::make_unique<ZEL_ConditionalGroup>();
    group->addConditional(static_cast<const ZEL_Conditional &>(*entry));
    group->addConditional(conditional);
    entry = std::move(group);
}

ZEL_ConditionalBase *ZEL_ConditionalSwitcher::getTabConditional(int tab)
{
    const auto found = myTabs.find(tab);
    return found == myTabs.end() ? nullptr : found->second.get();
}

const ZEL_ConditionalBase *ZEL_ConditionalSwitcher::getTabConditional(int tab) const
{
    const auto found = myTabs.find(tab);
    return found == myTabs.end() ? nullptr : found->second.get();
}

ZEL_Conditional *ZEL_ConditionalSwitcher::getTabConditional(int tab, ZEL_ConditionalType type)
{
    ZEL_ConditionalBase *base = getTabConditional(tab);
    return base ? base->getConditional(type) : nullptr;
}

const ZEL_Conditional *ZEL_ConditionalSwitcher::getTabConditional(int tab,
                                                                  ZEL_ConditionalType type) const
{
    const ZEL_ConditionalBase *base = getTabConditional(tab);
    return base ? base->getConditional(type) : nullptr;
}

void ZEL_ConditionalSwitcher::clear()
{
    ZEL_ConditionalGroup::clear();
    myTabs.clear();
}
