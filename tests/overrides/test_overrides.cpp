#include <common/EventLog.h>
#include <common/OverrideProvider.h>
#include <common/TestOwner.h>
#include <common/Threads.h>
#include <instances/InstanceRig.h>

#include <ZEL/ZEL_AutoDisableOverride.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <tuple>

namespace
{
struct OverriddenParm : Rig
{
    explicit OverriddenParm(int size, ZEL_ParmOwner *owner = nullptr) : Rig(size) { build(owner); }

    int override(int index, int dataIndex, const char *name = "layer")
    {
        return instance->setOverride(index, dataIndex, name, ZEL_OVERRIDE_OVERRIDDEN);
    }
};

std::string describe(const ZEL_Instance &instance, int index)
{
    ZEL_OverrideType type = ZEL_OVERRIDE_OVERRIDDEN;
    const bool known = instance.getOverrideType(index, type);
    const char *name = instance.getOverride(index);
    return std::to_string(instance.getOverrideDataIndex(index)) + " " + (name ? name : "null") +
           (known ? type == ZEL_OVERRIDE_LAYERED ? " layered" : " overridden" : " none");
}
} // namespace

TEST(Overrides, AreSetOncePerChange)
{
    OverriddenParm p(5);
    EXPECT_EQ(describe(*p.instance, 1), "-1 null none");
    p.instance->clearAllDirtyFlags();
    EXPECT_EQ(p.override(1, 3), 1);
    EXPECT_TRUE(p.instance->isDirty(1));
    EXPECT_FALSE(p.instance->isDirty(0));
    p.instance->clearAllDirtyFlags();
    EXPECT_EQ(p.override(1, 3), 0);
    EXPECT_EQ(p.instance->setOverride(1, 3, "layer", ZEL_OVERRIDE_LAYERED), 0);
    EXPECT_TRUE(p.instance->areAllFlagsClean());
    EXPECT_EQ(describe(*p.instance, 1), "3 layer layered");
    EXPECT_EQ(describe(*p.instance, 4), "-1 null overridden");

    // A name out of the record itself, then none.
    EXPECT_EQ(p.override(1, 3, p.instance->getOverride(1) + 2), 1);
    EXPECT_EQ(describe(*p.instance, 1), "3 yer overridden");
    EXPECT_EQ(p.override(1, 3, nullptr), 1);
    EXPECT_EQ(describe(*p.instance, 1), "3 null overridden");
    EXPECT_EQ(p.override(5, 3), 0);
    EXPECT_EQ(p.override(-1, 3), 0);
    EXPECT_EQ(describe(*p.instance, 5), "-1 null none");
}

TEST(Overrides, ReplaceTheValueWhileTheyCount)
{
    OverriddenParm p(2);
    p.set(1.0, 0);
    p.override(0, 2);
    EXPECT_EQ(p.eval(0), 1.0); // no callback installed
    EXPECT_EQ(p.instance->isDataDependent(0.0, -1), false);
    {
        OverrideProvider provider;
        EXPECT_EQ(p.eval(0, 3.0), 208.0);
        EXPECT_EQ(p.eval(1), 0.0);
        EXPECT_TRUE(p.instance->isDataDependent(0.0, 0));
        EXPECT_FALSE(p.instance->isDataDependent(0.0, 1));
        EXPECT_TRUE(p.instance->isDataDependent(0.0, -1));

        // Inactive: its own value, which the interface can query.
        provider.activeAnswer = 0;
        EXPECT_EQ(p.eval(0), 1.0);
        EXPECT_EQ(p.instance->getIsOverrideActive(0), 0);
        provider.activeAnswer = -1;
        EXPECT_EQ(p.eval(0), 205.0);
        EXPECT_EQ(p.instance->getIsOverrideActive(0), -1);
        provider.activeAnswer = 7;
        EXPECT_EQ(p.eval(0), 205.0);
        EXPECT_EQ(p.instance->getIsOverrideActive(0), 1);

        p.override(0, -1);
        const int before = provider.evals;
        EXPECT_EQ(p.eval(0), 1.0);
        EXPECT_EQ(provider.evals, before);
    }
}

TEST(Overrides, AskForTimeDependenceUntilItIsKnown)
{
    const std::tuple<int, int, bool, bool> cases[] = {
        {0, 1, true, false}, {1, 1, true, true}, {-1, 2, true, true}};
    for (const auto &[answer, asked, before, after] : cases) {
        OverrideProvider provider;
        provider.timeDepAnswer = answer;
        OverriddenParm p(1);
        p.override(0, 0);
        EXPECT_EQ(p.instance->isTimeDependent(0), before) << answer;
        p.eval();
        p.eval();
        EXPECT_EQ(provider.timeDepAsked, asked) << answer;
        EXPECT_EQ(p.instance->isTimeDependent(-1), after) << answer;
        EXPECT_EQ(p.list->isTimeDependent(), after) << answer;
        // Any new override calls the provider again.
        p.override(0, 0);
        p.eval();
        EXPECT_EQ(provider.timeDepAsked, asked + 1) << answer;
    }
}

