#include <common/ListFixture.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

/// Restores a setting of the channel manager at the end of a test.
struct ManagerSettings
{
    ~ManagerSettings()
    {
        TRK_Manager::getContext().setCommitPreference(true);
        TRK_Manager::getContext().setTupleKeying(false);
        TRK_Manager::getContext().setCurrentTime(0.0);
    }
};

} // namespace

TEST(Floats, ReadingClampsAndRoundsAndStoringDoesNot)
{
    struct Case
    {
        const ZEL_Type &type;
        ZEL_Range range;
        double stored, read;
        int readInt;
    };
    const ZEL_Range none;
    const ZEL_Range hard(ZEL_RangeFlag(3), 0.0, ZEL_RangeFlag(3), 10.0);
    const ZEL_Range crossed(ZEL_RangeFlag(2), 5.0, ZEL_RangeFlag(2), 1.0);
    const double huge = 1e300;
    const Case cases[] = {
        {ZEL_FLT, none, 50.0, 50.0, 50}, // limits of the interface only
        {ZEL_FLT, hard, 50.0, 10.0, 10},
        {ZEL_FLT, hard, -1.0, 0.0, 0},
        {ZEL_FLT, crossed, 0.0, 5.0, 5},
        {ZEL_FLT, crossed, 9.0, 1.0, 1},
        {ZEL_FLT, none, 2.9, 2.9, 2},
        {ZEL_FLT, none, -2.9, -2.9, -2},
        {ZEL_INT, none, 2.5, 3.0, 3},
        {ZEL_INT, none, -2.5, -2.0, -2},
        {ZEL_INT, none, -0.5, 0.0, 0},
        {ZEL_INT, hard, 10.4, 10.0, 10},
        {ZEL_FLT, none, huge, huge, std::numeric_limits<int>::max()},
        {ZEL_FLT, none, -huge, -huge, std::numeric_limits<int>::min()},
    };
    for (const Case &c : cases) {
        OneParm p(c.type, 1);
        p.description.range = c.range;
        p.description.entry = ZEL_Template(c.type, 1, &p.description.name, p.description.defaults,
                                           nullptr, &p.description.range);
        p.build();
        p.set(c.stored);
        EXPECT_EQ(p.eval(), c.read) << c.stored;
        int asInt = 0;
        p.instance->getValue(p.list.get(), 0.0, asInt, 0, 1);
        EXPECT_EQ(asInt, c.readInt) << c.stored;
        double all[1] = {};
        p.instance->getValues(p.list.get(), 0.0, all, 1);
        EXPECT_EQ(all[0], c.read) << c.stored;
        const std::string text = p.saved();
        OneParm raw(ZEL_FLT, 1);
        raw.build();
        ASSERT_TRUE(raw.load(text));
        EXPECT_EQ(raw.eval(), c.stored) << "the raw number is saved";
    }
}

TEST(Floats, NotANumberReadsAsItselfAndAsIntegerZero)
{
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.set(std::nan(""));
    EXPECT_TRUE(std::isnan(p.eval()));
    std::int64_t value = 7;
    p.instance->getValue(p.list.get(), 0.0, value, 0, 1);
    EXPECT_EQ(value, 0);
    EXPECT_FALSE(p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_VALUE, true));
}

TEST(Floats, IndexOutsideTheVectorReadsZeroAndSetsAnError)
{
    OneParm p(ZEL_XYZ, 3);
    p.build();
    p.set(4.0, 1);
    EXPECT_EQ(p.eval(3), 0.0);
    EXPECT_EQ(p.eval(-1), 0.0);
    p.set(9.0, 3);
    EXPECT_EQ(takeMessages(), "ZEL 21");
    p.set(9.0, -1);
    EXPECT_EQ(takeMessages(), "ZEL 21");
    p.instance->clearAllDirtyFlags();
    for (const int outside : {3, -1}) {
        p.instance->setValue(0.0, "9", TRK_MEANING_LITERAL, false, outside, ZEL_ADDKEY_PENDING,
                             ZEL_KEYSET_PREFERENCE);
        EXPECT_EQ(takeMessages(), "ZEL 21");
        EXPECT_TRUE(p.instance->areAllFlagsClean());
    }
    double value = 5.0;
    p.instance->getDefaultValue(value, 3);
    EXPECT_EQ(value, 5.0) << "nothing is written";
}

