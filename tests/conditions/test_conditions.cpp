// Conditions against live parameters, and the objects that hold them.

#include <conditions/ConditionContents.h>

#include <common/ListFixture.h>
#include <common/TestOwner.h>
#include <common/Threads.h>
#include <data/DataParm.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Regex.h>
#include <KIT/KIT_StringArray.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

/// Evaluates the expression "NAME()" to the text that the test gave for it.
class AnsweringOwner : public TestOwner
{
public:
    std::map<std::string, std::string> answers;
    std::atomic<const ZEL_Parm *> asked{nullptr};

    KIT_StringHolder evaluateDisableExpression(const ZEL_Parm &parm,
                                               const KIT_StringRef &expression) override
    {
        asked = &parm;
        const auto answer = answers.find(expression.nonNullStr());
        return answer == answers.end() ? KIT_StringHolder() : KIT_StringHolder(answer->second);
    }
};

/// "a", "b" and "x" with 1, 2 and 5, and "t" with 1 2 3.
class ConditionList
{
public:
    explicit ConditionList(ZEL_ParmOwner *owner = nullptr)
        : list(templates, &channels, owner, nullptr, "", false)
    {}

    bool eval(const char *text, const KIT_StringArray *ignored = nullptr) const
    {
        KIT_StringHolder message;
        ZEL_Conditional conditional(ZEL_CONDTYPE_DISABLE);
        EXPECT_TRUE(conditional.setListFromString(text, message)) << text << message;
        return conditional.eval(*list.getParmPtr(1), list, ignored);
    }

    ZEL_Name names[4] = {ZEL_Name("a", "A"), ZEL_Name("b", "B"), ZEL_Name("x", "X"),
                         ZEL_Name("t", "T")};
    ZEL_Default defaults[6] = {ZEL_Default(1), ZEL_Default(2), ZEL_Default(5),
                               ZEL_Default(1), ZEL_Default(2), ZEL_Default(3)};
    ZEL_Template templates[5] = {ZEL_Template(ZEL_FLT, 1, &names[0], &defaults[0]),
                                 ZEL_Template(ZEL_FLT, 1, &names[1], &defaults[1]),
                                 ZEL_Template(ZEL_FLT, 1, &names[2], &defaults[2]),
                                 ZEL_Template(ZEL_XYZ, 3, &names[3], &defaults[3]), ZEL_Template()};
    TRK_Collection channels;
    ZEL_ParmList list;
};

/// The operators that hold between two texts, as "== >= <=".
std::string holding(const char *value, const char *right)
{
    AnsweringOwner owner;
    owner.answers["value()"] = value;
    const ConditionList fixture(&owner);
    std::string text;
    for (int i = 0; i < 8; ++i) {
        const ZEL_ConditionalOperator op = ZEL_ConditionalOperator(i);
        ZEL_Conditional conditional(ZEL_CONDTYPE_HIDE);
        conditional.createInfo()->addCondition("value()", right, op);
        if (conditional.eval(*fixture.list.getParmPtr(0), fixture.list, nullptr)) {
            text += (text.empty() ? "" : " ") + std::string(ZEL_Conditional::getOperatorString(op));
        }
    }
    return text;
}

std::string digits(double value)
{
    KIT_WorkBuffer text;
    text.appendNumber(value);
    return text.buffer();
}

/// The double that is that many units in the last place higher.
double unitsAfter(double value, int units)
{
    for (; units > 0; --units) {
        value = std::nextafter(value, HUGE_VAL);
    }
    return value;
}

} // namespace

TEST(Conditions, JoinComparisonsByAndGroupsByOr)
{
    const std::pair<const char *, bool> theCases[] = {
        {"", false},
        {"{ a == 1 }", true},
        {"{ a == 1 b == 2 }", true},
        {"{ a == 1 b == 3 }", false},
        {"{ a == 0 b == 2 }", false},
        {"{ a == 0 } { b == 2 }", true},
        {"{ a == 1 b == 0 } { a == 0 b == 2 }", false},
        {"{ a}", true},
        {"{ a == 0 } { a}", true},
        {"{ x >= abc }", false},
        {"{ x > 4.5 x < 6 x >= 5 x <= 5 }", true},
        // A component by its channel, a vector by its token: the first component.
        {"{ tx == 1 ty == 2 tz == 3 }", true},
        {"{ t == 1 }", true},
        {"{ t == 2 }", false},
        // Only "==" needs the parameter.
        {"{ missing == 1 }", false},
        {"{ missing == \"\" }", false},
        {"{ missing != 1 }", true},
        {"{ missing > 1 missing < 1 missing =~ x missing !~ x missing >= 1 missing <= 1 }", true},
        {"{ tw != 1 }", true},
        {"{ tw == 1 }", false},
    };
    const ConditionList fixture;
    for (const auto &[text, expected] : theCases) {
        EXPECT_EQ(fixture.eval(text), expected) << text;
    }
}

