// The count of a multi-parameter: what drives it, what limits it, and what finds its items.

#include "MultiList.h"

#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_JSONValueMap.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_ValueSource.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_RefId.h>
#include <ZEL/ZEL_Utils.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

// ---------------------------------------------------------------------- //
// The value makes items
// ---------------------------------------------------------------------- //

TEST(MultiCount, ItemsFollowTheValueThatIsRead)
{
    const std::pair<double, const char *> cases[] = {
        {2.0, "points=2 pt1=0 pt2=0"},
        {3.0, "points=3 pt1=0 pt2=0 pt3=0"},
        {1.6, "points=2 pt1=0 pt2=0"},
        {1.4, "points=1 pt1=0"},
        {0.5, "points=1 pt1=0"},
        {-7.0, "points=0"},
        {std::numeric_limits<double>::quiet_NaN(), "points=0"},
    };
    MultiList p;
    p.build();
    for (const auto &[value, contents] : cases) {
        const std::string before = p.text();
        p.set("points", value);
        EXPECT_EQ(before, p.text()) << "nothing comes before the value is read";
        p.eval("points");
        EXPECT_EQ(contents, p.text()) << value;
    }
    EXPECT_EQ("", takeMessages());
}

TEST(MultiCount, EveryFormOfReadingCounts)
{
    MultiList p;
    p.build();
    const ZEL_Multi &multi = p.multi();
    ZEL_ParmList *const list = p.list.get();
    double number = 0.0;
    std::int64_t wide = 0;
    int narrow = 0;
    KIT_String text;
    std::shared_ptr<const ZEL_DataItem> item;
    const std::function<void(int)> reads[] = {
        [&](int thread) { multi.getValue(list, 0.0, number, 0, thread); },
        [&](int thread) { multi.getValue(list, 0.0, wide, 0, thread); },
        [&](int thread) { multi.getValue(list, 0.0, narrow, 0, thread); },
        [&](int thread) { multi.getValue(list, 0.0, text, 0, true, thread); },
        [&](int thread) { multi.getValue(list, 0.0, item, 0, thread); }};
    int count = 0;
    for (const auto &read : reads) {
        p.set("points", ++count);
        read(BASgetSTID());
        EXPECT_EQ(count, p.numItems());
    }
    EXPECT_EQ("1 2 3 4", ::number(number) + " " + std::to_string(wide) + " " +
                             std::to_string(narrow) + " " + text.c_str());
}

TEST(MultiCount, DefaultItemsComeWithTheList)
{
    MultiList p;
    p.items.add(ZEL_XYZ, 3, "pos#");
    p.top.add(ZEL_FLT, 1, "first");
    p.build(2.0);
    EXPECT_EQ("first=0 points=2 pt1=0 pos1=0,0,0 pt2=0 pos2=0,0,0", p.text());
    EXPECT_EQ(2, p.multi().getMultiParmInstancesPerItem());
    EXPECT_TRUE(p.parm("pos2").getInstance()->getDefaultsInitFlag());
    int component = -1;
    EXPECT_EQ(5, p.list->getParmIndexFromChannel("pos2z", &component));
    EXPECT_EQ(2, component);
    p.setCount(3.0);
    p.parm("points").revertToDefaults(0.0);
    EXPECT_EQ(2, p.numItems());
}

TEST(MultiCount, NumbersStartAtTheOffset)
{
    // A number above the largest one gives the name of the previous item, which is taken.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"0", "points=2 pt0=0 pt1=0", ""},
        {"7", "points=2 pt7=0 pt8=0", ""},
        {"-1", "points=2 pt-1=0 pt0=0", ""},
        {"2147483647", "points=1 pt2147483647=0", "ZEL 19"}};
    for (const auto &[offset, contents, messages] : cases) {
        MultiList p;
        ZEL_SpareData spare({"multistartoffset", offset});
        p.build(0.0, nullptr, &spare);
        p.setCount(2.0);
        EXPECT_EQ(contents, p.text());
        EXPECT_EQ(messages, takeMessages());
        EXPECT_EQ(p.numItems(), p.eval("points"));
    }
}

TEST(MultiCount, AnExpressionGrowsAndShrinks)
{
    MultiList p;
    p.top.add(ZEL_FLT, 1, "n");
    p.build();
    p.animate("points", "ch(\"n\") + 1");
    for (const auto &[n, expected] :
         {std::pair<double, const char *>{2.0, "n=2 points=3 pt1=0 pt2=0 pt3=0"},
          {0.0, "n=0 points=1 pt1=0"},
          {1.0, "n=1 points=2 pt1=0 pt2=0"},
          {-1.0, "n=-1 points=0"}}) {
        p.set("n", n);
        EXPECT_EQ(n + 1.0, p.eval("points"));
        EXPECT_EQ(expected, p.text());
    }
}

