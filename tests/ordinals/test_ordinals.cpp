#include <common/OverrideProvider.h>
#include <ordinals/OrdinalParm.h>

#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace
{

constexpr std::int64_t theHuge = std::int64_t(1) << 40;

struct Ordinals : testing::Test, Menus, ManagerSettings
{
    ~Ordinals() override { takeMessages(); }
};

} // namespace

TEST_F(Ordinals, ReadingKeepsToTheRangeElseToAnExclusiveMenu)
{
    ZEL_Range hard(ZEL_RANGE_PARM, 0.5, ZEL_RANGE_PARM, 9.7);
    ZEL_Range crossed(ZEL_RANGE_PARM, 5.0, ZEL_RANGE_PARM, 1.0);
    ZEL_Range interfaceOnly;
    const std::tuple<ZEL_ChoiceList *, ZEL_Range *, std::int64_t, std::int64_t> cases[] = {
        {&exclusive, nullptr, 5, 1},
        {&exclusive, nullptr, -1, 0},
        {&replace, nullptr, 5, 5},
        {&tokenValued, nullptr, 7, 7},
        {&empty, nullptr, 5, 5}, // nothing to offer instead
        {nullptr, nullptr, theHuge, theHuge},
        {nullptr, &hard, 0, 1}, // the nearest integers inside
        {nullptr, &hard, 12, 9},
        {&exclusive, &interfaceOnly, 5, 5}, // a range decides, even one without hard limits
        {nullptr, &crossed, 0, 5},
        {nullptr, &crossed, 3, 1}, // both limits look at 3: a float gives the minimum
    };
    for (const auto &[menu, range, stored, read] : cases) {
        OrdinalParm p(ZEL_ORD, 1, menu, range);
        p.build().setInteger(stored);
        EXPECT_EQ(p.value(), read) << stored;
        EXPECT_EQ(p.eval(), double(read)) << stored;
        std::int64_t all[1];
        p.instance->getValues(p.list.get(), 0.0, all, 1);
        EXPECT_EQ(all[0], read);
    }
    OrdinalParm huge(ZEL_ORD);
    huge.build().setInteger(theHuge);
    int narrow = 0;
    huge.instance->getValue(huge.list.get(), 0.0, narrow, 0, 1);
    EXPECT_EQ(narrow, INT32_MAX);
    EXPECT_EQ(huge.value(1), 0) << "outside the vector";
}

TEST_F(Ordinals, LimitsHoldForOverridesAndFailingOwners)
{
    ZEL_Range hard(ZEL_RANGE_PARM, 2.0, ZEL_RANGE_PARM, 9.0);
    OrdinalParm p(ZEL_ORD, 1, nullptr, &hard);
    TestOwner owner;
    p.build(&owner).setInteger(4);
    {
        const OverrideProvider provider(50.0);
        p.instance->setOverride(0, 0, "provider", ZEL_OVERRIDE_OVERRIDDEN);
        EXPECT_EQ(p.value(), 9);
    }
    EXPECT_EQ(p.value(), 4);
    owner.setPendingOverrideString("pending");
    owner.cookResult = KIT_ERROR_ABORT;
    EXPECT_EQ(p.value(), 2) << "the 0 of a failure is limited, a float's isn't";
}

TEST_F(Ordinals, ReadAsText)
{
    const std::tuple<ZEL_Type, ZEL_ChoiceList *, std::int64_t, const char *> cases[] = {
        {ZEL_ORD, &exclusive, 1, "b"},       {ZEL_ORD, &replace, 5, "5"},
        {ZEL_ORD, &replace, -1, "-1"},       {ZEL_ORD, &tokenValued, 1, "1"},
        {ZEL_ORD, &numeric, 1, "20"},        {ZEL_ORD, nullptr, theHuge, "1099511627776"},
        {ZEL_BUTTONSTRIP, &replace, 1, "1"}, {ZEL_ICONSTRIP, &replace, 1, "1"},
        {ZEL_TOGGLE, nullptr, 1, "on"},      {ZEL_TOGGLE, nullptr, 3, "on"},
    };
    for (const auto &[type, menu, value, expected] : cases) {
        OrdinalParm p(type, 1, menu);
        p.description.defaults[0] = ZEL_Default(1.0);
        p.build().setInteger(value);
        EXPECT_EQ(p.text(), expected);
        KIT_String text;
        p.instance->getDefaultValue(text, 0);
        p.setInteger(1);
        EXPECT_EQ(text, p.text().c_str()) << "the default reads like the value";
    }
}