TEST(Conditions, IgnoreParametersByToken)
{
    const ConditionList fixture;
    KIT_StringArray ignored;
    ignored.append("t");
    ignored.append("b");
    EXPECT_FALSE(fixture.eval("{ ty == 2 }", &ignored));
    EXPECT_TRUE(fixture.eval("{ ty != 2 b > 100 a == 1 }", &ignored));
    ignored.clear();
    ignored.append("ty");
    EXPECT_TRUE(fixture.eval("{ ty == 2 }", &ignored)) << "a channel name is no token";
}

TEST(Conditions, FollowAliasTimeAndValue)
{
    ConditionList fixture;
    ZEL_Parm *a = fixture.list.getParmPtr("a");
    fixture.list.getParmPtr("x")->setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, 0, true, false,
                                                false);
    EXPECT_TRUE(fixture.list.setChannelAlias(a, 0, "second"));
    EXPECT_TRUE(fixture.eval("{ second == 1 }"));
    a->setValue(0.0, 7.0, false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_TRUE(fixture.eval("{ second == 7 a == 7 }"));
    for (int frame : {1, 25}) {
        const TRK_EvalContext::Scope scope(BASgetSTID(), (frame - 1) / 24.0);
        EXPECT_TRUE(fixture.eval(("{ x == " + std::to_string(frame) + " }").c_str()));
        EXPECT_FALSE(fixture.eval("{ x == 2 }"));
    }
}

TEST(Conditions, AskTheOwnerForExpressions)
{
    AnsweringOwner owner;
    owner.answers["strlen(\"a b\")"] = "3";
    const ConditionList fixture(&owner);
    EXPECT_TRUE(fixture.eval("{ \"strlen(\\\"a b\\\")\" > 2 }"));
    EXPECT_EQ(owner.asked, fixture.list.getParmPtr(1));
    EXPECT_TRUE(fixture.eval("{ other() == \"\" }"));
    KIT_StringArray ignored;
    ignored.append("other()");
    EXPECT_TRUE(fixture.eval("{ other() == \"\" }", &ignored));

    const ConditionList alone;
    EXPECT_TRUE(alone.eval("{ other() == \"\" }"));
    EXPECT_FALSE(alone.eval("{ other() != \"\" }"));
}

TEST(Conditions, CompareNumbersAndTexts)
{
    const std::tuple<const char *, const char *, const char *> theCases[] = {
        {"5", "5.0", "== >= <= =~"},
        {"5", "4", "!= >= > !~"},
        {"-5", "5e-1", "!= <= < !~"},
        // If one side is no number, both are compared as texts.
        {"5", "5 ", "!= !~"},
        {" 5", "5", "!= !~"},
        {"5", "", "!= !~"},
        {"", "", "== =~"},
        {"abc", "abc", "== =~"},
        {"abc", "ABC", "!= !~"},
        {"abc", "a.*", "!= =~"},
        {"abc", "b", "!= !~"},
        {"12", "[0-9]+", "!= =~"},
        {"a(", "a(", "=="},
        {"b", "a(", "!="},
    };
    for (const auto &[value, right, expected] : theCases) {
        EXPECT_EQ(holding(value, right), expected) << value << " " << right;
    }
}

TEST(Conditions, CompareNumbersNearly)
{
    const double steps = unitsAfter(1000.0, 50);
    const std::tuple<double, double, bool> theCases[] = {
        {0.1, 0.1000000000000001, true},
        {1000.0, steps, true},
        {steps, 1000.0, true},
        {1000.0, unitsAfter(steps, 1), false},
        {unitsAfter(steps, 1), 1000.0, false},
        {-1000.0, -steps, true},
        {-1000.0, -unitsAfter(steps, 1), false},
        {1000.0, -1000.0, false},
        {0.0, -0.0, true},
        {0.0, 1e-15, true},
        {-9e-16, 9e-16, true},
        {0.0, 1.1e-15, false},
        {-0.0, 1.1e-15, false},
        {-6e-16, 1.1e-15, false},
        {2.1e-15, 1.1e-15, true},
        {2.2e-15, 1.1e-15, false},
    };
    for (const auto &[value, right, expected] : theCases) {
        const std::string found = holding(digits(value).c_str(), digits(right).c_str());
        EXPECT_EQ(found.compare(0, 2, "==") == 0, expected) << value << " " << right;
        EXPECT_EQ(found.find("!=") == std::string::npos, expected) << found;
    }
}