TEST(MultiCount, WhatWaitsForTheCountKeepsItsItem)
{
    MultiList p;
    ZEL_Default defaults(0.0, "ch(\"points\") * 10 + #", TRK_MEANING_COLLECTION);
    ZEL_Conditional condition("{ points > 5 } { points < 0 } { pt# == 4 }", ZEL_CONDTYPE_DISABLE);
    p.items.add(ZEL_FLT, 1, "w#", "W", &defaults)->setConditionalBasePtr(&condition);
    p.build();
    p.setCount(3.0);
    EXPECT_EQ("points=3 pt1=0 w1=31 pt2=0 w2=32 pt3=0 w3=33", p.text()) << "read while it grows";
    p.set("pt3", 4.0);
    p.set("points", 1.0);
    EXPECT_EQ(13.0, p.eval("w3"));
    const ZEL_Parm &w = p.parm("w3");
    EXPECT_TRUE(w.getTemplatePtr()->getDisablePtr()->eval(w, *p.list, nullptr));
    {
        const ZEL_Multi::KeepItems keep;
        EXPECT_EQ(1.0, p.eval("points"));
        EXPECT_EQ(3, p.numItems());
        p.setCount(4.0);
        EXPECT_EQ(4, p.numItems()) << "new ones may come";
        p.set("points", 1.0);
    }
    EXPECT_EQ(1.0, p.eval("points"));
    EXPECT_EQ("points=1 pt1=0 w1=11", p.text());
}

TEST(MultiCount, NoReadTakesAParameterThatIsInUse)
{
    struct ReadingResolver : TRK_PathResolver
    {
        explicit ReadingResolver(MultiList &list) : p(list) { p.channels.setPathResolver(this); }
        ~ReadingResolver() override { p.channels.setPathResolver(nullptr); }
        TRK_Collection *findCollection(const KIT_StringRef &) override
        {
            p.eval("points");
            return &p.channels;
        }
        bool getVariable(const KIT_StringRef &, KIT_String &) override
        {
            p.eval("points");
            return false;
        }
        void getPath(KIT_WorkBuffer &) override {}
        MultiList &p;
    };
    struct ReadingItem : ZEL_KeyValueDictDataItem
    {
        explicit ReadingItem(MultiList &list) : p(list) {}
        bool saveAscii(std::ostream &) const override { return p.eval("points") > 0.0; }
        bool saveBinary(std::ostream &) const override { return p.eval("points") > 0.0; }
        std::int64_t getMemoryUsage() const override { return std::int64_t(p.eval("points")); }
        MultiList &p;
    };
    const auto copy = [](ZEL_Parm &to, const ZEL_Parm &from, int index, bool channels) {
        to.copyValue(0.0, 0, from, index, false, false, channels, ZEL_ADDKEY_PENDING,
                     ZEL_KEYSET_PREFERENCE);
    };
    const auto react = [](void *data, TRK_CHANGE_TYPE, int) {
        static_cast<MultiList *>(data)->eval("points");
    };
    const auto hear = [](void *data, TRK_Channel *) {
        static_cast<MultiList *>(data)->eval("points");
    };
    const std::pair<const char *,
                    std::function<void(MultiList &, ZEL_Parm & points, ZEL_Parm & item)>>
        cases[] = {
            {"value from its block",
             [&](MultiList &, ZEL_Parm &points, ZEL_Parm &item) { copy(item, points, 0, false); }},
            {"value to its block",
             [&](MultiList &, ZEL_Parm &points, ZEL_Parm &item) { copy(points, item, 5, true); }},
            {"all components",
             [](MultiList &, ZEL_Parm &points, ZEL_Parm &item) { item.copyParm(points); }},
            {"compared",
             [](MultiList &, ZEL_Parm &points, ZEL_Parm &item) {
                 points.isParmValueEqual(0, item, 0, 0.0, BASgetSTID());
                 item.isParmValueEqual(0, points, 0, 0.0, BASgetSTID());
             }},
            {"overrides cooked",
             [](MultiList &p, ZEL_Parm &, ZEL_Parm &) {
                 p.list->getParmOwner()->setPendingOverrideString("pending");
                 p.eval("pt3");
                 p.list->getParmOwner()->setPendingOverrideString(nullptr);
             }},
            {"event",
             [&](MultiList &p, ZEL_Parm &, ZEL_Parm &item) {
                 p.list->setEventHandler(&p, react);
                 item.revertToDefaults(0.0);
                 p.list->setEventHandler(nullptr, nullptr);
             }},
            {"listener of channels",
             [&](MultiList &p, ZEL_Parm &, ZEL_Parm &item) {
                 item.setExpression(0.0, "1+2", TRK_LANGUAGE_NATIVE, 0, true, true, false);
                 TRKgetEventManager().addListener(&p, hear);
                 item.setValue(0.0, 5.0, true, 0, ZEL_ADDKEY_PENDING, true);
                 TRKgetEventManager().removeListener(&p, hear);
             }},
            {"variable of a dictionary",
             [](MultiList &p, ZEL_Parm &, ZEL_Parm &) {
                 auto *map = new KIT_JSONValueMap;
                 map->insert("key", KIT_JSONValue("$LOOK"));
                 ZEL_Parm &item = p.parm("d3");
                 item.setValue(0.0, std::make_shared<ZEL_KeyValueDictDataItem>(map), false, 0,
                               ZEL_ADDKEY_PENDING, false);
                 const ReadingResolver resolver(p);
                 KIT_JSONValueMap expanded;
                 item.getValue(0.0, expanded, 0, true, BASgetSTID());
             }},
            {"data item that is saved",
             [](MultiList &p, ZEL_Parm &, ZEL_Parm &) {
                 ZEL_Parm &item = p.parm("d3");
                 item.setValue(0.0, std::make_shared<ReadingItem>(p), false, 0, ZEL_ADDKEY_PENDING,
                               false);
                 std::ostringstream os;
                 p.list->saveSingle(&item, os, true);
                 item.getMemoryUsage(true);
                 p.list->save(os, false, false);
             }},
            {"path of a text",
             [](MultiList &p, ZEL_Parm &, ZEL_Parm &) {
                 ZEL_Parm &item = p.parm("s3");
                 item.setValue(0.0, "/obj/a", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                               false);
                 const ReadingResolver resolver(p);
                 item.buildOpDependencies(ZEL_RefId(0, 0), BASgetSTID());
             }},
        };
    for (const auto &[name, use] : cases) {
        MultiList p;
        HookedOwner owner;
        owner.cook = [&p](const char *token) {
            if (std::strcmp(token, "points") != 0) {
                p.eval("points");
            }
            return KIT_ERROR_NONE;
        };
        p.items.add(ZEL_STRING, 1, "s#");
        p.items.add(ZEL_KEY_VALUE_DICT, 1, "d#");
        p.top.addMulti(ZEL_MULTITYPE_LIST, "points", p.items.templates());
        p.buildTop(&owner);
        p.setCount(3.0);
        p.set("points", 1.0);
        use(p, p.parm("points"), p.parm("pt3"));
        EXPECT_EQ(3, p.numItems()) << name;
        p.set("points", 1.0);
        p.eval("points");
        EXPECT_EQ("points=1 pt1=0 s1=0 d1=0", p.text()) << name;
        p.list.reset();
    }
}