TEST(Floats, NonAnimatibleEvaluatesAtTimeZeroAndWarns)
{
    OneParm p(ZEL_FLT_E, 1);
    p.build();
    p.animate("$F");
    EXPECT_EQ(p.eval(0, 2.0), 1.0);
    EXPECT_EQ(takeMessages(), "ZEL 18");
    double all[1];
    p.instance->getValues(p.list.get(), 2.0, all, 1);
    EXPECT_EQ(all[0], 1.0);
    EXPECT_EQ(takeMessages(), "ZEL 18");
}

TEST(Floats, TimeDependenceReachesTheList)
{
    struct Case
    {
        const ZEL_Type type;
        bool list, cook, warns;
    };
    const Case cases[] = {{ZEL_FLT, true, true, false},
                          {ZEL_FLT | ZEL_TYPE_NOCOOK, true, false, false},
                          {ZEL_FLT | ZEL_TYPE_NOREFRESH, false, false, false},
                          {ZEL_FLT_E | ZEL_TYPE_NOREFRESH, false, false, true}};
    for (const Case &c : cases) {
        for (bool bulk : {false, true}) {
            OneParm p(c.type, 2);
            p.build();
            p.animate("$F", 1);
            takeMessages();
            p.list->clearTimeDependent();
            p.list->clearCookTimeDependent();
            double all[2];
            if (bulk) {
                p.instance->getValues(p.list.get(), 1.0, all, 1);
            } else {
                p.eval(1, 1.0);
            }
            EXPECT_EQ(p.list->isTimeDependent(), c.list) << bulk;
            EXPECT_EQ(p.list->isCookTimeDependent(), c.cook) << bulk;
            EXPECT_EQ(takeMessages(), c.warns ? "ZEL 18" : "") << bulk;
            p.instance->getValues(nullptr, 1.0, all, 1);
        }
    }
}

TEST(Floats, AnimatedStoredValueIsARawCache)
{
    OneParm p(ZEL_FLT, 1);
    p.description.range = ZEL_Range(ZEL_RangeFlag(2), 0.0, ZEL_RangeFlag(2), 1.0);
    p.description.entry = ZEL_Template(ZEL_FLT, 1, &p.description.name, p.description.defaults,
                                       nullptr, &p.description.range);
    p.build();
    p.animate("$F * 10");
    EXPECT_EQ(p.eval(0, 1.0), 1.0);
    p.instance->overwriteDefault(0.0, 0);
    EXPECT_EQ(p.parm->getTemplatePtr()->getDefault(0)->getFloat(), 250.0);
}

TEST(Floats, SettingAChannel)
{
    ManagerSettings settings;
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.set(1.0);
    p.instance->addChannel(0);
    TRK_Channel *channel = p.instance->getChannel(0);
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(p.eval(), 1.0) << "a new channel holds the stored value";

    // The value already current makes no key and leaves nothing pending.
    p.set(1.0, 0, 2.0, ZEL_ADDKEY_FORCE);
    EXPECT_FALSE(channel->isAtKey(2.0));

    // Without commit the change stays pending at its time until it is hardened.
    TRK_Manager::getContext().setCommitPreference(false);
    p.set(3.0, 0, 2.0);
    EXPECT_EQ(p.instance->getChanState(2.0, 0), ZEL_CHAN_PENDING);
    EXPECT_EQ(p.eval(0, 2.0), 3.0);
    EXPECT_EQ(p.eval(0, 1.0), 1.0);
    KIT_Array<TRK_ChannelRef> collected;
    p.instance->hardenChanges(2.0, 0, false, nullptr, &collected);
    EXPECT_EQ(collected.size(), 1);
    EXPECT_FALSE(channel->isAtKey(2.0)) << "collecting makes no key";
    p.instance->hardenChanges(2.0, 0, false, "q*", nullptr);
    EXPECT_FALSE(channel->isAtKey(2.0)) << "the pattern doesn't match";
    p.instance->hardenChanges(2.0, 0, false, "p*", nullptr);
    EXPECT_TRUE(channel->isAtKey(2.0));
    EXPECT_EQ(p.eval(0, 2.0), 3.0);
    EXPECT_EQ(p.instance->getChanState(2.0, 0), ZEL_CHAN_KEY);

    // Pending at another time: hardening here drops it.
    p.set(8.0, 0, 3.0);
    p.instance->hardenChanges(5.0, 0, false, nullptr, nullptr);
    EXPECT_FALSE(channel->getPendingFlag());

    // Hardening on set, and forcing.
    p.set(6.0, 0, 4.0, ZEL_ADDKEY_HARDEN);
    EXPECT_TRUE(channel->isAtKey(4.0));
    EXPECT_EQ(p.eval(0, 4.0), 6.0);
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], 0);
}