TEST(Conditions, ReadTogglesOfTheEditorTypeAsNumbers)
{
    OneParm exact(ZEL_TOGGLE_E, 1);
    OneParm animated(ZEL_TOGGLE, 1);
    const std::tuple<OneParm &, const char *, const char *> theCases[] = {
        {exact, "{ p == 1 p != 0 p > 0 p == on p != off }",
         "{ p == 0 p != 1 p < 1 p == off p != on }"},
        {animated, "{ p == on p != 1 p != off }", "{ p == off p != 0 p != on }"},
    };
    for (const auto &[fixture, onText, offText] : theCases) {
        fixture.build();
        const ZEL_Conditional on(onText, ZEL_CONDTYPE_HIDE);
        const ZEL_Conditional off(offText, ZEL_CONDTYPE_HIDE);
        EXPECT_FALSE(on.eval(*fixture.parm, *fixture.list, nullptr));
        EXPECT_TRUE(off.eval(*fixture.parm, *fixture.list, nullptr));
        fixture.set(1.0);
        EXPECT_TRUE(on.eval(*fixture.parm, *fixture.list, nullptr));
        EXPECT_FALSE(off.eval(*fixture.parm, *fixture.list, nullptr));
    }
}

TEST(Conditions, ReadStringsExpanded)
{
    OneParm fixture(ZEL_STRING, 1);
    fixture.build();
    const std::pair<const char *, const char *> theCases[] = {
        {"", "{ p == \"\" }"},          {"on", "{ p == on p != 1 }"},
        {"3", "{ p == 3.0 p > 2 }"},    {"two words", "{ p == \"two words\" p =~ \"two.*\" }"},
        {"frame$F", "{ p == frame1 }"},
    };
    for (const auto &[value, text] : theCases) {
        fixture.instance->setValue(0.0, value, TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                                   ZEL_KEYSET_PREFERENCE);
        EXPECT_TRUE(
            ZEL_Conditional(text, ZEL_CONDTYPE_HIDE).eval(*fixture.parm, *fixture.list, nullptr))
            << value;
    }
}

TEST(Conditions, TellWhetherADataParameterHoldsAnything)
{
    // Only a dictionary has a text of its own.
    const std::pair<const char *, const char *> theCases[] = {
        {"", "{ p == \"\" p != __not_empty__ }"},
        {"test_note:x", "{ p == __not_empty__ p != \"\" }"},
        {"key_value_dict:{\"a\":1}", "{ p == \"{\\\"a\\\":1}\" p != __not_empty__ p != \"\" }"},
    };
    for (const auto &[typed, text] : theCases) {
        OneData fixture;
        DataItem item;
        ZEL_DataFactory::parseTyped(typed, item);
        fixture.data().setData(item, 0.0, 0);
        KIT_StringHolder message;
        ZEL_Conditional conditional(ZEL_CONDTYPE_HIDE);
        EXPECT_TRUE(conditional.setListFromString(text, message)) << message;
        EXPECT_TRUE(conditional.eval(*fixture.parm, *fixture.list, nullptr)) << text;
    }
}