TEST(MultiCount, WhatIsCalledMayChangeCounts)
{
    // The owner empties the outer block while an inner item is announced, in the middle of an
    // insertion; a handler removes and inserts items. Surplus parameters go with the next read.
    HookedOwner owner;
    MultiList p;
    Block inner, outer;
    inner.add(ZEL_FLT, 1, "x#_#");
    outer.addMulti(ZEL_MULTITYPE_LIST, "in#", inner.templates(), 1.0);
    p.top.addMulti(ZEL_MULTITYPE_LIST, "outer", outer.templates());
    p.top.addMulti(ZEL_MULTITYPE_LIST, "points", p.items.templates());
    p.buildTop(&owner);
    p.setCount(2.0, "outer");
    owner.created = [&p](const KIT_ValArray<ZEL_Parm *> &parms) {
        if (*parms[0]->getToken() == 'x') {
            p.setCount(0.0, "outer");
        }
    };
    p.parm("outer").insertMultiParmItem(0, true);
    EXPECT_EQ("outer=0 points=0", p.text());

    owner.created = nullptr;
    p.setCount(3.0);
    for (const char *token : {"pt1", "pt2", "pt3"}) {
        p.set(token, token[2] - '0');
    }
    p.list->setEventHandler(&p, [](void *data, TRK_CHANGE_TYPE, int parmIndex) {
        MultiList &m = *static_cast<MultiList *>(data);
        if (parmIndex == m.list->getParmIndex("pt3") && m.eval("pt3") == 5.0) {
            m.list->setEventHandler(nullptr, nullptr);
            const int points = m.list->getParmIndex("points");
            m.list->removeMultiParmItem(points, 0);
            m.list->removeMultiParmItem(points, 0);
            m.list->insertMultiParmItem(points, 0);
            m.list->insertMultiParmItem(points, 1);
            m.list->removeMultiParmItem(points, 0);
        }
    });
    p.parm("pt3").setValue(0.0, 5.0, false, 0, ZEL_ADDKEY_PENDING, true);
    p.eval("points");
    EXPECT_EQ("outer=0 points=2 pt1=0 pt2=5", p.text());
}

// ---------------------------------------------------------------------- //
// Limits and refusals
// ---------------------------------------------------------------------- //

TEST(MultiCount, ADefaultIsHeldToTheSetting)
{
    for (const double count : {1e9, 2147483647.0, 1e300, 100001.0}) {
        MultiList p;
        p.build(count);
        EXPECT_EQ("points=0", p.text()) << count;
        EXPECT_EQ("ZEL 22", takeMessages()) << count;
        EXPECT_EQ(0.0, p.eval("points")) << "the value goes back";
        p.multi().revertToDefault(0);
        EXPECT_EQ("points=0", p.text()) << count;
        EXPECT_EQ("ZEL 22", takeMessages()) << count;
    }
}