TEST_F(Ordinals, TextIsATokenANumberOrAnExpression)
{
    const std::tuple<ZEL_ChoiceList *, const char *, const char *> cases[] = {
        {&exclusive, "b", "1"},         {&exclusive, "B", "0 = B"}, // another case is another word
        {&exclusive, "1", "1"},         {&exclusive, "", "0"},
        {&exclusive, nullptr, "0"},     {&exclusive, "$F", "1 = $F"},
        {&exclusive, "1.2", "1 = 1.2"}, // no integer
        {&numeric, "20", "1"},          // a token takes precedence over a number
        {&numeric, "1", "1"},           {&tokenValued, "20", "20"},
        {nullptr, "-3", "-3"},          {nullptr, "5000000000", "2147483647"},
    };
    for (const auto &[menu, text, state] : cases) {
        OrdinalParm p(ZEL_ORD, 1, menu);
        p.build().setInteger(1);
        p.setText(text);
        EXPECT_EQ(p.state(), state) << (text ? text : "null");
    }
    OrdinalParm p(ZEL_ORD);
    p.build().set(2.5);
    EXPECT_EQ(p.value(), 3);
    p.set(-0.5);
    EXPECT_EQ(p.value(), 0);
}

TEST_F(Ordinals, ExpressionsRoundAndANumberIsOneToo)
{
    OrdinalParm p(ZEL_ORD, 2);
    p.build();
    p.animate("7");
    EXPECT_EQ(p.state(), "7 = 7") << "a float would make no channel";
    p.animate("1.5");
    EXPECT_EQ(p.value(), 2);
    p.animate("-1.5");
    EXPECT_EQ(p.value(), -1);
    p.animate("!!ch(py)");
    EXPECT_EQ(p.expression(), "ch(py)") << "the form of old files";
}

TEST_F(Ordinals, SettingComparesRawValues)
{
    OrdinalParm p(ZEL_TOGGLE);
    p.build();
    TRK_Channel *channel = p.animate("bezier()");
    p.setInteger(5);
    ASSERT_EQ(p.value(), 1);
    // Reads as 1 but is 5, so 1 is a change; for a float the limited value would be compared.
    p.setInteger(1, 0, 1.0, ZEL_ADDKEY_FORCE);
    EXPECT_EQ(channel->getNKeys(), 2);
    p.setInteger(1, 0, 2.0, ZEL_ADDKEY_FORCE);
    EXPECT_EQ(channel->getNKeys(), 2) << "the same value makes no key";

    p.animate("$F * 0");
    p.setInteger(0, 0, 0.0, ZEL_ADDKEY_PENDING, true);
    EXPECT_EQ(p.expression(), "constant()") << "replaced although the value is the same";
}

TEST_F(Ordinals, ComponentsAreKeyedAlone)
{
    TRK_Manager::getContext().setTupleKeying(true);
    OrdinalParm p(ZEL_ORD, 2);
    p.build();
    p.animate("bezier()", 0);
    p.animate("bezier()", 1);
    const int before = p.instance->getChannel(1)->getNKeys();
    p.setInteger(4, 0, 1.0, ZEL_ADDKEY_FORCE);
    EXPECT_TRUE(p.instance->getChannel(0)->isAtKey(1.0));
    EXPECT_EQ(p.instance->getChannel(1)->getNKeys(), before) << "a float keys the tuple";
}

TEST_F(Ordinals, HardeningKeysTheLimitedInteger)
{
    OrdinalParm p(ZEL_ORD, 1, &exclusive);
    p.build();
    TRK_Channel *channel = p.animate("$F + 0.6");
    p.instance->hardenChanges(1.0, 0, false, nullptr, nullptr);
    EXPECT_FALSE(channel->isAtKey(1.0)) << "nothing is pending";
    p.instance->hardenChanges(1.0, 0, true, "other", nullptr);
    EXPECT_FALSE(channel->isAtKey(1.0)) << "excluded by the pattern";

    OrdinalParm q(ZEL_ORD, 1, &exclusive);
    q.build();
    q.animate("bezier()");
    q.setInteger(5, 0, 1.0);
    EXPECT_EQ(q.channels.evaluate(q.instance->getChannel(0), 1.0, false, 1), 5.0);
    q.instance->hardenChanges(1.0, 0, true, nullptr, nullptr);
    EXPECT_EQ(q.channels.evaluate(q.instance->getChannel(0), 1.0, false, 1), 1.0);
}

