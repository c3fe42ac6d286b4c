// Nodes: paths, references between nodes, variables and events.

#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace
{

ZEL_Name theNames[] = {ZEL_Name("t", "Translate"), ZEL_Name("go", "Go")};
ZEL_Template theTemplates[] = {ZEL_Template(ZEL_XYZ, 3, &theNames[0]),
                               ZEL_Template(ZEL_CALLBACK, 1, &theNames[1]), ZEL_Template()};

/// /obj with the nodes a and b, and /obj/a/inner.
struct Tree
{
    NOD_Node root;
    NOD_Node *obj = root.addChild("obj");
    NOD_Node *a = obj->addChild("a", theTemplates, "transform");
    NOD_Node *b = obj->addChild("b", theTemplates, "transform");
    NOD_Node *inner = a->addChild("inner", theTemplates, "transform");

    /// The value of tx with that expression on it.
    static double value(NOD_Node &node, const char *expression, double time = 0.0)
    {
        constexpr bool evaluate = false, deleteChannel = true, propagate = false;
        node.getParms().getParmPtr("t")->setExpression(time, expression, TRK_LANGUAGE_NATIVE, 0,
                                                       evaluate, deleteChannel, propagate);
        EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
        return node.getParms().evalFloat("t", 0, time);
    }
};

TEST(Node, PathsLeadToNodes)
{
    Tree tree;
    struct Case
    {
        const char *path;
        NOD_Node *found;
    };
    const Case cases[] = {
        {"/", &tree.root},   {"/obj/a", tree.a},        {"..", tree.obj},  {".", tree.a},
        {"", tree.a},        {"inner", tree.inner},     {"../b/", tree.b}, {"../../obj", tree.obj},
        {"/obj//b", tree.b}, {"inner/../../b", tree.b}, {"../c", nullptr}, {"../../..", nullptr},
        {"/a", nullptr}};
    for (const Case &one : cases) {
        EXPECT_EQ(tree.a->findNode(one.path), one.found) << one.path;
    }
    EXPECT_STREQ(tree.root.getFullPath().c_str(), "/");
    EXPECT_STREQ(tree.obj->getFullPath().c_str(), "/obj");
    EXPECT_STREQ(tree.inner->getFullPath().c_str(), "/obj/a/inner");
    for (const char *name : {"a", "", ".", "..", "x/y"}) {
        EXPECT_EQ(tree.obj->addChild(name), nullptr) << name;
    }
}

TEST(Node, ExpressionsReachOtherNodesAndVariables)
{
    Tree tree;
    tree.b->getParms().setFloat(3.0, "t", 1, 0.0, true);
    tree.inner->getParms().setFloat(5.0, "t", 2, 0.0, true);
    tree.obj->setVariable("SIZE", "7");
    tree.a->setVariable("SIZE", "8");
    EXPECT_EQ(Tree::value(*tree.a, "ch(\"../b/ty\") + ch(\"inner/tz\")"), 8.0);
    EXPECT_EQ(Tree::value(*tree.inner, "ch(\"/obj/b/ty\") * 2"), 6.0);
    EXPECT_EQ(Tree::value(*tree.b, "$SIZE"), 7.0);
    EXPECT_EQ(Tree::value(*tree.inner, "$SIZE"), 8.0);

    EXPECT_EQ(Tree::value(*tree.a, "ch(\"../c/ty\")"), 0.0);
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], int(EVL::EVL_UNKNOWN_CHANNEL));
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
}

TEST(Node, ReferencesInACircleEnd)
{
    Tree tree;
    Tree::value(*tree.a, "ch(\"../b/tx\") + 1");
    EXPECT_EQ(Tree::value(*tree.b, "ch(\"../a/tx\") + 1"), 0.0);
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], int(EVL::EVL_CYCLE));
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
}

