#include <common/ListFixture.h>

#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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
                all[1] = p.eval(1, 1.0);
            }
            EXPECT_EQ(all[1], c.warns ? 1.0 : 25.0) << "one that isn't animatible is read at 0";
            EXPECT_EQ(p.list->isTimeDependent(), c.list) << bulk;
            EXPECT_EQ(p.list->isCookTimeDependent(), c.cook) << bulk;
            EXPECT_EQ(takeMessages(), c.warns ? "ZEL 18" : "") << bulk;
            p.instance->getValues(nullptr, 1.0, all, 1);
        }
    }
}

TEST(Floats, ADerivedClassIsToldOfEachRead)
{
    struct Told : ZEL_Float
    {
        using ZEL_Float::ZEL_Float;
        void setTimeDependent(int index, bool timeDependent) const override
        {
            told += std::to_string(index) + (timeDependent ? "+" : "-");
        }
        mutable std::string told;
    };
    OneParm p(ZEL_XYZ, 3);
    p.build();
    for (ZEL_Parm *parm : {p.parm, static_cast<ZEL_Parm *>(nullptr)}) {
        const Told told(&p.templates[0], parm);
        double number = 0.0;
        std::int64_t whole = 0;
        KIT_String text;
        told.getValue(nullptr, 0.0, number, 1, 1);
        told.getValue(p.list.get(), 0.0, whole, 2, 1);
        told.getValue(nullptr, 0.0, text, 0, true, 1);
        EXPECT_EQ(told.told, "1-2-0-");
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
    ASSERT_NE(p.instance->getChannel(0), nullptr);
    EXPECT_EQ(p.eval(), 1.0) << "a new channel holds the stored value";

    // Without commit the change stays pending at its time.
    TRK_Manager::getContext().setCommitPreference(false);
    p.set(3.0, 0, 2.0);
    EXPECT_EQ(p.eval(0, 2.0), 3.0);
    EXPECT_EQ(p.eval(0, 1.0), 1.0);
    p.set(6.0, 0, 4.0, ZEL_ADDKEY_HARDEN);
    EXPECT_TRUE(p.instance->getChannel(0)->isAtKey(4.0));
    EXPECT_EQ(p.eval(0, 4.0), 6.0);
}

TEST(Floats, TextsBecomeNumbersOrExpressions)
{
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.animate("3.5  ");
    EXPECT_EQ(p.eval(), 3.5);
    EXPECT_EQ(p.instance->getChannel(0), nullptr) << "a number makes no channel";
    p.setText("7");
    EXPECT_EQ(p.eval(), 7.0);
    p.setText(nullptr);
    EXPECT_EQ(p.eval(), 0.0);
    p.set(5.0);
    p.instance->setValue(0.0, std::shared_ptr<const ZEL_DataItem>(), false, 0, ZEL_ADDKEY_PENDING,
                         ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.eval(), 0.0) << "a data item is no number";
    p.setText("2 * 21");
    EXPECT_EQ(p.eval(), 42.0);
    ASSERT_NE(p.animate("5"), nullptr) << "with a channel a number is an expression";
    EXPECT_EQ(p.expression(), "5");
    p.instance->setExpression(0.0, "6", TRK_LANGUAGE_NATIVE, 0, true, true);
    ASSERT_NE(p.instance->getChannel(0), nullptr)
        << "a fresh channel is made after the old one is deleted";
    EXPECT_EQ(p.channels.entries(), 1);
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

    p.instance->setLockedFlag(0, true);
    EXPECT_FALSE(p.instance->isDefault(0, ZEL_DEFAULT_MAGIC, true));
    EXPECT_FALSE(p.instance->isDefault(3, ZEL_DEFAULT_MAGIC, false));

    // An expression other than the factory's isn't the default.
    p.animate("1 + 2", 1);
    EXPECT_FALSE(p.instance->isDefault(1, ZEL_DEFAULT_FACTORY_EXPRESSION, true));
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
    EXPECT_EQ(os.precision(), 3);
    EXPECT_EQ(p.savedCommand(1), " ( 0.1 5 0 )");
    EXPECT_EQ(p.savedCommand(1, 1), " ( 5 )");

    // A locked component's argument is consumed and has no effect.
    p.instance->setLockedFlag(0, true);
    EXPECT_EQ(p.loadCommand({"(", "9", "1", "2", ")", "more"}, false), 5);
    EXPECT_EQ(p.eval(0), 0.1);
    EXPECT_EQ(p.eval(1), 1.0);
    EXPECT_EQ(p.channels.entries(), 0) << "the replaced channel is deleted";

    // The closing test looks at the first character, the loop's at the whole word.
    EXPECT_EQ(p.loadCommand({"(", "1", "2", "3", ")x", "more"}, true), 5);
    EXPECT_EQ(p.loadCommand({"4 * 4"}, true, 2), 1);
    EXPECT_EQ(p.eval(2), 16.0);
    EXPECT_EQ(p.loadCommand({}, true), 0);
}

TEST(Floats, AVectorNamedRIsARotation)
{
    OneParm rotate(ZEL_ANGLEXYZ, 3, "r"), move(ZEL_XYZ, 3);
    rotate.build();
    move.build();
    EXPECT_TRUE(rotate.instance->isRotationParm());
    EXPECT_FALSE(move.instance->isRotationParm());
}