TEST(MultiCount, AnExpressionIsHeldToTheSettingWhatIsSetIsNot)
{
    const ScopedSetting limit(KIT_ENV_MAX_STREAM_ITEMS, 3);
    MultiList p;
    p.build();
    p.setCount(4.0);
    EXPECT_EQ("points=4 pt1=0 pt2=0 pt3=0 pt4=0", p.text()) << "what is set is made";
    p.setCount(0.0);
    for (const auto &[expression, items, messages] :
         {std::tuple<const char *, int, const char *>{"2 + 2", 0, "ZEL 22"},
          {"2 + 1", 3, ""},
          {"2 + 4", 6, ""}}) {
        p.animate("points", expression);
        EXPECT_EQ(expression[4] - '0' + 2.0, p.eval("points"));
        EXPECT_EQ(items, p.numItems());
        EXPECT_EQ(messages, takeMessages());
        EXPECT_EQ(expression, p.expression("points")) << "an expression stays";
    }

    // What the application sets or restores isn't.
    p.parm("points").getInstance()->removeChannel(0);
    p.setCount(0.0);
    std::shared_ptr<ZEL_UndoData> six;
    {
        const Loading loading;
        p.setCount(6.0);
        EXPECT_EQ(6, p.numItems());
        p.parm("points").saveUndoData(six);
        p.setCount(1.0);
    }
    EXPECT_TRUE(p.parm("points").loadUndoData(six));
    EXPECT_EQ(6, p.numItems());
    p.setCount(1.0);
    EXPECT_EQ("", takeMessages());
    EXPECT_FALSE(p.load("{ version 0.8 points ( 800 ) }"));
    EXPECT_EQ(1, p.numItems());
    EXPECT_EQ("ZEL 22", takeMessages().substr(0, 6));
}

TEST(MultiCount, LoadedCountsAreHeldToTheSetting)
{
    const auto load = [](MultiList &p, const char *text) {
        KIT_IStream is(text, std::strlen(text), KIT_IStream::TEXT);
        return p.multi().load(is);
    };
    MultiList p;
    p.build(1.0);
    EXPECT_TRUE(load(p, "( 3 )"));
    EXPECT_EQ(3, p.numItems());
    for (const char *text : {"( 2147483647 )", "( 1e300 )", "( 100004 )"}) {
        EXPECT_FALSE(load(p, text)) << text;
        EXPECT_EQ("points=3 pt1=0 pt2=0 pt3=0", p.text());
        EXPECT_EQ("ZEL 22", takeMessages());
        EXPECT_EQ(3.0, p.eval("points")) << "the value goes back too";
    }
    const char *const arguments[] = {"2147483647"};
    EXPECT_EQ(1, p.multi().loadCommand(1, arguments, -1, false, ZEL_ADDKEY_PENDING,
                                       ZEL_KEYSET_PREFERENCE));
    EXPECT_EQ(3.0, p.eval("points"));
    EXPECT_EQ("ZEL 22", takeMessages());
    EXPECT_TRUE(load(p, "( -4 )"));
    EXPECT_EQ("points=0", p.text());
}

TEST(MultiCount, RefusedItemsSetTheValueBack)
{
    const std::tuple<const char *, std::vector<const char *>, const char *, const char *,
                     const char *>
        cases[] = {
            {"a parameter has the name",
             {"q#"},
             "q3",
             "q3=0 points=2 pt1=0 q1=0 pt2=0 q2=0",
             "ZEL 19"},
            {"the first child is free all the same", {"q#"}, "q1", "q1=0 points=0", "ZEL 19"},
            {"two children have one name", {"q#", "q#"}, "n", "n=0 points=0", "ZEL 19"},
            {"the number ends the other name", {"pt"}, "n", "n=0 points=0", "ZEL 19"},
            {"a name without a mark",
             {"q"},
             "n",
             "n=0 points=3 pt1=0 q1=0 pt2=0 q2=0 pt3=0 q3=0",
             ""},
        };
    for (const auto &[name, children, taken, contents, messages] : cases) {
        MultiList p;
        for (const char *child : children) {
            p.items.add(ZEL_FLT, 1, child);
        }
        p.top.add(ZEL_FLT, 1, taken);
        p.build();
        p.setCount(3.0);
        EXPECT_EQ(contents, p.text()) << name;
        EXPECT_EQ(messages, takeMessages()) << name;
        EXPECT_EQ(p.numItems(), p.eval("points")) << name;
    }
    MultiList p;
    p.items.add(ZEL_FLT | ZEL_TYPE_BASEPARM, 1, "base#");
    p.build();
    p.setCount(1.0);
    EXPECT_EQ("points=0", p.text());
    EXPECT_EQ("ZEL 20", takeMessages());
}

TEST(MultiCount, AFatalErrorOfTheReadGivesTheItemsThatExist)
{
    HookedOwner owner;
    MultiList p;
    p.top.addMulti(ZEL_MULTITYPE_LIST, "points", p.items.templates(), 2.0);
    p.buildTop(&owner);
    owner.setPendingOverrideString("anything");
    for (const auto &[severity, expected] :
         {std::pair<KIT_ErrorSeverity, double>{KIT_ERROR_ABORT, 0.0}, {KIT_ERROR_FATAL, 2.0}}) {
        owner.cook = [failure = severity](const char *) {
            KITgetErrorManager().add("ZEL", 1, "cook", failure);
            return failure;
        };
        takeMessages();
        EXPECT_EQ(expected, p.eval("points"));
        EXPECT_EQ(severity, KITgetErrorSeverity()) << "the error moves on to the thread's manager";
        EXPECT_EQ("ZEL 1", takeMessages());
        KIT_String text;
        p.parm("points").getValue(0.0, text, 0, true, BASgetSTID());
        EXPECT_EQ(number(expected), text.c_str());
    }
    takeMessages();
}

