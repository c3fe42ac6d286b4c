/// \file OrdinalParm.h
/// One ordinal parameter "p" in a list, with a menu where a test wants one.
///
/// Ownership:  borrows menu, range, spare data and owner, which must outlive it.
#pragma once

#include <common/ListFixture.h>
#include <common/TestOwner.h>

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Ordinal.h>
#include <ZEL/ZEL_SpareData.h>

#include <ostream>

/// The menus of these tests: a static one of each type, with the tokens a and b.
struct Menus
{
    ZEL_Name names[3] = {{"a", "A"}, {"b", "B"}, {}};
    ZEL_Name numbers[3] = {{"10", "Ten"}, {"20", "Twenty"}, {}};
    ZEL_Name nothing[1];

    ZEL_ChoiceList exclusive{ZEL_CHOICELIST_EXCLUSIVE, names};
    ZEL_ChoiceList replace{ZEL_CHOICELIST_REPLACE, names};
    ZEL_ChoiceList numeric{ZEL_CHOICELIST_EXCLUSIVE, numbers};
    ZEL_ChoiceList tokenValued{
        ZEL_ChoiceListType(ZEL_CHOICELIST_EXCLUSIVE | ZEL_CHOICELIST_USE_TOKEN), numbers};
    ZEL_ChoiceList empty{ZEL_CHOICELIST_EXCLUSIVE, nothing};
};

/// Runs menu scripts: every script prints the same words.
class MenuOwner : public TestOwner
{
public:
    std::atomic<int> runs{0};

    bool runMenuScript(const char *, std::ostream &out, std::ostream &) override
    {
        ++runs;
        out << "a A b B 7 Seven";
        return true;
    }
};

struct OrdinalParm : OneParm
{
    explicit OrdinalParm(const ZEL_Type &type, int size = 1, ZEL_ChoiceList *menu = nullptr,
                         ZEL_Range *range = nullptr, ZEL_SpareData *spare = nullptr)
        : OneParm(type, size)
    {
        description.entry = ZEL_Template(type, size, &description.name, description.defaults, menu,
                                         range, ZEL_Callback(), spare);
    }

    OrdinalParm &build(ZEL_ParmOwner *owner = nullptr)
    {
        OneParm::build(owner);
        return *this;
    }

    std::int64_t value(int index = 0, double time = 0.0) const
    {
        std::int64_t result = -999;
        instance->getValue(list.get(), time, result, index, 1);
        return result;
    }
    /// The value, and the channel's expression if there is a channel: "3" or "3 = $F + 2".
    std::string state(int index = 0) const
    {
        const std::string number = std::to_string(value(index));
        return instance->getChannel(index) ? number + " = " + expression(index) : number;
    }
};
