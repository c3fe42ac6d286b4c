// How much memory an input may make of blocks.

#include "MultiList.h"

#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_InputBudget.h>

#include <gtest/gtest.h>

#include <sstream>

namespace
{

/// A megabyte, and whatever number of items.
struct OneMegabyte
{
    ScopedSetting items{KIT_ENV_MAX_STREAM_ITEMS, 1 << 30};
    ScopedSetting bytes{KIT_ENV_MAX_STREAM_MEGABYTES, 1};
};

const std::string theLong(20000, 'x');
const std::string theLongMarked = theLong + " #";

/// What makes an item of "points" larger than a number does.
enum Size
{
    WIDE,
    NAME,
    LABEL,
    TEXT,
    VALUE,
    CONDITION,
    RAMP,
    SIZES
};

struct Sized
{
    explicit Sized(Size size)
    {
        ZEL_Template *child = nullptr;
        switch (size) {
        case WIDE: child = p.items.add(ZEL_FLT, 256, "w#"); break;
        case NAME: child = p.items.add(ZEL_FLT, 1, theLongMarked.c_str()); break;
        case LABEL: child = p.items.add(ZEL_FLT, 1, "w#", theLongMarked.c_str()); break;
        case TEXT: child = p.items.add(ZEL_ORD, 1, "w#", "L", &marked); break;
        case VALUE: child = p.items.add(ZEL_STRING, 1, "w#", "L", &plain); break;
        case RAMP: child = p.items.addMulti(ZEL_MULTITYPE_RAMP_RGB, "r#", nullptr); break;
        default: child = p.items.add(ZEL_FLT, 1, "w#"); break;
        }
        child->setConditionalBasePtr(size == CONDITION ? &condition : nullptr);
    }

    ZEL_Default marked{0.0, theLongMarked.c_str()};
    ZEL_Default plain{0.0, theLong.c_str()};
    ZEL_Conditional condition{("{ a# == \"" + theLong + "\" }").c_str(), ZEL_CONDTYPE_HIDE};
    MultiList p;
};

/// The ways in which an input asks for items. What it gets is the answer, and what it reports.
enum Source
{
    DEFAULT,
    STREAM,
    NAMED,
    EXPRESSION,
    USER,
    SOURCES
};

std::string ask(MultiList &p, Source source, int count)
{
    const std::string number = std::to_string(count);
    p.build(source == DEFAULT ? count : 0.0);
    switch (source) {
    case STREAM: p.load("{ version 0.8 points ( " + number + " ) }"); break;
    case NAMED: p.load("{ version 0.8 pt" + number + " ( 1 ) }"); break;
    case EXPRESSION: p.animate("points", (number + " + 0").c_str()); break;
    case USER: {
        const ZEL_InputBudget budget(std::int64_t(number.size()));
        p.setCount(count);
        break;
    }
    default: break;
    }
    p.eval("points");
    const std::string messages = takeMessages();
    return std::to_string(p.numItems()) + " " + messages.substr(0, messages.find(';'));
}

} // namespace

TEST(MultiBudget, EverySourceIsHeldToTheBytesOfItsItems)
{
    const OneMegabyte settings;
    for (int size = 0; size < SIZES; ++size) {
        for (int source = 0; source < SOURCES; ++source) {
            const auto get = [&](int count) {
                Sized sized{Size(size)};
                return ask(sized.p, Source(source), count);
            };
            EXPECT_EQ("20 ", get(20)) << size << " " << source;
            EXPECT_EQ("0 ZEL 27", get(1000)) << size << " " << source;
        }
        Sized sized{Size(size)};
        sized.p.build();
        sized.p.setCount(1000.0);
        EXPECT_EQ("1000 ", std::to_string(sized.p.numItems()) + " " + takeMessages()) << size;
    }
}