TEST(MultiCount, ABlockWithoutChildrenOnlyCounts)
{
    MultiList p;
    Block none;
    p.top.addMulti(ZEL_MULTITYPE_LIST, "points", none.templates());
    p.buildTop();
    p.multi().setNumInstances(2147483647, false);
    EXPECT_EQ("points=2147483647", p.text());
    EXPECT_EQ(nullptr, p.multi().getParm(0));
    EXPECT_EQ(nullptr, p.multi().getTemplate(0));
    EXPECT_EQ(nullptr, p.multi().getMultiParmToken(0, 0));
    p.parm("points").swapMultiParmItem(0, 1);
    p.setCount(1.0);
    p.multi().deleteInstance(0);
    EXPECT_EQ("points=0", p.text());
}

// ---------------------------------------------------------------------- //
// Who is notified of items
// ---------------------------------------------------------------------- //

TEST(MultiCount, TheOwnerHearsOfItemsAndOfTheSet)
{
    MultiList p;
    p.items.add(ZEL_FLT, 1, "w#");
    p.build();
    p.owner.takeCalls();
    const std::uint32_t count = p.list->getAddRemoveCount();
    p.setCount(2.0);
    EXPECT_EQ("multiItemCreated pt1 w1; multiItemCreated pt2 w2; multiInstancesChanged",
              p.owner.takeCalls());
    EXPECT_GE(p.list->getAddRemoveCount(), count + 6) << "once a parameter and once an item";
    p.eval("points");
    EXPECT_EQ("", p.owner.takeCalls());
    p.setCount(1.0);
    EXPECT_EQ("parmRemoved 4; parmRemoved 3; multiInstancesChanged", p.owner.takeCalls());
    p.parm("points").destroyChildParms();
    EXPECT_EQ("parmRemoved 2; parmRemoved 1; multiInstancesChanged", p.owner.takeCalls());
    p.parm("points").destroyChildParms();
    EXPECT_EQ("", p.owner.takeCalls());
}

TEST(MultiCount, TheOwnerMayReadTheListWhenItHears)
{
    HookedOwner owner;
    MultiList p;
    std::string seen;
    const auto read = [&](const char *mark) {
        double value = 0.0;
        p.list->getParmPtr(0)->getValue(0.0, value, 0, BASgetSTID());
        seen += mark + number(value) + " ";
    };
    owner.changed = [&] { read("!"); };
    owner.created = [&](const KIT_ValArray<ZEL_Parm *> &parms) {
        KIT_Array<int> numbers;
        parms[0]->getMultiInstanceIndex(numbers, true);
        seen += p.text() + " [" + std::to_string(numbers[0]);
        read("]");
    };
    p.top.addMulti(ZEL_MULTITYPE_LIST, "points", p.items.templates());
    p.buildTop(&owner);
    p.setCount(2.0);
    EXPECT_EQ("points=1 pt1=0 [1]2 points=2 pt1=0 pt2=0 [2]2 !2 ", seen);
    seen.clear();
    p.set("pt1", 5.0);
    p.parm("points").swapMultiParmItem(0, 1);
    EXPECT_EQ("points=2 pt1=0 pt2=5", p.text()) << seen;
    p.list->clearParmOwner();
}

TEST(MultiItem, TextsTakeTheNumbers)
{
    MultiList p;
    ZEL_Default texts[] = {ZEL_Default(1.0, "ch(\"a#\") + #", TRK_MEANING_COLLECTION),
                           ZEL_Default(7.0)};
    ZEL_Template *child = p.items.add(ZEL_FLT, 2, "v#", "Value # of #", texts);
    ZEL_Conditional condition("{ pt# == 1 }", ZEL_CONDTYPE_DISABLE);
    child->setConditionalBasePtr(&condition);
    p.items.add(ZEL_TOGGLE, 1, "on#");
    ZEL_Default shared(3.0);
    p.items.add(ZEL_FLT, 1, "plain#", "Plain", &shared);
    p.build(2.0);
    const ZEL_Template &made = *p.parm("points").findMultiParmTemplate("v2");
    EXPECT_STREQ("Value 2 of #", made.getLabel());
    ASSERT_NE(texts, made.getFactoryDefaults());
    EXPECT_STREQ("ch(\"a2\") + 2", made.getFactoryDefaults()[0].getString());
    EXPECT_EQ(TRK_MEANING_COLLECTION, made.getFactoryDefaults()[0].getStringMeaning());
    EXPECT_EQ(7.0, made.getFactoryDefaults()[1].getFloat());
    EXPECT_FALSE(made.getFactoryDefaults()[1].gotString());
    EXPECT_EQ("ch(\"a2\") + 2", p.expression("v2", 0));
    EXPECT_EQ("-", p.expression("v2", 1));
    ASSERT_NE(nullptr, made.getConditionalBasePtr());
    KIT_String text;
    made.getDisablePtr()->getStringFromList(text);
    EXPECT_STREQ("{ pt2 == 1 }", text.c_str());
    EXPECT_EQ(&shared, p.parm("points").findMultiParmTemplate("plain1")->getFactoryDefaults());
    EXPECT_EQ(child[1].getChoiceListPtr(), p.parm("on1").getChoiceListPtr());
    // Removed items free all of it.
    const std::int64_t before = p.multi().getMemoryUsage(true);
    p.setCount(9.0);
    EXPECT_GT(p.multi().getMemoryUsage(true), before + 7 * std::int64_t(sizeof(ZEL_Template)));
    p.setCount(2.0);
    EXPECT_EQ("ch(\"a2\") + 2", p.expression("v2", 0));
}

