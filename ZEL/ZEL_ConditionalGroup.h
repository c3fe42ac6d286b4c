/// \file ZEL_ConditionalGroup.h
/// The conditions of one parameter: at most one of each type.
///
/// Ownership:  owns its conditions; what is added is copied, and copies are deep.
/// Threads:    const calls from any thread; changes by one thread at a time.
/// Errors:     as ZEL_Conditional: a text that can't be read adds an empty condition.
#pragma once

#include <ZEL/ZEL_ConditionalBase.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <utility>

class ZEL_API ZEL_ConditionalGroup : public ZEL_ConditionalBase
{
public:
    /// How a table of templates declares each condition: `{"{ a == 1 }", type}`.
    using Item = std::pair<const char *, ZEL_ConditionalType>;

    ZEL_ConditionalGroup();
    ZEL_ConditionalGroup(std::initializer_list<Item> items);
    ZEL_ConditionalGroup(const ZEL_ConditionalGroup &other);
    ZEL_ConditionalGroup &operator=(const ZEL_ConditionalGroup &other);
    ~ZEL_ConditionalGroup() override;

    ZEL_ConditionalGroupType groupType() const override;
    ZEL_ConditionalGroup *instance(const KIT_ValArray<int> &instances) const override;
    ZEL_Conditional *getConditional(ZEL_ConditionalType type) override;
    const ZEL_Conditional *getConditional(ZEL_ConditionalType type) const override;
    int64_t getMemoryUsage(bool inclusive) const override;
    bool hasItemNumbers() const override;

    /// Replaces the condition of the same type.
    void addConditional(const ZEL_Conditional &conditional);
    void addConditional(const char *text, ZEL_ConditionalType type);
    void clear();
    bool isEmpty() const { return myConditionals.empty(); }

protected:
    /// Fills an empty group with the other one's conditions, instanced with these numbers.
    void instanceFrom(const ZEL_ConditionalGroup &other, const KIT_ValArray<int> &instances);

private:
    void take(std::unique_ptr<ZEL_Conditional> conditional);

    std::map<ZEL_ConditionalType, std::unique_ptr<ZEL_Conditional>> myConditionals;
};
