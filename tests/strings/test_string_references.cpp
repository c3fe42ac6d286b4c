#include <strings/StringFixture.h>

#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_RefId.h>

#include <gtest/gtest.h>

#include <tuple>

TEST(StringReferences, AreToldToTheNodeFromTheLastComponent)
{
    BuiltString p(ZEL_STRING, 4);
    p.setText("x`ch('tx') + chs(\"../b/ty\")`", 0);
    p.setText("see /obj/b and /obj/none", 1);
    p.setText("chs(\"../b/ty\")", 2, TRK_MEANING_NATIVE);
    p.setText("ch('no')", 3);
    p.parm->buildOpDependencies(ZEL_RefId(7, -1), 1);
    EXPECT_EQ(p.node.references, "7:1 /obj/b|;7:0 |tx;7:0 ../b|ty;");
}

TEST(StringReferences, ANodeGetsAnotherName)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"/obj/b", nullptr, "/obj/c"},
        {"/obj/b/geo  ../b/geo /obj/bb", nullptr, "/obj/c/geo  ../c/geo /obj/bb"},
        {"x`chs('/obj/b/tx')`/obj/b", nullptr, "x`chs('/obj/c/tx')`/obj/b"},
        {"`ch(\"../b/tx\")+ch('../b/ty')`", "ty", "`ch(\"../b/tx\")+ch('../c/ty')`"},
        {"b", nullptr, "b"},
        {"", nullptr, ""},
    };
    struct Heard
    {
        OneString *p;
        std::string calls;
    };
    for (const auto &[text, name, result] : cases) {
        BuiltString p(ZEL_STRING, 2);
        p.setText(text, 1);
        p.instance->clearAllDirtyFlags();
        Heard heard{&p, ""};
        const auto callback = [](void *data, ZEL_Parm *, int index) {
            Heard &self = *static_cast<Heard *>(data);
            self.calls += std::to_string(index) + self.p->raw(index);
        };
        const int changed =
            p.parm->changeOpRef("/obj/b", "/obj/c", "../b", "../c", name, callback, &heard, 1);
        EXPECT_EQ(p.raw(1), result);
        const bool differs = std::string(text) != result;
        EXPECT_EQ(changed, differs ? 1 : 0) << text;
        EXPECT_EQ(heard.calls, differs ? "1" + std::string(text) : "") << "called first";
        EXPECT_EQ(p.instance->isDirty(1), differs);
        EXPECT_FALSE(p.instance->isDirty(0));
    }
    OneString p("/obj/b");
    EXPECT_EQ(p.parm->changeOpRef(nullptr, nullptr, "", "../c", nullptr, nullptr, nullptr, 1), 0);
    EXPECT_EQ(p.raw(), "/obj/b");
}

TEST(StringReferences, ChannelsOfTextsGiveTexts)
{
    for (const bool rename : {false, true}) {
        BuiltString p;
        p.setText("1", 0, TRK_MEANING_NATIVE);
        ASSERT_EQ(p.channel()->getFirstSegment()->getCompiledExpression()->getType(),
                  TRK_Expression::Type::NUMBER);
        if (rename) {
            p.parm->changeOpRef("/a", "/b", nullptr, nullptr, nullptr, nullptr, nullptr, 1);
        } else {
            p.parm->buildOpDependencies(ZEL_RefId(0), 1);
        }
        EXPECT_EQ(p.channel()->getFirstSegment()->getCompiledExpression()->getType(),
                  TRK_Expression::Type::STRING);
    }
}

TEST(StringReferences, SearchAndReplace)
{
    BuiltString p(ZEL_STRING, 2);
    p.setText("one two one", 0);
    p.setText("onetwo", 1);
    EXPECT_TRUE(p.parm->findString("etw", false, false));
    EXPECT_FALSE(p.parm->findString("etw", true, false));
    EXPECT_TRUE(p.parm->findString("o?e", true, true));
    EXPECT_EQ(p.parm->changeString("one", "1", true), 2);
    EXPECT_EQ(p.raw(0) + "|" + p.raw(1), "1 two 1|onetwo");
    EXPECT_EQ(p.parm->changeString("o", "0", false), 3);
    EXPECT_EQ(p.raw(0) + "|" + p.raw(1), "1 tw0 1|0netw0");

    OneString command("cp a `a+ab` a", ZEL_COMMAND);
    EXPECT_EQ(command.parm->changeString("a", "z", true), 1);
    EXPECT_EQ(command.raw(), "cp a `z+ab` a") << "only in the backticks of a command";
    EXPECT_EQ(command.parm->changeString("a", "z", false), 3);

    BuiltString hidden(ZEL_COMMAND | ZEL_TYPE_INVISIBLE);
    hidden.setText("cp a `a`");
    EXPECT_EQ(hidden.parm->changeString("a", "z", true), 2) << "that very type only";
}

TEST(StringReferences, VariablesThatChange)
{
    BuiltString p(ZEL_STRING, 2);
    p.setText("a$SHOT/b", 1);
    EXPECT_TRUE(p.instance->notifyVarChange(1, "SHOT"));
    EXPECT_FALSE(p.instance->notifyVarChange(0, "SHOT"));
    EXPECT_FALSE(p.instance->notifyVarChange(-1, "HI"));
    EXPECT_TRUE(p.list->notifyVarChange("SHOT"));
    EXPECT_FALSE(p.list->notifyVarChange("JOB"));
}