TEST(Floats, ReplacingAnExpressionHoldsEvenAnEqualValue)
{
    OneParm p(ZEL_FLT, 1);
    p.build();
    TRK_Channel *channel = p.animate("1 + 1");
    p.instance->setValue(0.0, 2.0, true, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_COMMIT);
    EXPECT_STREQ(channel->getFirstSegment()->getExpression(), "constant()");
    EXPECT_EQ(p.eval(), 2.0);
}

TEST(Floats, TupleKeyingKeysTheOtherComponents)
{
    ManagerSettings settings;
    TRK_Manager::getContext().setTupleKeying(true);
    OneParm p(ZEL_XYZ, 3);
    p.build();
    for (int i = 0; i < 2; ++i) {
        p.instance->addChannel(i);
    }
    p.set(5.0, 0, 2.0, ZEL_ADDKEY_HARDEN);
    EXPECT_TRUE(p.instance->getChannel(0)->isAtKey(2.0));
    EXPECT_TRUE(p.instance->getChannel(1)->isAtKey(2.0));
    EXPECT_EQ(p.instance->getChannel(2), nullptr);

    // The rule follows the manager's preference, not the flag that this set asked for.
    TRK_Manager::getContext().setCommitPreference(false);
    p.instance->setValue(3.0, 6.0, false, 0, ZEL_ADDKEY_HARDEN, ZEL_KEYSET_COMMIT);
    EXPECT_TRUE(p.instance->getChannel(0)->isAtKey(3.0));
    EXPECT_FALSE(p.instance->getChannel(1)->isAtKey(3.0));
}

TEST(Floats, TextsBecomeNumbersOrExpressions)
{
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.instance->setExpression(0.0, "3.5  ", TRK_LANGUAGE_NATIVE, 0, true, false);
    EXPECT_EQ(p.eval(), 3.5);
    EXPECT_EQ(p.instance->getChannel(0), nullptr) << "a number makes no channel";
    p.instance->setValue(0.0, "7", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                         ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.eval(), 7.0);
    p.instance->setValue(0.0, static_cast<const char *>(nullptr), TRK_MEANING_LITERAL, false, 0,
                         ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.eval(), 0.0);
    p.instance->setValue(0.0, "2 * 21", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                         ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.eval(), 42.0);
    p.instance->setExpression(0.0, "5", TRK_LANGUAGE_NATIVE, 0, true, false);
    ASSERT_NE(p.instance->getChannel(0), nullptr) << "with a channel a number is an expression";
    EXPECT_STREQ(p.instance->getChannel(0)->getFirstSegment()->getExpression(), "5");
    p.instance->setExpression(0.0, "6", TRK_LANGUAGE_NATIVE, 0, true, true);
    ASSERT_NE(p.instance->getChannel(0), nullptr)
        << "a fresh channel is made after the old one is deleted";
    EXPECT_EQ(p.channels.entries(), 1);
}

TEST(Floats, DataItemsSetZero)
{
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.set(5.0);
    p.instance->setValue(0.0, std::shared_ptr<const ZEL_DataItem>(), false, 0, ZEL_ADDKEY_PENDING,
                         ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.eval(), 0.0);
}

TEST(Floats, Defaults)
{
    OneParm p(ZEL_XYZ, 3);
    p.description.defaults[0] = ZEL_Default(1.5);
    p.description.defaults[1] = ZEL_Default(2.0, "1 + 1", TRK_MEANING_NATIVE);
    p.build();
    EXPECT_EQ(p.eval(0), 1.5);
    ASSERT_NE(p.instance->getChannel(1), nullptr) << "the default's expression makes a channel";
    EXPECT_EQ(p.eval(1), 2.0);
    EXPECT_TRUE(p.instance->isAllDefault(ZEL_DefaultType(12)));

    const ZEL_DefaultType magic = ZEL_DEFAULT_MAGIC;
    p.set(4.0, 0);
    EXPECT_FALSE(p.instance->isDefault(0, magic, true));
    p.instance->overwriteDefault(0.0, 0);
    EXPECT_TRUE(p.instance->isDefault(0, magic, true));
    EXPECT_FALSE(p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_VALUE, true));
    p.instance->setLockedFlag(0, true);
    EXPECT_FALSE(p.instance->isDefault(0, magic, true));
    EXPECT_FALSE(p.instance->isDefault(3, magic, true));
    EXPECT_FALSE(p.instance->isDefault(3, magic, false));
    p.instance->restoreFactoryDefault(0);
    p.instance->revertToDefault(0);
    EXPECT_EQ(p.eval(0), 1.5);

    // A keyed component keeps its channel and gets the default as a key.
    p.instance->addChannel(2);
    p.set(9.0, 2, 1.0, ZEL_ADDKEY_HARDEN);
    p.instance->setValueToDefault(1.0, 2, ZEL_ADDKEY_HARDEN);
    ASSERT_NE(p.instance->getChannel(2), nullptr);
    EXPECT_EQ(p.eval(2, 1.0), 0.0);
    p.instance->revertToDefaults(false);
    EXPECT_NE(p.instance->getChannel(2), nullptr);
    p.instance->revertToDefault(2);
    EXPECT_EQ(p.instance->getChannel(2), nullptr);

    // An expression other than the factory's isn't the default.
    p.animate("1 + 2", 1);
    EXPECT_FALSE(p.instance->isDefault(1, ZEL_DEFAULT_FACTORY_EXPRESSION, true));
}