TEST(Node, ChannelFileLinksParameters)
{
    Tree tree;
    const char text[] = "channels 1.0 { channel ty { key 0 1 linear() key 2 5 constant() } }";
    KIT_IStream is(text, std::strlen(text), KIT_IStream::TEXT);
    ASSERT_TRUE(tree.a->loadChannels(is));
    EXPECT_EQ(tree.a->getParms().evalFloat("t", 1, 1.0), 3.0);
    EXPECT_EQ(tree.a->getParms().evalFloat("t", 0, 1.0), 0.0);
}

TEST(Node, TellsChangesAndButtons)
{
    Tree tree;
    std::string told;
    tree.a->setChangeCallback([&told](NOD_Node &node, TRK_CHANGE_TYPE type, int index) {
        told +=
            node.getName() + " " + std::to_string(int(type)) + " " + std::to_string(index) + "; ";
    });
    tree.a->setDependencyCallback([&told](NOD_Node &node, int index) {
        told += node.getName() + " pressed " + std::to_string(index) + "; ";
    });
    tree.a->getParms().setFloat(1.0, "t", 0, 0.0, true);
    tree.b->getParms().setFloat(1.0, "t", 0, 0.0, true);
    tree.a->getParms().setInt(1, "go", 0, 0.0, true);
    EXPECT_EQ(told, "a 4 0; a pressed 1; ");
}

bool loadText(NOD_Node &node, const std::string &entries)
{
    const std::string text = "{\nversion 0.8\n" + entries + "}\n";
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    return node.getParms().load(is, "old.parms", nullptr);
}

TEST(Node, OldNamesAreLoadedAsTheNewOnes)
{
    Tree tree;
    tree.a->addRename("move", "t");
    tree.a->addRename("gone", "nowhere");
    EXPECT_TRUE(loadText(*tree.a, "move ( 1 2 3 )\ngone ( 4 )\n"));
    EXPECT_EQ(tree.a->getParms().evalFloat("t", 2, 0.0), 3.0);
    KIT_String messages;
    KITgetErrorManager().getErrorMessages(messages);
    KITgetErrorManager().clearAndDestroyErrors();
    EXPECT_STREQ(messages.nonNullStr(), "Warning (ZEL 5): Unknown parameter: gone\n");
}

TEST(Node, UnknownNamesBecomeSpareParametersWhenAsked)
{
    static ZEL_Name jitterName("jitter", "Jitter");
    static ZEL_Template spares[] = {ZEL_Template(ZEL_XYZ, 3, &jitterName), ZEL_Template()};
    const std::string entries = "jitter ( 1 2 3 )\nfalloff ( 4 )\nfalloff ( 5 )\n1st ( 6 )\n";
    Tree tree;
    EXPECT_TRUE(loadText(*tree.a, entries));
    EXPECT_EQ(tree.a->getParms().getEntries(), 2);

    tree.b->setSpareTemplates(spares);
    tree.b->setKeepUnknownNames(true);
    ZEL_Parm::setMakeSpareParmsForUnknownChannelsFlag(false);
    EXPECT_TRUE(loadText(*tree.b, "falloff ( 4 )\n"));
    EXPECT_EQ(tree.b->getParms().getEntries(), 2);
    ZEL_Parm::setMakeSpareParmsForUnknownChannelsFlag(true);

    const std::uint32_t version = tree.b->getStructureVersion();
    EXPECT_TRUE(loadText(*tree.b, entries));
    ZEL_ParmList &parms = tree.b->getParms();
    ASSERT_EQ(parms.getEntries(), 4);
    EXPECT_NE(tree.b->getStructureVersion(), version);
    EXPECT_TRUE(parms.getParmPtr("jitter")->isSpareParm());
    EXPECT_EQ(parms.evalFloat("jitter", 2, 0.0), 3.0);
    EXPECT_EQ(parms.evalFloat("falloff", 0, 0.0), 5.0); // the later entry counts
    EXPECT_EQ(tree.b->addSpareParm(spares[0]), nullptr);
    // A reference finds a spare parameter like any other.
    EXPECT_EQ(Tree::value(*tree.a, "ch(\"../b/falloff\") + ch(\"../b/jittery\")"), 7.0);
    KITgetErrorManager().clearAndDestroyErrors();
}

} // namespace
