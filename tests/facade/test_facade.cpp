// What ZEL_Parm decides itself: which changes are refused, who is notified of a change, how values
// are copied, and the texts it makes for people and expressions.

#include "FacadeList.h"

#include <EVL/EVL.h>
#include <KIT/KIT_HelpManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LYR/LYR_Manager.h>
#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

namespace
{

class Facade : public ::testing::Test, public FacadeList
{
protected:
    ~Facade() override
    {
        ZEL_Parm::setAlwaysHardenFlag(false);
        ZEL_Parm::setDestructiveRevertToDefaultFlag(false);
        ZEL_Parm::setRevertInvisibleToDefaultsFlag(true);
    }

    bool load(FacadeParm index, const std::string &data, bool binary = false)
    {
        KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        return parm(index).load(is);
    }
    bool set(FacadeParm index, int component, double value, bool propagate = true)
    {
        return parm(index).setValue(0.0, value, false, component, ZEL_ADDKEY_PENDING, propagate);
    }
};

std::string labelForUI(const ZEL_Parm &parm, int index)
{
    KIT_String label;
    parm.getChannelLabelForUI(label, index);
    return label.toStdString();
}

std::string reference(const ZEL_Parm &parm, TRK_ExprLanguage language, const char *name)
{
    KIT_String text;
    parm.constructChannelReference(text, language, "../box", name);
    return text.toStdString();
}

std::string help(const ZEL_Parm &parm)
{
    KIT_WorkBuffer text;
    parm.getHelpText(text);
    return text.buffer();
}

TEST_F(Facade, SettingTellsTheChangeOnlyWhenAskedAndTakesAnyKindOfValue)
{
    EXPECT_TRUE(set(PARM_S, 1, 4.5));
    EXPECT_EQ("0 4.5 0", values(parm(PARM_S)));
    EXPECT_EQ(".D.", dirty(parm(PARM_S)));
    EXPECT_EQ("4:1", events.take());

    EXPECT_TRUE(set(PARM_S, 2, 6, false));
    EXPECT_EQ("0 4.5 6", values(parm(PARM_S)));
    EXPECT_EQ("", events.take());

    ZEL_Parm &f = parm(PARM_F);
    EXPECT_TRUE(f.setValue(0.0, 3, false, 0, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("3", values(f));
    EXPECT_TRUE(f.setValue(0.0, std::int64_t(4), false, 0, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("4", values(f));
    EXPECT_TRUE(f.setValue(0.0, "2.5", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("2.5", values(f));
    EXPECT_EQ("4:2 4:2 4:2", events.take());

    std::int64_t whole = 0;
    int small = 0;
    KIT_StringHolder text;
    f.getValue(0.0, whole, 0, BASgetSTID());
    f.getValue(0.0, small, 0, BASgetSTID());
    f.getValue(0.0, text, 0, true, BASgetSTID());
    EXPECT_EQ(2, whole);
    EXPECT_EQ(2, small);
    EXPECT_STREQ("2.5", text.c_str());
}

TEST_F(Facade, LockedComponentsRefuseEverySetter)
{
    ZEL_Parm &t = parm(PARM_T);
    t.setLockedFlag(1, true);
    EXPECT_EQ("4:0 8:0", events.take());

    EXPECT_FALSE(set(PARM_T, 1, 9));
    EXPECT_FALSE(t.setValue(0.0, "9", TRK_MEANING_LITERAL, false, 1, ZEL_ADDKEY_PENDING, true));
    EXPECT_FALSE(t.setExpression(0.0, "9", TRK_LANGUAGE_NATIVE, 1, false, false, true));
    EXPECT_FALSE(set(PARM_T, -1, 9)) << "a negative index asks for any lock";
    t.revertToDefault(0.0, 1, true);
    EXPECT_EQ("1 2 3", values(t));
    EXPECT_EQ(0, t.getChannelCount());
    EXPECT_EQ("", events.take());
    EXPECT_TRUE(set(PARM_T, 0, 9));

    // Setting all leaves the locked ones, and always tells the change.
    t.setLockedFlag(-1, false);
    const double wanted[] = {10, 20, 30};
    EXPECT_TRUE(t.setValues(0.0, wanted, false, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("10 20 30", values(t));

    const std::int64_t whole[] = {7, 8, 9};
    t.setLockedFlag(1, true);
    events.take();
    EXPECT_TRUE(t.setValues(0.0, whole, false, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("7 20 9", values(t));
    EXPECT_EQ("4:0", events.take());

    t.setLockedFlag(-1, true);
    events.take();
    t.clearAllDirtyFlags();
    EXPECT_FALSE(t.setValues(0.0, wanted, false, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ("7 20 9", values(t));
    EXPECT_EQ("DDD", dirty(t));
    EXPECT_EQ("4:0", events.take());
}

TEST_F(Facade, AlwaysHardenMakesKeys)
{
    EXPECT_EQ(ZEL_ADDKEY_FORCE, ZEL_Parm::getAddKeyValue(ZEL_ADDKEY_FORCE));
    ZEL_Parm::setAlwaysHardenFlag(true);
    EXPECT_EQ(ZEL_ADDKEY_HARDEN, ZEL_Parm::getAddKeyValue(ZEL_ADDKEY_PENDING));

    ZEL_Parm &f = parm(PARM_F);
    ASSERT_TRUE(f.setExpression(0.0, "1 + 1", TRK_LANGUAGE_NATIVE, 0, false, false, true));
    EXPECT_EQ("2", values(f));
    EXPECT_TRUE(f.getHaveCompiledExpressions());
    EXPECT_TRUE(f.setValue(1.0, 3.0, false, 0, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ(ZEL_CHAN_KEY, f.getChanState(1.0, 0));

    ZEL_Parm::setAlwaysHardenFlag(false);
    EXPECT_TRUE(f.setValue(0.5, 4.0, false, 0, ZEL_ADDKEY_PENDING, true));
    EXPECT_EQ(ZEL_CHAN_PENDING, f.getChanState(0.5, 0))
        << "the expression drives what precedes the key";
}

TEST_F(Facade, AButtonRebuildsItsDependencyAndTakesNoLocksAndScopes)
{
    for (FacadeParm index : {PARM_PRESS, PARM_QUIET}) {
        ZEL_Parm &button = parm(index);
        const std::string rebuild = "rebuildParmDependency " + std::to_string(index);
        button.privateValueChanged(-1, true, true);
        EXPECT_EQ(".", dirty(button));
        EXPECT_EQ(rebuild, owner.takeCalls());
        EXPECT_TRUE(button.setValue(0.0, 1, false, 0, ZEL_ADDKEY_PENDING, true));
        EXPECT_EQ(rebuild, owner.takeCalls());
        std::ostringstream saved;
        ASSERT_TRUE(button.save(saved, 0, false));
        EXPECT_TRUE(load(index, saved.str()));
        EXPECT_EQ(rebuild, owner.takeCalls());

        const bool select = button.getAutoSelectFlag(0);
        button.setLockedFlag(0, true);
        button.setAutoScopedFlag(0, true);
        button.setAutoSelectFlag(0, !select);
        EXPECT_FALSE(button.getLockedFlag(0));
        EXPECT_FALSE(button.getAutoScopedFlag(0));
        EXPECT_EQ(select, button.getAutoSelectFlag(0));
    }
    parm(PARM_T).setAutoScopedFlag(1, true);
    EXPECT_EQ(2u, parm(PARM_T).getAutoScopedField());
    EXPECT_EQ("", events.take());
    set(PARM_F, 0, 1);
    EXPECT_EQ("", owner.takeCalls());
}

TEST_F(Facade, OnlyTheWordsBasicToChannelMakeAButton)
{
    ZEL_Name name("x");
    const std::tuple<ZEL_Type, bool> cases[] = {
        {ZEL_CALLBACK, true},
        {ZEL_CALLBACK_NOREFRESH, true},
        {ZEL_CALLBACK | ZEL_TYPE_INVISIBLE | ZEL_TYPE_NOCOOK, true},
        {ZEL_CALLBACK | ZEL_TYPE_TOGGLE, false},
        {ZEL_CALLBACK | ZEL_TYPE_NAMEXYZW, false},
        {ZEL_TYPE_ORDINAL, false},
        {ZEL_FLT, false},
    };
    for (const auto &[type, button] : cases) {
        ZEL_Template description(type, 1, &name);
        std::ostringstream dump;
        type.saveASCII(dump);
        EXPECT_EQ(button, ZEL_Parm(&description, nullptr).isCallbackType()) << dump.str();
    }
}

TEST_F(Facade, AnIndirectChangeMarksChannelsAndSendsNoEvent)
{
    ZEL_Parm &t = parm(PARM_T);
    t.addChannel(2);
    t.clearAllDirtyFlags();
    t.getChannel(2)->setChanged(false, 0);
    t.indirectChange(0, true, true);
    EXPECT_EQ("D..", dirty(t));
    EXPECT_TRUE(t.getChannel(2)->getChanged()) << "every channel, whatever the index";
    EXPECT_EQ("", events.take());
}

TEST_F(Facade, ErrorsOfAMultiCountAreDropped)
{
    ZEL_Parm &count = parm(PARM_COUNT);
    ASSERT_TRUE(count.isMultiParm());
    ASSERT_TRUE(count.setExpression(0.0, "ch(\"nowhere\") + $T", TRK_LANGUAGE_NATIVE, 0, false,
                                    false, false));
    const int thread = BASgetSTID();
    EVL::theErrNo[thread] = EVL::EVL_OK;
    KIT_ErrorManager::Scope scope(thread);
    count.privateValueChanged(0, true, true);
    EXPECT_EQ(0, scope.getManager().entries());
    EXPECT_EQ(EVL::EVL_OK, EVL::theErrNo[thread]);
    EXPECT_EQ("4:6", events.take());

    int value = 0;
    count.getValue(0.0, value, 0, thread);
    EXPECT_EQ(1, scope.getManager().entries()) << "a plain read does report";
    EXPECT_NE(EVL::EVL_OK, EVL::theErrNo[thread]);
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

TEST_F(Facade, FlagsTellOnlyRealChangesAndOnlySpareParametersBypass)
{
    ZEL_Parm &t = parm(PARM_T);
    EXPECT_FALSE(t.setVisibleState(true, 0));
    EXPECT_TRUE(t.setVisibleState(false, 0));
    EXPECT_FALSE(t.setVisibleState(false, 0));
    EXPECT_FALSE(t.getVisibleState(0));
    EXPECT_TRUE(t.getVisibleState(1));
    EXPECT_EQ("7:0", events.take());

    EXPECT_TRUE(t.setEnableState(0, 1));
    EXPECT_FALSE(t.setEnableState(0, 1));
    EXPECT_EQ(0u, t.getEnableState(1));
    EXPECT_TRUE(t.setEnableState(4, 1)) << "any number but 0 enables";
    EXPECT_EQ("6:0 6:0", events.take());

    ZEL_Parm &f = parm(PARM_F);
    f.setBypassFlag(true);
    EXPECT_FALSE(f.getBypassFlag());
    f.setSpareParm(true);
    f.setBypassFlag(false);
    EXPECT_EQ("", events.take());
    f.setBypassFlag(true);
    EXPECT_TRUE(f.getBypassFlag());
    EXPECT_EQ("4:2", events.take());
}

TEST_F(Facade, RevertingFollowsItsFlags)
{
    ZEL_Parm &t = parm(PARM_T);
    for (int i = 0; i < 3; ++i) {
        set(PARM_T, i, 50);
    }
    t.addChannel(1);
    EXPECT_FALSE(t.isTrueFactoryDefault());
    events.take();

    t.revertToDefault(0.0, 1, false);
    EXPECT_EQ("50 2 50", values(t));
    EXPECT_NE(nullptr, t.getChannel(1));
    EXPECT_EQ("", events.take());

    ZEL_Parm::setDestructiveRevertToDefaultFlag(true);
    t.revertToDefaults(0.0);
    EXPECT_EQ("1 2 3", values(t));
    EXPECT_EQ(0, t.getChannelCount());
    EXPECT_EQ("4:0 4:0 4:0", events.take());
    EXPECT_TRUE(t.isTrueFactoryDefault());

    ZEL_Parm::setDestructiveRevertToDefaultFlag(false);
    EXPECT_TRUE(ZEL_Parm::getRevertInvisibleToDefaultsFlag()) << "on at first";
    ZEL_Parm &hidden = parm(PARM_HIDDEN);
    set(PARM_HIDDEN, 0, 1);
    ZEL_Parm::setRevertInvisibleToDefaultsFlag(false);
    hidden.revertToDefault(0.0, 0, true);
    EXPECT_EQ("1", values(hidden));
    ZEL_Parm::setRevertInvisibleToDefaultsFlag(true);
    hidden.revertToDefault(0.0, 0, true);
    EXPECT_EQ("7", values(hidden));
}

TEST_F(Facade, CopyParmTakesWhatBothHave)
{
    parm(PARM_S).copyParm(parm(PARM_T));
    EXPECT_EQ("1 2 3", values(parm(PARM_S)));
    parm(PARM_S).copyParm(parm(PARM_F));
    EXPECT_EQ("5 2 3", values(parm(PARM_S)));
    EXPECT_EQ("", events.take());
}

TEST_F(Facade, CopyValueTakesTheChannelOrItsValueAndTheAlias)
{
    ZEL_Parm &f = parm(PARM_F);
    ZEL_Parm &s = parm(PARM_S);
    f.setExpression(0.0, "$T * 10", TRK_LANGUAGE_NATIVE, 0, false, false, false);
    ASSERT_EQ("20", values(f, 2.0));

    s.copyValue(2.0, 1, f, 0, false, false, false, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ("0 20 0", values(s, 3.0));
    EXPECT_EQ(0, s.getChannelCount());
    EXPECT_EQ("", events.take());

    s.copyValue(2.0, 2, f, 0, false, true, true, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ("0 20 30", values(s, 3.0));
    EXPECT_EQ("4:1", events.take());
    ASSERT_NE(nullptr, s.getChannel(2));
    EXPECT_STREQ("sz", s.getChannel(2)->getName().c_str());

    ZEL_Parm &t = parm(PARM_T);
    ASSERT_TRUE(t.setChannelAlias("width", 0));
    s.copyValue(0.0, 1, t, 0, false, false, false, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ("0 1 0", values(s));
    EXPECT_STREQ("width", s.getChannelAlias(1).c_str());
    EXPECT_STREQ("sx", s.getChannelAlias(0).c_str());

    set(PARM_T, 2, 40);
    t.copyValue(0.0, 0, s, 3, false, false, false, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ("1 2 3", values(t));
}

TEST_F(Facade, EqualityIsOfValuesCompatibilityOfDescriptions)
{
    const int thread = BASgetSTID();
    ZEL_Parm &t = parm(PARM_T);
    ZEL_Parm &s = parm(PARM_S);
    EXPECT_FALSE(t.isParmValueEqual(s, 1, 0.0, thread));
    s.copyValue(0.0, 2, t, 1, false, false, false, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_TRUE(t.isParmValueEqual(1, s, 2, 0.0, thread));

    EXPECT_FALSE(t.isCompatible(s)) << "other token";
    const ZEL_Parm twin(&templates[PARM_T], &list);
    EXPECT_TRUE(t.isCompatible(twin));
    ZEL_Template longer(ZEL_XYZ, 4, &nameT);
    EXPECT_FALSE(t.isCompatible(ZEL_Parm(&longer, &list)));
    ZEL_Template tagged(ZEL_XYZ | ZEL_TYPE_NOCOOK, 3, &nameT);
    EXPECT_FALSE(t.isCompatible(ZEL_Parm(&tagged, &list)));
}

TEST(FacadeKinds, TheBroaderKindComparesAndALiteralIsCopiedAsItIs)
{
    ZEL_Name names[] = {ZEL_Name("f"), ZEL_Name("i"), ZEL_Name("s"), ZEL_Name("d"), ZEL_Name("c")};
    ZEL_Template templates[] = {
        ZEL_Template(ZEL_FLT, 1, &names[0]),    ZEL_Template(ZEL_ORD, 1, &names[1]),
        ZEL_Template(ZEL_STRING, 1, &names[2]), ZEL_Template(ZEL_KEY_VALUE_DICT, 1, &names[3]),
        ZEL_Template(ZEL_STRING, 1, &names[4]), ZEL_Template()};
    ZEL_ParmList list(templates, nullptr, nullptr, nullptr, KIT_StringRef(), false);
    const std::tuple<double, int, const char *, const char *, const char *, bool> cases[] = {
        {2.5, 2, "", "f", "i", false},    {2.0, 2, "", "i", "f", true},
        {2.0, 2, "2.0", "f", "s", false}, {2.0, 2, "2", "s", "f", true},
        {2.0, 2, "02", "i", "s", false},  {0.0, 0, "", "s", "d", false},
        {0.0, 0, "", "d", "f", false},    {0.0, 0, "", "d", "d", true},
    };
    for (const auto &[number, ordinal, text, first, second, wanted] : cases) {
        list.setFloat(number, KIT_StringRef("f"), 0, 0.0, false);
        list.setInt(ordinal, KIT_StringRef("i"), 0, 0.0, false);
        list.setString(KIT_String(text), TRK_MEANING_LITERAL, KIT_StringRef("s"), 0, 0.0, false);
        const bool equal = list.getParmPtr(first)->isParmValueEqual(0, *list.getParmPtr(second), 0,
                                                                    0.0, BASgetSTID());
        EXPECT_EQ(equal, wanted) << first << " " << second << " " << number << text;
    }

    list.setString(KIT_String("a \"b\""), TRK_MEANING_LITERAL, KIT_StringRef("s"), 0, 0.0, false);
    list.getParmPtr("c")->copyParm(*list.getParmPtr("s"));
    KIT_String copied;
    list.evalString(copied, KIT_StringRef("c"), 0, 0.0);
    EXPECT_STREQ(copied.nonNullStr(), "a \"b\"");
}

TEST_F(Facade, IndicesOutsideTheVectorAreHarmlessAndDestroyingTellsOneChange)
{
    ZEL_Parm &t = parm(PARM_T);
    for (int index : {-1, 3, 1000}) {
        t.addChannel(index);
        EXPECT_EQ(nullptr, t.getChannel(index));
        EXPECT_FALSE(t.removeChannel(index));
        t.setChannelReference(0.0, index, ".", "f", true, true);
    }
    EXPECT_EQ(0, t.getChannelCount());
    EXPECT_EQ("", events.take());

    t.addChannel(0);
    t.addChannel(2);
    t.clearAndDestroyChannels(false);
    EXPECT_EQ("", events.take());
    EXPECT_EQ(0, collection.entries());
    t.addChannel(0);
    t.clearAllDirtyFlags();
    t.clearAndDestroyChannels(true);
    EXPECT_EQ("4:0", events.take());
    EXPECT_EQ("DDD", dirty(t));

    // Of those that others use only the own reference goes.
    t.addChannel(0);
    t.addChannel(1);
    const ZEL_Parm &s = parm(PARM_S);
    parm(PARM_S).getInstance()->setChannel(2, t.getChannel(1));
    t.clearAndDestroyUnrefChannels(s);
    EXPECT_EQ(0, t.getChannelCount());
    EXPECT_EQ(nullptr, collection.getChannel("tx"));
    EXPECT_EQ(collection.getChannel("ty"), s.getChannel(2));
    EXPECT_NE(nullptr, s.getChannel(2));
}

TEST_F(Facade, ReferencesOpenByKindAndLanguage)
{
    ZEL_Name name("n");
    const std::tuple<ZEL_Type, ZEL_TypeExtended, TRK_ExprLanguage, const char *, const char *>
        cases[] = {
            {ZEL_FLT, ZEL_TYPEX_NONE, TRK_LANGUAGE_NATIVE, "tx", "ch(\"../box/tx\")"},
            {ZEL_FLT, ZEL_TYPEX_NONE, TRK_LANGUAGE_PYTHON, "tx", "ch(\"../box/tx\")"},
            {ZEL_FLT, ZEL_TYPEX_NODE_PATH, TRK_LANGUAGE_NATIVE, "tx", "ch(\"../box/tx\")"},
            {ZEL_STRING, ZEL_TYPEX_NONE, TRK_LANGUAGE_NATIVE, "tx", "chs(\"../box/tx\")"},
            {ZEL_STRING, ZEL_TYPEX_NONE, TRK_LANGUAGE_PYTHON, "tx", "ch(\"../box/tx\")"},
            {ZEL_STRING, ZEL_TYPEX_NODE_PATH, TRK_LANGUAGE_NATIVE, "tx", "chsop(\"../box/tx\")"},
            {ZEL_STRING, ZEL_TYPEX_NODE_PATHS, TRK_LANGUAGE_PYTHON, "tx", "chsop(\"../box/tx\")"},
            {ZEL_STRING | ZEL_TYPE_OP_REF_LIST, ZEL_TYPEX_NONE, TRK_LANGUAGE_NATIVE, "tx",
             "chsop(\"../box/tx\")"},
            {ZEL_STRING, ZEL_TYPEX_NONE, TRK_LANGUAGE_NATIVE, "", "chs(\"../box\")"},
            {ZEL_FLT, ZEL_TYPEX_NONE, TRK_LANGUAGE_NATIVE, nullptr, "ch(\"../box\")"},
        };
    for (const auto &[type, extended, language, channel, expected] : cases) {
        ZEL_Template description(type, extended, 1, &name);
        EXPECT_EQ(expected, reference(ZEL_Parm(&description, nullptr), language, channel));
    }
}

TEST_F(Facade, AChannelReferenceReadsTheOtherParameter)
{
    ZEL_Parm &f = parm(PARM_F);
    f.setChannelReference(0.0, 0, ".", "ty", true, false);
    ASSERT_NE(nullptr, f.getChannel(0));
    EXPECT_EQ("2", values(f));
    EXPECT_EQ("4:2", events.take());
    set(PARM_T, 1, 12);
    EXPECT_EQ("12", values(f));

    KIT_String text;
    f.getExpressionOnly(0.0, text, 0, BASgetSTID());
    EXPECT_STREQ("ch(\"./ty\")", text.c_str());
    parm(PARM_T).getExpressionOnly(0.0, text, 1, BASgetSTID());
    EXPECT_STREQ("", text.nonNullStr());
    parm(PARM_T).getExpressionOrValue(0.0, text, 1, BASgetSTID());
    EXPECT_STREQ("12", text.nonNullStr());

    f.getChannel(0)->insertKeyFrame(1.0, false);
    f.setChannelReference(0.0, 0, ".", "tz", false, true);
    ASSERT_NE(nullptr, f.getChannel(0));
    EXPECT_FALSE(f.getChannel(0)->isAtKey(1.0)) << "a fresh channel";
    EXPECT_EQ("3", values(f));
}

TEST_F(Facade, LabelsNameTheComponent)
{
    ZEL_Name name("v", "Vector");
    ZEL_Name marked("v", "Size of %s");
    const std::tuple<ZEL_Type, int, ZEL_Name *, int, const char *> cases[] = {
        {ZEL_TYPE_NAMEXYZW, 1, &name, 0, "Vector"},
        {ZEL_TYPE_NAMEXYZW, 3, &name, 1, "Vector [Y]"},
        {ZEL_TYPE_NAMEXYZW, 5, &name, 3, "Vector [W]"},
        {ZEL_TYPE_NAMEXYZW, 5, &name, 4, "Vector [4]"},
        {ZEL_TYPE_NAMEXYWH, 4, &name, 2, "Vector [Z]"},
        {ZEL_TYPE_NAMEXYWH, 4, &name, 3, "Vector [H]"},
        {ZEL_TYPE_NAMERGB, 4, &name, 3, "Vector [A]"},
        {ZEL_TYPE_NAMEUVW, 4, &name, 2, "Vector [W]"},
        {ZEL_TYPE_NAMEUVW, 4, &name, 3, "Vector [3]"},
        {ZEL_TYPE_NAMEMINMAX, 2, &name, 1, "Vector [1]"},
        {ZEL_Type(), 2, &name, 0, "Vector [0]"},
        {ZEL_TYPE_NAMEXYZW, 3, &name, -1, "vx vy vz"},
        {ZEL_TYPE_NAMEXYZW, 3, &marked, 1, "Size of vy"},
        {ZEL_TYPE_NAMEXYZW, 3, &marked, -1, "Size of vx vy vz"},
    };
    for (const auto &[naming, size, named, index, expected] : cases) {
        ZEL_Template description(ZEL_TYPE_FLOAT | naming, size, named);
        EXPECT_EQ(expected, labelForUI(ZEL_Parm(&description, nullptr), index));
    }
    // The two ways to name a width and a height differ on purpose.
    ZEL_Template box(ZEL_TYPE_FLOAT | ZEL_TYPE_NAMEXYWH, 4, &name);
    KIT_String channelLabel;
    ZEL_Parm(&box, nullptr).getChannelLabel(channelLabel, 2);
    EXPECT_STREQ("W", channelLabel.nonNullStr());
}

class StaticHelp : public KIT_HelpManager
{
public:
    StaticHelp() { set(this); }
    ~StaticHelp() override { set(nullptr); }
    bool getText(const char *path, const char *token, KIT_String &out) override
    {
        asked = std::string(path) + " " + token;
        out = answer;
        return answer != nullptr;
    }

    const char *answer = nullptr;
    std::string asked;
};

TEST_F(Facade, HelpNamesChannelsAliasesHelpAndTake)
{
    ZEL_Name name("v", "Vector");
    ZEL_Template withHelp(ZEL_FLT, 1, &name, nullptr, nullptr, nullptr, ZEL_Callback(), nullptr, 1,
                          "What it does.");
    const ZEL_Parm v(&withHelp, &list);
    ZEL_Parm &t = parm(PARM_T);
    EXPECT_EQ("Parameter: f", help(parm(PARM_F)));
    EXPECT_EQ("Parameters: tx ty tz", help(t));
    EXPECT_EQ("Parameter: v\nWhat it does.", help(v));

    ASSERT_TRUE(t.setChannelAlias("left", 1));
    EXPECT_EQ("Parameters: tx ty tz\nAliases:     tx left tz", help(t));
    ASSERT_TRUE(parm(PARM_F).setChannelAlias("part", 0));
    EXPECT_EQ("Parameter: f\nAlias:        part", help(parm(PARM_F)));

    StaticHelp manager;
    EXPECT_EQ("Parameter: v\nWhat it does.", help(v));
    EXPECT_EQ("/obj/test v", manager.asked);
    manager.answer = "None";
    EXPECT_EQ("Parameter: v\nWhat it does.", help(v)) << "None is no answer";
    manager.answer = "From the manager.";
    EXPECT_EQ("Parameter: v\nFrom the manager.", help(v));

    KIT_String title("old");
    EXPECT_FALSE(v.getHelpTitle(title));
    EXPECT_STREQ("", title.nonNullStr());

    LYR_Manager::getCurrentManager()->addDefinition(&v);
    EXPECT_EQ("Parameter: v\nFrom the manager.\nTake: Main", help(v));
    LYR_Manager::getCurrentManager()->removeDefinitions(&v);
}

TEST_F(Facade, LoadingTellsTheChangeEvenIfItFails)
{
    ZEL_Parm &s = parm(PARM_S);
    ZEL_Parm &t = parm(PARM_T);
    for (const bool binary : {false, true}) {
        std::ostringstream saved;
        ASSERT_TRUE(t.save(saved, binary, false));
        s.revertToDefaults(0.0);
        s.clearAllDirtyFlags();
        events.take();
        EXPECT_TRUE(load(PARM_S, saved.str(), binary)) << binary;
        EXPECT_EQ("1 2 3 DDD 4:1", values(s) + " " + dirty(s) + " " + events.take()) << binary;
    }
    std::shared_ptr<ZEL_UndoData> data;
    ASSERT_TRUE(t.saveUndoData(data));
    set(PARM_T, 0, 99);
    events.take();
    EXPECT_TRUE(t.loadUndoData(data));
    EXPECT_EQ("1 2 3 4:0", values(t) + " " + events.take());

    KIT_ErrorManager::Scope scope(BASgetSTID());
    s.clearAllDirtyFlags();
    EXPECT_FALSE(load(PARM_S, "no values here"));
    EXPECT_EQ("DDD 4:1", dirty(s) + " " + events.take());
}

TEST_F(Facade, WithoutAnInstanceEverythingIsEmpty)
{
    ZEL_Name name("mixed");
    ZEL_Template mixed(ZEL_TYPE_ORDINAL | ZEL_TYPE_FLOAT, 1, &name); // none of the four kinds
    ZEL_Template *const none = nullptr;
    ZEL_Parm parms[] = {ZEL_Parm(none, &list), ZEL_Parm(&mixed, &list)};
    for (ZEL_Parm &parm : parms) {
        ASSERT_EQ(nullptr, parm.getInstance());
        double value = 9.0;
        KIT_String text("old");
        parm.getValue(0.0, value, 0, BASgetSTID());
        parm.getValue(0.0, text, 0, true, BASgetSTID());
        EXPECT_EQ(0.0, value);
        EXPECT_STREQ("", text.nonNullStr());
        EXPECT_FALSE(parm.setValue(0.0, 1.0, false, 0, ZEL_ADDKEY_PENDING, true));
        EXPECT_FALSE(parm.setVisibleState(false, 0));
        EXPECT_FALSE(parm.setEnableState(0, 0));
        EXPECT_FALSE(parm.setChannelAlias("a", 0));
        EXPECT_FALSE(parm.canAccess(ZEL_Parm::theWriteMask));
        EXPECT_EQ(4.0, parm.findNextKey(4.0, 0));
        EXPECT_EQ(nullptr, parm.getChannel(0));
        EXPECT_EQ(0, parm.getVectorSize());
        EXPECT_STREQ("", parm.getToken());
        EXPECT_EQ("", labelForUI(parm, 0));
        EXPECT_EQ("", help(parm));
        EXPECT_FALSE(parm.isCallbackType());
        parm.setLockedFlag(0, true);
        parm.privateValueChanged(0, true, true);
        parm.indirectChange(0, true, true);
        parm.revertToDefaults(0.0);
        parm.copyParm(this->parm(PARM_T));
        parm.clearAndDestroyChannels(true);
        parm.rebuildParmDependency();
    }
    EXPECT_EQ("", events.take());
    EXPECT_EQ("", owner.takeCalls());
}

TEST_F(Facade, ACopyHasTheSourcesValues)
{
    set(PARM_T, 1, 8);
    const ZEL_Parm copy(&parm(PARM_T), &list);
    EXPECT_EQ("1 8 3", values(copy));
    EXPECT_EQ(&copy, copy.getInstance()->getParm());

    KIT_ErrorManager::Scope scope(BASgetSTID());
    const ZEL_Parm *none = nullptr;
    const ZEL_Parm orphan(none, &list);
    EXPECT_EQ(nullptr, orphan.getInstance());
    ASSERT_EQ(1, scope.getManager().entries());
    EXPECT_EQ("ZEL", scope.getManager().getError(0).category);
    EXPECT_EQ(12, scope.getManager().getError(0).code);
    EXPECT_EQ(KIT_ERROR_FATAL, scope.getManager().getSeverity());
}

TEST_F(Facade, FormatPrintsTheToken)
{
    char buffer[32];
    EXPECT_EQ(12u, format(buffer, sizeof buffer, parm(PARM_S)) + 1);
    EXPECT_STREQ("ZEL_Parm: s", buffer);
    EXPECT_EQ(11u, format(buffer, 5, parm(PARM_S)));
    EXPECT_STREQ("ZEL_", buffer);
}

} // namespace
