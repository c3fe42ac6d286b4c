/// \file MultiList.h
/// Lists with multi-parameters for tests: built from names, shown as one line of text.
///
/// Ownership:  owns everything the list is made of.
#pragma once

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_SpareData.h>
#include <common/EventLog.h>
#include <common/ListFixture.h>
#include <common/TestOwner.h>

#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Templates with names and defaults that live as long as they do.
class Block
{
public:
    explicit Block(std::size_t most = 8) : myTemplates(most + 1) {}

    ZEL_Template *add(const ZEL_Type &type, int size, const char *token, const char *label = "L",
                      ZEL_Default *defaults = nullptr)
    {
        return put(ZEL_Template(type, size, name(token, label), defaults));
    }
    ZEL_Template *addMulti(ZEL_MultiType type, const char *token, ZEL_Template *items,
                           double count = 0.0, ZEL_Range *range = nullptr,
                           ZEL_SpareData *spare = nullptr)
    {
        myDefaults.emplace_back(count);
        return put(
            ZEL_Template(type, items, 1.0, name(token, token), &myDefaults.back(), range, spare));
    }
    ZEL_Template *templates() { return myTemplates.data(); }

    ZEL_Name *name(const char *token, const char *label)
    {
        myNames.emplace_back(token, label);
        return &myNames.back();
    }

    ZEL_Template *put(const ZEL_Template &description)
    {
        myTemplates[myCount] = description;
        return &myTemplates[myCount++];
    }

private:
    std::deque<ZEL_Name> myNames;
    std::deque<ZEL_Default> myDefaults;
    std::vector<ZEL_Template> myTemplates;
    std::size_t myCount = 0;
};

inline std::string number(double value)
{
    return KIT_Digits(value).buffer();
}

/// A parameter's components, or the number of a multi-parameter's items, without evaluating it.
inline std::string valueText(const ZEL_Parm &parm)
{
    if (parm.isMultiParm()) {
        return std::to_string(parm.getMultiParmNumItems());
    }
    std::string text;
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        double value = 0.0;
        parm.getValue(0.0, value, i, BASgetSTID());
        text += (i > 0 ? "," : "") + number(value);
    }
    return text;
}

/// The list in its order: "points=2 pt1=0 pt2=5".
inline std::string contents(const ZEL_ParmList &list)
{
    std::string text;
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm &parm = *list.getParmPtr(i);
        text += (i > 0 ? " " : "") + std::string(parm.getToken()) + "=" + valueText(parm);
    }
    return text;
}

/// While it lives, lists count as loading.
class Loading
{
public:
    Loading() { ZEL_ParmList::beginLoading(); }
    ~Loading() { ZEL_ParmList::endLoading(); }
    Loading(const Loading &) = delete;
    Loading &operator=(const Loading &) = delete;
};

/// A list over a block's templates, with an owner by default.
class MultiList
{
public:
    /// "points" with the child "pt#", a float, and whatever a test adds.
    MultiList()
    {
        takeMessages();
        items.add(ZEL_FLT, 1, "pt#", "Point #");
    }
    MultiList(const MultiList &) = delete;
    MultiList &operator=(const MultiList &) = delete;

    /// Builds the list from what `top` holds; if that is empty, from "points".
    void build(double count = 0.0, ZEL_Range *range = nullptr, ZEL_SpareData *spare = nullptr)
    {
        top.addMulti(ZEL_MULTITYPE_LIST, "points", items.templates(), count, range, spare);
        buildTop();
    }
    void buildTop(ZEL_ParmOwner *listOwner = nullptr)
    {
        list = std::make_unique<ZEL_ParmList>(top.templates(), &channels,
                                              listOwner ? listOwner : &owner, nullptr, "", false);
    }

    ZEL_Parm &parm(const char *token)
    {
        ZEL_Parm *found = list->getParmPtr(token);
        // An unknown token gives a parameter without an instance.
        return found ? *found : *myAbsent;
    }
    ZEL_Multi &multi(const char *token = "points")
    {
        return *static_cast<ZEL_Multi *>(parm(token).getInstance());
    }
    /// Appends a spare parameter that no set has. The caller may add what describes it to `late`.
    ZEL_Parm *append(ZEL_Template *description)
    {
        ZEL_Parm *parm = new ZEL_Parm(description, list.get());
        parm->setSpareParm(true);
        parm->getInstance()->revertToDefaults(false);
        list->appendParm(parm);
        return parm;
    }
    bool load(const std::string &text)
    {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        return list->load(is, nullptr, nullptr);
    }
    int numItems(const char *token = "points") { return parm(token).getMultiParmNumItems(); }
    double eval(const char *token, double time = 0.0)
    {
        double value = -999.0;
        parm(token).getValue(time, value, 0, BASgetSTID());
        return value;
    }
    void set(const char *token, double value, int index = 0)
    {
        parm(token).setValue(0.0, value, false, index, ZEL_ADDKEY_PENDING, false);
    }
    /// Sets the count and reads it.
    void setCount(double count, const char *token = "points")
    {
        set(token, count);
        eval(token);
    }
    /// The same in a load, where an item replaces what has its name.
    void loadCount(double count, const char *token)
    {
        const Loading loading;
        setCount(count, token);
    }
    void animate(const char *token, const char *expression, int index = 0)
    {
        parm(token).setExpression(0.0, expression, TRK_LANGUAGE_NATIVE, index, false, false, false);
    }
    /// The expression of a component, "-" without a channel.
    std::string expression(const char *token, int index = 0)
    {
        const TRK_Channel *channel = parm(token).getChannel(index);
        return channel ? channel->getFirstSegment()->getExpression() : "-";
    }
    std::string text() const { return contents(*list); }

    Block items;
    Block top;
    Block late;
    TRK_Collection channels;
    TestOwner owner;
    std::unique_ptr<ZEL_ParmList> list;

private:
    std::unique_ptr<ZEL_Parm> myAbsent{new ZEL_Parm(static_cast<ZEL_Template *>(nullptr), nullptr)};
};

/// An owner that does what a test wants while it is asked for overrides or told of items.
struct HookedOwner : TestOwner
{
    KIT_ErrorSeverity zelCookOverrides(double, int, const char *token, int) override
    {
        return cook ? cook(token) : KIT_ERROR_NONE;
    }
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override
    {
        if (created) {
            created(parms);
        }
    }
    void multiInstancesChanged() override
    {
        if (changed) {
            changed();
        }
    }
    std::function<KIT_ErrorSeverity(const char *token)> cook;
    std::function<void(const KIT_ValArray<ZEL_Parm *> &)> created;
    std::function<void()> changed;
};

/// Restores a setting of the process at the end of a scope.
class ScopedSetting
{
public:
    ScopedSetting(int setting, int value)
        : mySetting(setting), myBefore(KIT_EnvControl::getInt(setting))
    {
        KIT_EnvControl::setInt(setting, value);
    }
    ~ScopedSetting() { KIT_EnvControl::setInt(mySetting, myBefore); }
    ScopedSetting(const ScopedSetting &) = delete;
    ScopedSetting &operator=(const ScopedSetting &) = delete;

private:
    int mySetting;
    int myBefore;
};

/// A number that an environment variable sets for longer runs.
inline long numberFromEnvironment(const char *name, long otherwise)
{
    const char *text = std::getenv(name);
    return text ? std::atol(text) : otherwise;
}