TEST(MultiItem, ItemsMadeInOneStepLieInFewBlocks)
{
    MultiList p;
    p.items.add(ZEL_XYZ, 3, "pos#");
    p.build();
    const auto countBlocks = [&] {
        std::set<const char *> blocks;
        for (int i = 1; i < p.list->getEntries(); ++i) {
            const ZEL_Parm *parm = p.list->getParmPtr(i);
            blocks.insert(reinterpret_cast<const char *>(parm) - parm->getInstance()->getPlace());
        }
        return blocks.size();
    };
    p.setCount(100.0);
    EXPECT_LE(countBlocks(), 6u);
    // A block stays for the items that are left, and new ones get their own.
    p.set("pos51", 5.0, 2);
    p.setCount(51.0);
    p.setCount(52.0);
    p.setCount(53.0);
    EXPECT_LE(countBlocks(), 5u);
    EXPECT_EQ("0,0,5", valueText(p.parm("pos51")));
    EXPECT_EQ("0,0,0", valueText(p.parm("pos53")));
}

TEST(MultiItem, ChildrenOfAnUnknownTypeAreLeftOut)
{
    MultiList p;
    p.items.add(ZEL_TYPE_INVISIBLE, 1, "none#");
    p.items.add(ZEL_FLT, 1, "w#");
    p.build();
    p.setCount(2.0);
    EXPECT_EQ("points=2 pt1=0 w1=0 pt2=0 w2=0", p.text());
    EXPECT_EQ(nullptr, p.multi().getParm(1));
    EXPECT_STREQ("none2", p.multi().getMultiParmToken(1, 1));
    p.multi().insertInstanceBefore(0);
    p.setCount(0.0);
    EXPECT_EQ("points=0", p.text());
}

TEST(MultiLookUp, FlatIndicesTokensAndTemplates)
{
    MultiList p;
    p.items.add(ZEL_FLT, 1, "w#");
    p.build();
    p.setCount(3.0);
    const ZEL_Multi &multi = p.multi();
    for (int flat = -1; flat <= 6; ++flat) {
        const bool inside = flat >= 0 && flat < 6;
        const ZEL_Parm *parm = multi.getParm(flat);
        ASSERT_EQ(inside, parm != nullptr) << flat;
        ASSERT_EQ(inside, multi.getTemplate(flat) != nullptr) << flat;
        if (inside) {
            EXPECT_EQ(parm->getTemplatePtr(), multi.getTemplate(flat));
            EXPECT_STREQ(parm->getToken(), multi.getMultiParmToken(flat % 2, flat / 2));
            EXPECT_EQ(flat, multi.findMultiParmIndex(parm->getToken(), false));
            EXPECT_EQ(&multi, parm->getMultiParmOwner());
        }
    }
    for (const auto &[child, item] : {std::pair<int, int>{-1, 0}, {2, 0}, {0, -1}, {0, 3}}) {
        EXPECT_EQ(nullptr, multi.getMultiParmToken(child, item));
    }
    for (const char *token : {"pt4", "pt#", "", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(-1, multi.findMultiParmIndex(token, false));
        EXPECT_EQ(nullptr, p.parm("points").findMultiParmTemplate(token));
    }
    EXPECT_EQ(nullptr, p.parm("pt1").findMultiParmTemplate("pt1"));
    const int numbers[] = {2};
    EXPECT_EQ(&p.parm("w2"), p.list->getParmPtrInst("w#", numbers, 1));
}

TEST(MultiLookUp, NamesThatAnItemHasOrWouldHave)
{
    const std::tuple<const char *, bool, int> cases[] = {
        {"pt1", true, 1},     {"pt12", true, 12},   {"pt012", true, 12},
        {"a7b", true, 7},     {"pt0", false, 0},    {"pt", false, -1},
        {"pt#1", false, 0},   {"other3", false, 0}, {nullptr, false, -1},
        {"", false, -1},      {"a7bc", false, 0},   {"pt99999999999999999999", true, 2147483647},
        {"plain", false, -1}, {"plain1", false, 0},
    };
    MultiList p;
    p.items.add(ZEL_FLT, 1, "a#b");
    p.items.add(ZEL_FLT, 1, "plain");
    p.build();
    for (const auto &[name, matches, expected] : cases) {
        int number = -99;
        EXPECT_EQ(matches, p.multi().matchInstancePattern(name, number)) << (name ? name : "null");
        EXPECT_EQ(expected, number) << (name ? name : "null");
    }
}

TEST(MultiLookUp, ANameBringsItsItem)
{
    const std::tuple<const char *, bool, int, const char *> cases[] = {
        {"pt1", true, 2, ""},
        {"w4", true, 4, ""},
        {"pt0", false, 2, ""},
        {"v2", true, 2, ""},
        {"spare3", false, 2, ""},
        {"points", false, 2, ""},
        {"pt100001", true, 100001, ""},
        {"pt100003", true, 2, "ZEL 22"},
        {"pt2147483647", true, 2, "ZEL 22"},
        {"pt99999999999999999999", true, 2, "ZEL 22"},
        {"", false, 2, ""},
    };
    for (const auto &[name, claimed, items, messages] : cases) {
        MultiList p;
        p.items.add(ZEL_FLT, 1, "w#");
        // A token with digits of its own names no item: the name is claimed, and nothing changes.
        p.items.add(ZEL_FLT, 1, "v2");
        p.build(2.0);
        EXPECT_EQ(claimed, p.list->checkMultiParmInstance(name, false)) << name;
        EXPECT_EQ(items, p.numItems()) << name;
        EXPECT_EQ(messages, takeMessages()) << name;
        EXPECT_EQ(items, p.eval("points")) << name;
    }
    MultiList p;
    p.build();
    EXPECT_FALSE(p.list->checkMultiParmInstance(KIT_StringRef(), false));
}

TEST(MultiLookUp, OneBudgetServesAWholeLoad)
{
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 4);
    MultiList p;
    p.build();
    EXPECT_TRUE(p.list->checkMultiParmInstance("pt4", false));
    EXPECT_TRUE(p.list->checkMultiParmInstance("pt8", false));
    EXPECT_EQ(8, p.numItems()) << "each call by itself outside a load";
    // The budget is 4 items and one for each byte: 12 and 14 use 6 of them.
    const std::string stream = "{ version 0.8 points ( 12 ) pt14 ( 1 ) pt66 ( 1 ) }";
    const int budget = 4 + int(stream.size());
    ASSERT_TRUE(66 - 14 > budget - 6 && 66 - 14 <= budget);
    p.load(stream);
    EXPECT_EQ("ZEL 22", takeMessages().substr(0, 6));
    EXPECT_EQ(14, p.numItems());
}