TEST(MultiBudget, TheEstimateIsNearWhatItemsTake)
{
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_MEGABYTES, 1);
    for (int size = 0; size < SIZES; ++size) {
        Sized sized{Size(size)};
        sized.p.build();
        const std::int64_t before = sized.p.list->getMemoryUsage(true);
        int count = 0;
        {
            // One budget for all: what it allows is a megabyte.
            const ZEL_InputBudget budget(0);
            while (sized.p.numItems() == count && count < 3000) {
                sized.p.setCount(++count);
            }
        }
        EXPECT_EQ("ZEL 27", takeMessages()) << size;
        const auto made = double(sized.p.list->getMemoryUsage(true) - before);
        EXPECT_GT(made, 0.3e6) << size;
        EXPECT_LT(made, size == NAME ? 2.1e6 : 1.2e6) << size; // it counts a shared name twice
    }
}

TEST(MultiBudget, ItemsShareTextsAndConditionsWithoutANumber)
{
    MultiList p;
    ZEL_Default text(0.0, theLong.c_str());
    ZEL_Conditional same("{ a == 1 }", ZEL_CONDTYPE_HIDE), own("{ a# == 1 }", ZEL_CONDTYPE_HIDE);
    p.items.add(ZEL_STRING, 1, "s#", theLong.c_str(), &text);
    ZEL_Template *const block = p.items.templates();
    block[0].getNamePtr()->harden();
    block[1].getNamePtr()->harden();
    block[0].setConditionalBasePtr(&own);
    block[1].setConditionalBasePtr(&same);
    p.build(2.0);
    const ZEL_Template &one = *p.multi().getTemplate(1);
    const ZEL_Template &two = *p.multi().getTemplate(3);
    EXPECT_EQ(one.getLabel(), block[1].getLabel());
    EXPECT_EQ(one.getHelpText(), two.getHelpText());
    EXPECT_EQ(one.getFactoryDefaults(), block[1].getFactoryDefaults());
    EXPECT_EQ(one.getConditionalBasePtr(), &same);
    EXPECT_STREQ("Point 2", p.multi().getTemplate(2)->getLabel());
    KIT_String condition;
    p.multi().getTemplate(2)->getConditionalPtr(ZEL_CONDTYPE_HIDE)->getStringFromList(condition);
    EXPECT_STREQ("{ a2 == 1 }", condition.c_str());
}

TEST(MultiBudget, DefaultsOfAListShareItsBytesAndEachIsReported)
{
    const OneMegabyte settings;
    MultiList p;
    Block blocks[3];
    const char *const names[][2] = {{"a", "a#"}, {"b", "b#"}, {"c", "c#"}};
    for (int i = 0; i < 3; ++i) {
        blocks[i].add(ZEL_FLT, 256, names[i][1]);
        p.top.addMulti(ZEL_MULTITYPE_LIST, names[i][0], blocks[i].templates(), 20.0);
    }
    p.buildTop();
    EXPECT_EQ(20, p.numItems("a"));
    EXPECT_EQ(0, p.numItems("b"));
    EXPECT_EQ(0, p.numItems("c"));
    EXPECT_EQ("ZEL 27; ZEL 27", takeMessages());
}

TEST(MultiBudget, ASnapshotMakesNoMoreThanThereWas)
{
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 50);
    MultiList p;
    Block middle;
    Block inner;
    inner.add(ZEL_FLT, 1, "q#_#_#");
    middle.addMulti(ZEL_MULTITYPE_LIST, "n#_#", inner.templates(), 20.0);
    p.items.addMulti(ZEL_MULTITYPE_LIST, "m#", middle.templates(), 20.0);
    p.build(20.0);
    takeMessages();
    const std::string before = p.text();
    ZEL_UndoDataArray snapshot;
    p.list->saveUndoData(snapshot);
    p.setCount(0.0);
    const std::uint32_t changes = p.list->getAddRemoveCount();
    p.list->loadUndoData(snapshot, nullptr, nullptr);
    EXPECT_EQ(before, p.text());
    EXPECT_GT(500U, p.list->getAddRemoveCount() - changes);
    EXPECT_EQ("", takeMessages());
    p.setCount(0.0);
    p.parm("points").loadUndoData(snapshot[0].second);
    EXPECT_EQ(20, p.numItems());
    EXPECT_EQ("ZEL 22", takeMessages()) << "blocks in its items that get no default";
}