TEST(Overrides, TakeWritesAsNumbers)
{
    OverrideProvider provider;
    OverriddenParm p(2);
    Probe &probe = *p.probe;
    const ZEL_AddKeyType key = ZEL_ADDKEY_PENDING;
    const ZEL_KeySetType set = ZEL_KEYSET_PREFERENCE;
    EXPECT_TRUE(probe.setOverrideFloat(0.0, 1.5, false, 0, key, set)); // none there
    probe.setOverride(0, 3, "layer", ZEL_OVERRIDE_OVERRIDDEN);
    EXPECT_FALSE(probe.setOverrideFloat(1.0, 1.5, false, 0, key, set));
    EXPECT_FALSE(probe.setOverrideInt(1.0, std::int64_t(7), false, 0, key, set));
    EXPECT_FALSE(probe.setOverrideFloat(1.0, "2.5mm", false, 0, key, set));
    EXPECT_FALSE(
        probe.setOverrideFloat(1.0, static_cast<const char *>(nullptr), false, 0, key, set));
    EXPECT_FALSE(probe.setOverrideInt(1.0, "12abc", false, 0, key, set));
    EXPECT_FALSE(probe.setOverrideString(1.0, "12.9abc", false, 0, key, set));
    EXPECT_FALSE(probe.setOverrideString(1.0, "99999999999", false, 0, key, set));
    EXPECT_EQ(provider.sets,
              "float 3 1.5 @1; int 3 7 @1; float 3 2.5 @1; float 3 0 @1; int 3 12 @1; "
              "float 3 12 @1; float 3 2.14748e+09 @1");

    provider.takes = false;
    probe.clearAllDirtyFlags();
    EXPECT_TRUE(probe.setOverrideFloat(1.0, 1.5, false, 0, key, set));
    EXPECT_TRUE(probe.isDirty(0));

    takeMessages();
    provider.sets.clear();
    EXPECT_FALSE(probe.setOverrideFloat(1.0, 1.5, false, 2, key, set));
    EXPECT_FALSE(probe.setOverrideInt(1.0, std::int64_t(1), false, -1, key, set));
    EXPECT_EQ(takeMessages(), "ZEL 21; ZEL 21");
    EXPECT_TRUE(probe.setOverrideString(1.0, "1", false, 2, key, set));
    EXPECT_EQ(takeMessages(), "");
    EXPECT_EQ(provider.sets, "");
}

TEST(Overrides, SavedCommandsHoldTheOutsideValue)
{
    OverrideProvider provider;
    OverriddenParm p(1);
    double number = -1.0;
    std::int64_t integer = -1;
    KIT_StringHolder text("kept");
    provider.text = "from outside";
    int flag = 0;
    p.probe->saveCommandOverride(0, 0.0, number, flag);
    EXPECT_EQ(number, -1.0);
    EXPECT_EQ(flag, 0);
    p.probe->setOverride(0, 1, "layer", ZEL_OVERRIDE_OVERRIDDEN);
    p.probe->saveCommandOverride(0, 2.0, number, flag);
    EXPECT_EQ(number, 107.0);
    EXPECT_EQ(flag, 1);
    p.probe->saveCommandOverride(0, 2.0, integer, flag);
    EXPECT_EQ(integer, 105);
    p.probe->saveCommandOverride(0, 2.0, text, flag);
    EXPECT_STREQ(text.c_str(), "from outside");
    EXPECT_EQ(provider.timeDepAsked, 0);
}

TEST(Overrides, ShowInTheInterfaceInPlaceOfTheExpression)
{
    OverrideProvider provider;
    OverriddenParm p(2);
    p.set(4.0, 1);
    const auto shown = [&p](int index) {
        KIT_String text;
        p.instance->getExpressionStringForUI(0.0, text, index, 1);
        return text.toStdString();
    };
    EXPECT_EQ(shown(1), "4");
    p.animate("1 + 2", 0);
    EXPECT_EQ(shown(0), "1 + 2");
    p.override(0, 0, "the rig");
    EXPECT_EQ(shown(0), "Overridden by the rig");
    p.instance->setOverride(0, 0, "the rig", ZEL_OVERRIDE_LAYERED);
    EXPECT_EQ(shown(0), "Layered by the rig");

    // As an expression it is the value, or nothing.
    KIT_String text;
    p.instance->getExpression(0.0, text, 0, true, 1);
    EXPECT_STREQ(text.c_str(), "5");
    EXPECT_EQ(p.expression(0), "");
    provider.activeAnswer = 0;
    p.eval(0);
    EXPECT_EQ(p.expression(0), "1 + 2");
}