TEST(MultiClash, ALoadSettlesIt)
{
    // Both blocks make "q1": the later one takes name and state.
    MultiList p;
    Block other;
    other.add(ZEL_FLT, 1, "q#");
    p.items.add(ZEL_FLT, 1, "q#");
    p.top.addMulti(ZEL_MULTITYPE_LIST, "others", other.templates());
    p.build();
    p.setCount(1.0);
    p.set("q1", 5.0);
    p.list->setChannelAlias(&p.parm("q1"), 0, KIT_StringHolder("second"));
    p.animate("q1", "5 + 1");
    p.owner.takeCalls();
    p.loadCount(2.0, "others");
    EXPECT_EQ("others=2 points=1 pt1=0 q1=6 q2=0", p.text());
    EXPECT_EQ(&p.multi("others"), p.parm("q1").getMultiParmOwner());
    EXPECT_EQ(&p.parm("q1"), p.list->getParmPtrFromChannel("second", nullptr));
    EXPECT_EQ("parmRemoved 3; multiItemCreated q2; multiInstancesChanged", p.owner.takeCalls());
    EXPECT_STREQ("q1 of points", KITgetErrorManager().getError(0).text.c_str());
    EXPECT_EQ("ZEL 23", takeMessages());
    p.setCount(0.0);
    EXPECT_EQ("others=2 points=0 q1=6 q2=0", p.text()) << "another one's is left alone";
    p.setCount(0.0, "others");
    EXPECT_EQ("others=0 points=0", p.text());
}

TEST(MultiClash, FixedParametersAndTheMultiItselfStay)
{
    MultiList p;
    p.items.add(ZEL_FLT, 1, "fixed#");
    p.items.add(ZEL_FLT, 1, "points");
    p.items.add(ZEL_FLT, 1, "twice#");
    p.items.add(ZEL_FLT, 1, "twice#");
    ZEL_SpareData spare({"multistartoffset", "0"});
    p.top.add(ZEL_FLT, 1, "fixed0");
    p.top.addMulti(ZEL_MULTITYPE_LIST, "points0", p.items.templates(), 0.0, nullptr, &spare);
    p.buildTop();
    p.set("fixed0", 4.0);
    p.owner.takeCalls();
    p.loadCount(1.0, "points0");
    EXPECT_EQ("fixed0=4 points0=1 pt0=0 twice0=0", p.text());
    EXPECT_EQ("parmRemoved 3; multiItemCreated pt0; multiInstancesChanged", p.owner.takeCalls());
    p.setCount(0.0, "points0");
    EXPECT_EQ("fixed0=4 points0=0", p.text());
}