TEST(Conditions, EvaluateOnManyThreads)
{
    ConditionList fixture;
    fixture.list.getParmPtr("x")->setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, 0, true, false,
                                                false);
    const ZEL_Conditional conditional("{ a != 1 } { x > 12 x =~ 13 b == 2 t < 2 }",
                                      ZEL_CONDTYPE_DISABLE);
    std::atomic<int> wrong{0};
    onThreads(4, [&](int thread) {
        const int frame = 12 + thread % 3;
        const TRK_EvalContext::Scope scope(BASgetSTID(), (frame - 1) / 24.0);
        for (int i = 0; i < 500; ++i) {
            const ZEL_Parm &parm = *fixture.list.getParmPtr(0);
            wrong += conditional.eval(parm, fixture.list, nullptr) != (frame == 13);
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(Conditions, CompileARegularExpressionOnce)
{
    AnsweringOwner owner;
    owner.answers["value()"] = "abc3";
    const ConditionList fixture(&owner);
    const auto eval = [&](const ZEL_Conditional &conditional) {
        return conditional.eval(*fixture.list.getParmPtr(0), fixture.list, nullptr);
    };
    const auto compiled = [](const auto &work) {
        const std::int64_t before = KIT_Regex::getCompileCount();
        work();
        return KIT_Regex::getCompileCount() - before;
    };
    takeMessages();
    // Copies and items share what has no number in it; "[" is tried once too.
    const ZEL_Conditional block("{ value() !~ abc[0-9] } { value() =~ [ } { value() =~ abc# }",
                                ZEL_CONDTYPE_HIDE);
    std::vector<std::unique_ptr<ZEL_Conditional>> items;
    for (int i = 0; i < 4; ++i) {
        items.emplace_back(block.instance({i}));
        items.push_back(std::make_unique<ZEL_Conditional>(*items.back()));
    }
    const auto evalAll = [&] {
        onThreads(3, [&](int) {
            for (std::size_t i = 0; i < items.size(); ++i) {
                EXPECT_EQ(eval(*items[i]), i / 2 == 3);
            }
        });
    };
    EXPECT_EQ(compiled([] { ZEL_Conditional("{ a =~ b }", ZEL_CONDTYPE_HIDE); }), 0);
    EXPECT_EQ(compiled(evalAll), 2 + 4);
    EXPECT_EQ(compiled(evalAll), 0);
    EXPECT_EQ(takeMessages(), "");
    {
        // What is too large compares as false and is reported once for a block; a process that holds
        // too much gives up patterns of items, and no others.
        const ZEL_Conditional large("{ value() !~ `\\\\pL{200}#` } { value() =~ `\\\\pL{200}#` }",
                                    ZEL_CONDTYPE_HIDE);
        std::vector<std::unique_ptr<ZEL_Conditional>> larger;
        for (int i = 0; i < 300; ++i) {
            larger.emplace_back(large.instance({i}));
            EXPECT_FALSE(eval(*larger.back()));
        }
        EXPECT_EQ(takeMessages(), "ZEL 26; ZEL 26");
        const std::unique_ptr<ZEL_Conditional> item(block.instance({3}));
        EXPECT_EQ(compiled([&] { EXPECT_FALSE(eval(*item)); }), 0);
        EXPECT_TRUE(eval(ZEL_Conditional("{ value() =~ abc. }", ZEL_CONDTYPE_HIDE)));
        EXPECT_EQ(takeMessages(), "ZEL 26");
    }
    EXPECT_TRUE(eval(*std::unique_ptr<ZEL_Conditional>(block.instance({3}))));
}

TEST(ConditionGroups, HoldOneOfEachType)
{
    ZEL_ConditionalGroup group{{"{ a 1 }", ZEL_CONDTYPE_HIDE},
                               {"{ b 1 }", ZEL_CONDTYPE_DISABLE},
                               {"{ c 1 }", ZEL_CONDTYPE_HIDE}};
    const ZEL_ConditionalBase *const base = &group;
    EXPECT_EQ(contents(base), "group disablewhen={[b][==][1]} hidewhen={[c][==][1]}");
    const ZEL_ConditionalGroup copy(group);
    ZEL_ConditionalGroup assigned{{"{ z 1 }", ZEL_CONDTYPE_NOCOOK}};
    assigned = group;
    group.addConditional(*group.getConditional(ZEL_CONDTYPE_HIDE)); // its own
    group.getConditional(ZEL_CONDTYPE_HIDE)->createInfo()->addCondition("d", "2", ZEL_CONDOP_GT);
    group.addConditional("{ b", ZEL_CONDTYPE_DISABLE);
    EXPECT_EQ(contents(base), "group disablewhen= hidewhen={[c][==][1]}{[d][>][2]}");
    EXPECT_EQ(contents(&copy), "group disablewhen={[b][==][1]} hidewhen={[c][==][1]}");
    EXPECT_EQ(contents(&assigned), contents(&copy));
    assigned = *&assigned;
    EXPECT_EQ(contents(&assigned), contents(&copy));
    group.clear();
    EXPECT_EQ(contents(base), "group");

    ZEL_Conditional single("{ a 1 }", ZEL_CONDTYPE_HIDE);
    ZEL_Conditional other("{ b 1 }", ZEL_CONDTYPE_NOCOOK);
    other = single;
    single(0)->clear();
    EXPECT_EQ(contents(&other), "single hidewhen={[a][==][1]}");
    EXPECT_EQ(contents(&single), "single hidewhen={}");
    EXPECT_EQ(single(1), nullptr);
    EXPECT_EQ(single(-1), nullptr);
}

TEST(ConditionSwitchers, HoldConditionsOfTheSetAndOfTabs)
{
    ZEL_ConditionalSwitcher switcher({{0, "{ a 1 }", ZEL_CONDTYPE_HIDE},
                                      {1, "{ b 1 }", ZEL_CONDTYPE_HIDE},
                                      {1, "{ c 1 }", ZEL_CONDTYPE_DISABLE},
                                      {1, "{ d 1 }", ZEL_CONDTYPE_HIDE}},
                                     {{"{ e 1 }", ZEL_CONDTYPE_NOCOOK}});
    const char *const first = "switcher nocookwhen={[e][==][1]}; single hidewhen={[a][==][1]}; "
                              "group disablewhen={[c][==][1]} hidewhen={[d][==][1]}; none";
    EXPECT_EQ(contents(switcher), first);
    const ZEL_ConditionalSwitcher copy(switcher);
    ZEL_ConditionalSwitcher assigned({{2, "{ z 1 }", ZEL_CONDTYPE_HIDE}});
    assigned = switcher;

    // A tab may be given its own conditional.
    switcher.setTabConditional(0, *switcher.getTabConditional(0));
    switcher.addTabConditional(1, *switcher.getTabConditional(1, ZEL_CONDTYPE_HIDE));
    EXPECT_EQ(contents(switcher), first);
    switcher.addTabConditional(0, *switcher.getTabConditional(0, ZEL_CONDTYPE_HIDE));
    switcher.setTabConditional(2, *switcher.getTabConditional(1));
    switcher.setTabConditional(1, copy);
    EXPECT_EQ(contents(switcher),
              "switcher nocookwhen={[e][==][1]}; group hidewhen={[a][==][1]}; none; "
              "group disablewhen={[c][==][1]} hidewhen={[d][==][1]}");
    EXPECT_EQ(switcher.getTabConditional(1, ZEL_CONDTYPE_HIDE), nullptr);
    EXPECT_EQ(switcher.getTabConditional(0, ZEL_CONDTYPE_DISABLE), nullptr);
    switcher.clear();
    EXPECT_EQ(contents(switcher), "switcher; none; none; none");
    EXPECT_EQ(contents(copy), first);
    EXPECT_EQ(contents(assigned), first);
}

TEST(ConditionSwitchers, TakeInstanceNumbersEverywhere)
{
    const ZEL_ConditionalSwitcher switcher({{0, "{ a# 1 }", ZEL_CONDTYPE_HIDE},
                                            {2, "{ b# 1 }", ZEL_CONDTYPE_HIDE},
                                            {2, "{ c# 1 }", ZEL_CONDTYPE_NOCOOK}},
                                           {{"{ d# 1 }", ZEL_CONDTYPE_DISABLE}});
    const ZEL_ConditionalBase &base = switcher;
    const std::unique_ptr<ZEL_ConditionalBase> made(base.instance({3}));
    ASSERT_EQ(made->groupType(), ZEL_CONDGROUP_SWITCHER);
    EXPECT_EQ(contents(static_cast<const ZEL_ConditionalSwitcher &>(*made)),
              "switcher disablewhen={[d3][==][1]}; single hidewhen={[a3][==][1]}; none; "
              "group hidewhen={[b3][==][1]} nocookwhen={[c3][==][1]}");

    const ZEL_Conditional parsed("{ e 1 }", ZEL_CONDTYPE_HIDE);
    const ZEL_Conditional added(parsed); // a copy takes no more than it needs
    ZEL_ConditionalSwitcher larger(switcher);
    const int64_t before = larger.getMemoryUsage(true);
    larger.addTabConditional(1, added);
    EXPECT_GE(larger.getMemoryUsage(true), before + added.getMemoryUsage(true));
}

TEST(Conditions, ServeTemplatesAndItems)
{
    ZEL_Conditional own("{ a# == 1 }", ZEL_CONDTYPE_HIDE);
    OwnedTemplate item(ZEL_FLT, 1, "a3");
    ConditionList fixture;
    ZEL_Template &entry = fixture.templates[1];
    EXPECT_EQ(entry.getConditionalPtr(ZEL_CONDTYPE_HIDE), nullptr);
    entry.setConditionalBasePtr(&own);
    EXPECT_EQ(entry.getConditionalPtr(ZEL_CONDTYPE_HIDE), &own);
    EXPECT_EQ(entry.getDisablePtr(), nullptr);

    fixture.list.appendParm(new ZEL_Parm(&item.entry, &fixture.list));
    ZEL_Parm &third = *fixture.list.getParmPtr("a3");
    const std::unique_ptr<ZEL_Conditional> made(own.instance({3}));
    EXPECT_FALSE(made->eval(third, fixture.list, nullptr));
    third.setValue(0.0, 1.0, false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_TRUE(made->eval(third, fixture.list, nullptr));
}