TEST(MultiBudget, KeysThatARampIsNeverWithoutCountWithIt)
{
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 20);
    for (const int count : {10, 11}) {
        MultiList p;
        Block ramps;
        ramps.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r#", nullptr, 1.0);
        p.top.addMulti(ZEL_MULTITYPE_LIST, "ramps", ramps.templates(), count);
        p.buildTop();
        EXPECT_EQ(count == 10 ? 10 : 0, p.numItems("ramps"));
        EXPECT_EQ(count == 10 ? 41 : 1, p.list->getEntries());
        EXPECT_EQ(count == 10 ? "" : "ZEL 22", takeMessages());
    }
}

TEST(MultiBudget, ItemsThatAreOnlyANumberAreNotCounted)
{
    constexpr int theMany = 2000000000;
    MultiList p;
    Block none;
    p.top.addMulti(ZEL_MULTITYPE_LIST, "empty", none.templates());
    p.build();
    p.setCount(theMany, "empty");
    std::ostringstream os;
    p.list->save(os, false, false);
    p.setCount(0.0, "empty");
    EXPECT_TRUE(p.load(os.str()));
    EXPECT_EQ(theMany, p.numItems("empty"));
    const int index = p.list->getParmIndex("empty");
    p.list->insertMultiParmItem(index, 0);
    EXPECT_EQ(theMany + 1, p.numItems("empty"));
    p.list->removeMultiParmItem(index, 0);
    EXPECT_EQ(theMany, p.numItems("empty"));
    EXPECT_EQ("", takeMessages());
    // Nor are those that a compact stream doesn't name, beyond their bytes.
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 1);
    MultiList labels;
    Block block;
    block.add(ZEL_LABEL, 1, "l#");
    labels.top.addMulti(ZEL_MULTITYPE_LIST, "labels", block.templates());
    labels.buildTop();
    EXPECT_TRUE(labels.load("{ version 0.8 labels ( 500 ) }"));
    EXPECT_EQ(500, labels.numItems("labels"));
}

TEST(MultiBudget, ABudgetInsideAnotherAddsToIt)
{
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 2);
    const auto allow = [](std::int64_t items, std::int64_t bytes = 0) {
        return ZEL_InputBudget::allow({"p", items, bytes});
    };
    takeMessages();
    {
        const ZEL_InputBudget outer(1);
        EXPECT_TRUE(allow(1));
        const ZEL_InputBudget inner(3);
        EXPECT_TRUE(allow(5));
        EXPECT_FALSE(allow(1));
        {
            const ZEL_InputBudget restored(ZEL_InputBudget::NO_LIMIT, 0);
            EXPECT_TRUE(allow(1 << 30));
            EXPECT_FALSE(ZEL_InputBudget::isInInput());
            for (const bool first : {true, false}) {
                const ZEL_InputBudget defaults(ZEL_InputBudget::RESTORED, 0);
                EXPECT_EQ(first, allow(2));
            }
            const ZEL_InputBudget file(4);
            EXPECT_TRUE(allow(6, (256 << 20) + 4 * ZEL_InputBudget::theBytesPerByte));
            EXPECT_FALSE(allow(0, 1));
        }
        EXPECT_TRUE(ZEL_InputBudget::isInInput());
        EXPECT_FALSE(allow(1)) << "as before";
        EXPECT_EQ("ZEL 22; ZEL 22; ZEL 27; ZEL 22", takeMessages());
        const ZEL_InputBudget set(0);
        const ZEL_AutoBlockErrors block;
        EXPECT_FALSE(allow(1));
    }
    EXPECT_EQ("ZEL 22", takeMessages()) << "when errors are no longer blocked";
    EXPECT_TRUE(allow(2));
    EXPECT_FALSE(ZEL_InputBudget::isInInput());
}