TEST(MultiClash, OnlyWhatAMultiMadeIsItsChild)
{
    // Each list is built with a name that is taken; what has the name is left alone.
    // `other`: the first block's rival for "q1"
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"fixed", "q1 of points", "q1=7 points=3 pt1=0 pt2=0 q2=0 pt3=0 q3=0"},
        {"block", "q1 of points", "points=3 others=1 pt1=0 q1=7 pt2=0 q2=0 pt3=0 q3=0"},
        {"itself", "q1 of q1", "q1=3 pt1=0 pt2=0 q2=0 pt3=0 q3=0"},
    };
    for (const auto &[rival, message, contents] : cases) {
        const bool isItself = *rival == 'i';
        const char *const name = isItself ? "q1" : "points";
        MultiList p;
        Block other;
        other.add(ZEL_FLT, 1, "q#");
        p.items.add(ZEL_FLT, 1, "q#");
        if (*rival == 'f') {
            p.top.add(ZEL_FLT, 1, "q1");
        }
        p.top.addMulti(ZEL_MULTITYPE_LIST, name, p.items.templates(), 1.0);
        if (*rival == 'b') {
            p.top.addMulti(ZEL_MULTITYPE_LIST, "others", other.templates(), 1.0);
        }
        p.buildTop();
        EXPECT_STREQ(message, KITgetErrorManager().getError(0).text.c_str());
        EXPECT_EQ("ZEL 23", takeMessages()) << rival;
        ZEL_Parm &taken = p.parm("q1");
        if (!isItself) {
            p.set("q1", 7.0);
            taken.setLockedFlag(0, true);
        }
        p.owner.takeCalls();
        ZEL_Multi &multi = p.multi(name);
        ZEL_Parm &parm = p.parm(name);
        EXPECT_EQ(nullptr, parm.getMultiParm(1));
        KIT_BitArray flagged(p.list->getEntries());
        ZEL_Utils::flagMultiParmInstances(*p.list, &parm, flagged);
        EXPECT_EQ(1, flagged.numBitsSet()) << rival;
        parm.insertMultiParmItem(0, true);
        EXPECT_NE(std::string::npos, p.owner.takeCalls().find("multiItemCreated pt1"));
        p.set("q2", 4.0);
        parm.insertMultiParmItem(0, false);
        multi.assignInstance(1, 0);
        parm.swapMultiParmItem(0, 1);
        parm.removeMultiParmItem(0, false);
        parm.insertMultiParmItem(1, false);
        multi.revertInstance(0);
        for (const char *moved : {"q2", "q3"}) {
            p.set(moved, 0.0);
        }
        const ZEL_Multi *const owner = taken.getMultiParmOwner();
        EXPECT_EQ(contents, p.text()) << rival;
        EXPECT_EQ(!isItself, taken.getLockedFlag(0));
        p.setCount(0.0, name);
        EXPECT_EQ(&taken, p.list->getParmPtr("q1"));
        EXPECT_EQ(owner, taken.getMultiParmOwner());
        p.list.reset();
    }
}

TEST(MultiClash, AnItemCannotReplaceTheMultiThatMakesIt)
{
    MultiList p;
    p.items.add(ZEL_FLT, 1, "late#");
    p.top.add(ZEL_FLT, 1, "n");
    p.buildTop();
    const ZEL_Parm *late =
        p.append(p.late.addMulti(ZEL_MULTITYPE_LIST, "late1", p.items.templates()));
    p.loadCount(2.0, "late1");
    EXPECT_EQ("n=0 late1=2 pt1=0 pt2=0 late2=0", p.text());
    EXPECT_EQ(late, p.list->getParmPtr("late1"));
}

TEST(MultiClash, NoParameterOutlivesItsDescription)
{
    MultiList p;
    p.build();
    p.setCount(3.0);
    // A later parameter takes an item's name, and one item's parameter is removed by the caller.
    const ZEL_Parm *other = p.append(p.late.add(ZEL_FLT, 1, "pt2"));
    p.list->removeAndDestroyParm(p.list->getParmIndex("pt3"));
    EXPECT_EQ("points=3 pt1=0 pt2=0 pt2=0", p.text());
    p.setCount(0.0);
    EXPECT_EQ("points=0 pt2=0", p.text());
    EXPECT_EQ(other, p.list->getParmPtr("pt2"));
}

TEST(MultiClash, AMultiThatLeavesTakesItsItemsAlong)
{
    MultiList p;
    p.top.add(ZEL_FLT, 1, "n");
    p.buildTop();
    ZEL_Template *description = p.late.addMulti(ZEL_MULTITYPE_LIST, "late", p.items.templates());
    p.append(description);
    p.setCount(2.0, "late");
    EXPECT_EQ("n=0 late=2 pt1=0 pt2=0", p.text());
    EXPECT_TRUE(p.parm("pt2").isSpareParm());
    p.owner.takeCalls();
    p.list->removeAndDestroyParm(1);
    EXPECT_EQ("n=0", p.text());
    EXPECT_EQ("parmRemoved 1; parmRemoved 2; parmRemoved 1; multiInstancesChanged",
              p.owner.takeCalls());

    // A multi-parameter that is in no list still makes and removes items.
    {
        ZEL_Parm loose(description, p.list.get());
        double value = 0.0;
        loose.setValue(0.0, 2.0, false, 0, ZEL_ADDKEY_PENDING, false);
        loose.getValue(0.0, value, 0, BASgetSTID());
        EXPECT_EQ("n=0 pt1=0 pt2=0", p.text());
    }
    EXPECT_EQ("n=0", p.text());
    ZEL_Parm alone(description, nullptr);
    alone.getInstance()->revertToDefaults(true);
    EXPECT_EQ(0, alone.getMultiParmNumItems());
}