TEST(Overrides, AFailingOwnerEndsTheEvaluation)
{
    OverrideProvider provider;
    TestOwner owner;
    OverriddenParm p(1, &owner);
    p.probe->setOverride(0, 0, "layer", ZEL_OVERRIDE_OVERRIDDEN);
    double number = -1.0;
    KIT_String text("kept");
    EXPECT_EQ(p.probe->evalOverrideValue(p.list.get(), 0.0, 0, 1, number), 1);
    EXPECT_EQ(number, 5.0);
    EXPECT_EQ(owner.cookCount, 0);

    owner.setPendingOverrideString("p = 1");
    p.probe->setOverride(0, -1, "layer", ZEL_OVERRIDE_OVERRIDDEN);
    EXPECT_TRUE(p.probe->isTimeDependent(0));
    EXPECT_TRUE(p.probe->isDataDependent(0.0, 0));
    EXPECT_EQ(p.probe->evalOverrideValue(p.list.get(), 0.0, 0, 1, number), 0);
    EXPECT_EQ(owner.cookCount, 1);
    EXPECT_EQ(p.probe->evalOverrideValue(nullptr, 0.0, 0, 1, number), 0);
    EXPECT_EQ(owner.cookCount, 1);

    owner.cookResult = KIT_ERROR_WARNING;
    EXPECT_EQ(p.probe->evalOverrideValue(p.list.get(), 0.0, 0, 1, number), -1);
    EXPECT_EQ(number, 0.0);
    EXPECT_EQ(p.probe->getExpressionOverride(0.0, text, 0, 1, true), -1);
    p.probe->getExpression(0.0, text, 0, true, 1);
    p.probe->getExpressionStringForUI(0.0, text, 0, 1);
    EXPECT_STREQ(text.c_str(), "kept");
}

TEST(Overrides, AdoptKeepsItsOwnAndAdoptOverridesDoesNot)
{
    OverriddenParm from(6), to(2), keeps(2);
    from.instance->setOverride(0, 1, "one", ZEL_OVERRIDE_LAYERED);
    from.override(5, 2, "two");
    keeps.override(1, 9, "own");

    to.instance->adopt(*from.instance);
    EXPECT_EQ(describe(*to.instance, 0), "1 one layered");
    EXPECT_EQ(describe(*to.instance, 2), "-1 null none");
    keeps.instance->adopt(*from.instance);
    EXPECT_EQ(describe(*keeps.instance, 1), "9 own overridden");
    EXPECT_EQ(describe(*keeps.instance, 0), "-1 null overridden");

    keeps.instance->adoptOverrides(*from.instance);
    EXPECT_EQ(describe(*keeps.instance, 0), "1 one layered");
    EXPECT_EQ(describe(*keeps.instance, 1), "-1 null overridden");
    from.instance->setOverride(0, 1, "changed", ZEL_OVERRIDE_LAYERED);
    EXPECT_EQ(describe(*keeps.instance, 0), "1 one layered");
    OverriddenParm empty(2);
    keeps.instance->adoptOverrides(*empty.instance);
    EXPECT_EQ(describe(*keeps.instance, 0), "-1 null none");
}

TEST(Overrides, TakeWritesInSilenceWhileTheyAreDisabled)
{
    OverrideProvider provider;
    OverriddenParm p(1);
    p.set(1.0);
    p.override(0, 0);
    EventLog events(*p.list);
    {
        ZEL_AutoDisableOverride scope(p.parm, 0);
        p.set(8.0);
        EXPECT_EQ(provider.sets, "float 0 8 @0");
        EXPECT_EQ(p.eval(), 1.0);
        EXPECT_EQ(p.instance->getIsOverrideActive(0), 0);
    }
    EXPECT_EQ(p.eval(), 5.0);
    EXPECT_EQ(events.take(), "");
    ZEL_AutoDisableOverride none(nullptr, 0);
}

TEST(Overrides, AreEvaluatedOnManyThreadsAtOnce)
{
    OverrideProvider provider;
    provider.timeDepAnswer = 1;
    OverriddenParm p(2);
    p.override(0, 0);
    p.override(1, 1);
    std::atomic<int> wrong{0};
    // More than have a disable state inline.
    onThreads(40, [&](int t) {
        const int index = t % 2;
        const double outside = 5.0 + 100.0 * index;
        for (int i = 0; i < 50; ++i) {
            wrong += p.eval(index) != outside;
        }
        p.instance->isTimeDependent(-1);
        wrong += p.instance->getIsOverrideActive(index) != 1;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(provider.evals, 40 * 50);
    EXPECT_TRUE(p.list->isTimeDependent());
}

TEST(Overrides, CountTheirMemory)
{
    for (const int size : {1, 4, 5, 8}) {
        OverriddenParm p(size);
        const std::int64_t before = p.instance->getMemoryUsage(true);
        p.override(0, 0, "12345");
        const std::int64_t short5 = p.instance->getMemoryUsage(true);
        EXPECT_GE(short5 - before,
                  std::int64_t(sizeof(zelOverrideInfoData)) * std::max(size, 4) + 6);
        p.override(0, 0, "1234567890");
        EXPECT_EQ(p.instance->getMemoryUsage(true), short5 + 5) << size;
    }
}