TEST_F(Ordinals, DefaultsAreTokensNumbersOrExpressions)
{
    // `expression`: null for none
    const std::tuple<ZEL_ChoiceList *, ZEL_Default, std::int64_t, const char *, bool> cases[] = {
        {&exclusive, {1.9}, 1, nullptr, false},
        {&exclusive, {0.0, "b"}, 1, nullptr, false},
        {&exclusive, {0.0, "b", TRK_MEANING_NATIVE}, 1, nullptr, false},
        {&exclusive, {1.0, "0"}, 0, nullptr, true},
        {&exclusive, {1.0, "nope"}, 1, nullptr, false}, // a bare word is a token not found
        {&exclusive, {1.0, "PI", TRK_MEANING_NATIVE}, 1, "PI", true},
        {&exclusive, {1.0, "3 - 2"}, 1, "3 - 2", true},
        {&exclusive, {1.0, ""}, 1, nullptr, false},
        {&tokenValued, {0.0, "20"}, 20, nullptr, false},
        {&numeric, {0.0, "20"}, 1, nullptr, false},
        {nullptr, {0.0, "-4"}, -4, nullptr, true},
    };
    for (const auto &[menu, record, expected, expression, isExpression] : cases) {
        OrdinalParm p(ZEL_ORD, 1, menu);
        p.description.defaults[0] = record;
        p.build();
        const std::string label = record.getString();
        const bool hasChannel = p.instance->getChannel(0) != nullptr;
        EXPECT_EQ(hasChannel, expression != nullptr) << label;
        EXPECT_EQ(hasChannel ? p.expression() : "", expression ? expression : "") << label;
        std::int64_t value = -9;
        p.instance->getDefaultValue(value, 0);
        EXPECT_EQ(value, expected) << label;
        // "0" and "-4" are numbers and yet no tokens: as texts they count as expressions.
        const bool bare = record.getStringMeaning() == TRK_MEANING_LITERAL && label == "0";
        EXPECT_EQ(ZEL_Parm::isOrdinalExpression(record, p.parm->getTemplatePtr()),
                  isExpression && !bare)
            << label;
        p.setInteger(1 - expected);
        p.instance->revertToDefault(0);
        EXPECT_EQ(p.instance->getChannel(0) != nullptr, hasChannel) << label;
        if (!hasChannel) {
            EXPECT_TRUE(p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_VALUE, true)) << label;
            p.setInteger(expected + 1);
            EXPECT_FALSE(p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_VALUE, true)) << label;
        }
    }
}

TEST_F(Ordinals, ASwitcherOpensWithItsGroup)
{
    // The defaults of a switcher describe folders: label and member count.
    const ZEL_Default folders[2] = {{3.0, "First"}, {2.0, "Second"}};
    for (const char *group : {static_cast<const char *>(nullptr), "1"}) {
        ZEL_SpareData spare;
        if (group) {
            spare.addTokenValue("group_default", group);
        }
        OrdinalParm p(ZEL_SWITCHER, 2, nullptr, nullptr, &spare);
        std::copy(folders, folders + 2, p.description.defaults);
        p.build();
        EXPECT_EQ(p.value(0), group ? 1 : 0);
        p.setInteger(4, 0);
        p.setInteger(5, 1);
        p.instance->overwriteDefaults(0.0);
        EXPECT_EQ(p.parm->getTemplatePtr()->getDefault(0), nullptr);
        p.instance->revertToDefaults(false);
        EXPECT_EQ(p.value(0), group ? 1 : 0);
        EXPECT_EQ(p.value(1), group ? 5 : 0) << "only the first component is the folder";
        p.setInteger(0, 0);
        EXPECT_TRUE(p.instance->isDefault(0, ZEL_DEFAULT_MAGIC, true)) << "no member count";
    }
}