TEST(Floats, MagicString)
{
    OneParm p(ZEL_XYZ, 3);
    p.description.defaults[0] = ZEL_Default(1.0);
    p.build();
    KIT_TokenString tokens, expected;
    EXPECT_FALSE(p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, false, 1));
    EXPECT_TRUE(tokens == expected);
    EXPECT_FALSE(p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, true, 1));
    for (int i = 0; i < 3; ++i) {
        expected.append('d');
    }
    EXPECT_TRUE(tokens == expected);

    p.set(7.0, 2);
    tokens.clear();
    expected.clear();
    EXPECT_TRUE(p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, false, 1));
    expected.append(7.0);
    expected.append('d');
    expected.append('d');
    EXPECT_TRUE(tokens == expected) << "from the last component to the first";

    p.animate("1 / nosuch()", 0);
    takeMessages();
    EVL::theErrNo[BASgetSTID()] = 0;
    p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, false, BASgetSTID());
    EXPECT_NE(takeMessages(), "") << "an evaluation error is reported here";
    EVL::theErrNo[BASgetSTID()] = 0;
}

TEST(Floats, Commands)
{
    OneParm p(ZEL_XYZ, 3);
    p.build();
    p.set(0.1, 0);
    p.animate("2 + 3", 1);
    std::ostringstream os;
    os.precision(3);
    p.instance->saveCommand(os, 0, -1);
    EXPECT_EQ(os.str(), " ( 0.1 py 0 )");
    os.str("");
    p.instance->saveCommand(os, 1, -1);
    EXPECT_EQ(os.str(), " ( 0.1 5 0 )");
    os.str("");
    p.instance->saveCommand(os, 1, 1);
    EXPECT_EQ(os.str(), " ( 5 )");
    EXPECT_EQ(os.precision(), 3);

    // A locked component's argument is consumed and has no effect.
    p.instance->setLockedFlag(0, true);
    const char *const set[] = {"(", "9", "1", "2", ")", "more"};
    EXPECT_EQ(p.instance->loadCommand(6, set, -1, false, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE),
              5);
    EXPECT_EQ(p.eval(0), 0.1);
    EXPECT_EQ(p.eval(1), 1.0);
    EXPECT_EQ(p.channels.entries(), 0) << "the replaced channel is deleted";

    // The closing test looks at the first character, the loop's at the whole word.
    const char *const odd[] = {"(", "1", "2", "3", ")x", "more"};
    EXPECT_EQ(p.instance->loadCommand(6, odd, -1, true, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE),
              5);
    const char *const expression[] = {"4 * 4"};
    EXPECT_EQ(
        p.instance->loadCommand(1, expression, 2, true, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE),
        1);
    EXPECT_EQ(p.eval(2), 16.0);
    EXPECT_EQ(
        p.instance->loadCommand(0, nullptr, -1, true, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE),
        0);
}

TEST(Floats, CopiesAndAdoption)
{
    OneParm p(ZEL_XYZ, 3);
    p.build();
    for (int i = 0; i < 3; ++i) {
        p.set(i + 1.0, i);
    }
    OneParm smaller(ZEL_XYZ, 2);
    smaller.build();
    smaller.instance->adopt(*p.instance);
    EXPECT_EQ(smaller.eval(1), 2.0);
    EXPECT_TRUE(smaller.instance->getDefaultsInitFlag());
    ZEL_Parm copy(p.parm, p.list.get());
    double value = 0.0;
    copy.getValue(0.0, value, 2, 1);
    EXPECT_EQ(value, 3.0);

    OneParm rotate(ZEL_ANGLEXYZ, 3, "r");
    rotate.build();
    EXPECT_TRUE(rotate.instance->isRotationParm());
    EXPECT_FALSE(p.instance->isRotationParm());
}
