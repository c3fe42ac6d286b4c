#include <ZEL/ZEL_ConditionalGroup.h>

#include <ZEL/ZEL_Conditional.h>

#include <algorithm>
#include <memory>

ZEL_ConditionalGroup::ZEL_ConditionalGroup() = default;

ZEL_ConditionalGroup::ZEL_ConditionalGroup(std::initializer_list<Item> items)
{
    for (const Item &item : items) {
        addConditional(item.first, item.second);
    }
}

ZEL_ConditionalGroup::ZEL_ConditionalGroup(const ZEL_ConditionalGroup &other)
    : ZEL_ConditionalBase(other)
{
    for (const auto &entry : other.myConditionals) {
        addConditional(*entry.second);
    }
}

ZEL_ConditionalGroup &ZEL_ConditionalGroup::operator=(const ZEL_ConditionalGroup &other)
{
    if (this != &other) {
        myConditionals.clear();
        for (const auto &entry : other.myConditionals) {
            addConditional(*entry.second);
        }
    }
    return *this;
}

ZEL_ConditionalGroup::~ZEL_ConditionalGroup() = default;

ZEL_ConditionalGroupType ZEL_ConditionalGroup::groupType() const
{
    return ZEL_CONDGROUP_GROUP;
}

ZEL_ConditionalGroup *ZEL_ConditionalGroup::instance(const KIT_ValArray<int> &instances) const
{
    auto copy = std::make_unique<ZEL_ConditionalGroup>();
    copy->instanceFrom(*this, instances);
    return copy.release();
}

void ZEL_ConditionalGroup::instanceFrom(const ZEL_ConditionalGroup &other,
                                        const KIT_ValArray<int> &instances)
{
    for (const auto &entry : other.myConditionals) {
        take(std::unique_ptr<ZEL_Conditional>(entry.second->instance(instances)));
    }
}

ZEL_Conditional *ZEL_ConditionalGroup::getConditional(ZEL_ConditionalType type)
{
    const auto found = myConditionals.find(type);
    return found == myConditionals.end() ? nullptr : found->second.get();
}

const ZEL_Conditional *ZEL_ConditionalGroup::getConditional(ZEL_ConditionalType type) const
{
    const auto found = myConditionals.find(type);
    return found == myConditionals.end() ? nullptr : found->second.get();
}

int64_t ZEL_ConditionalGroup::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? int64_t(sizeof(*this)) : 0;
    for (const auto &entry : myConditionals) {
        bytes += int64_t(sizeof(entry)) + entry.second->getMemoryUsage(true);
    }
    return bytes;
}

bool ZEL_ConditionalGroup::hasItemNumbers() const
{
    return std::any_of(myConditionals.begin(), myConditionals.end(),
                       [](const auto &entry) { return entry.second->hasItemNumbers(); });
}

void ZEL_ConditionalGroup::take(std::unique_ptr<ZEL_Conditional> conditional)
{
    const ZEL_ConditionalType type = conditional->getType();
    myConditionals[type] = std::move(conditional);
}

void ZEL_ConditionalGroup::addConditional(const ZEL_Conditional &conditional)
{
    take(std::make_unique<ZEL_Conditional>(conditional));
}

void ZEL_ConditionalGroup::addConditional(const char *text, ZEL_ConditionalType type)
{
    take(std::make_unique<ZEL_Conditional>(text, type));
}

void ZEL_ConditionalGroup::clear()
{
    myConditionals.clear();
}
