// Handles of one kind of value: what they do is what the calls of ZEL_Parm do that they stand for.

#include <KIT/KIT_ErrorManager.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_IntHandle.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parms.h>
#include <ZEL/ZEL_StringHandle.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <common/EventLog.h>
#include <common/TestOwner.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <sstream>

namespace
{

/// A list with each kind of value.
struct Rig
{
    explicit Rig(bool withChannels = true)
        : list(templates, withChannels ? &channels : nullptr, &owner, nullptr, "", false),
          events(list)
    {
        owner.setParmList(&list);
    }
    ~Rig() { owner.setParmList(nullptr); }

    /// What was reported so far is dropped: a save would end at it.
    std::string contents() const
    {
        std::ostringstream saved;
        KITgetErrorManager().clearAndDestroyErrors();
        list.save(saved, false, false);
        KITgetErrorManager().clearAndDestroyErrors(); // "no name" is none for the text form
        channels.save(saved);
        return saved.str();
    }
    TRK_Channel *channel(const char *name) { return channels.getChannel(name); }

    ZEL_Name nameT{"t", "T"}, nameF{"f", "F"}, nameN{"n", "N"}, nameMode{"mode", "Mode"},
        nameText{"text", "Text"}, nameStill{"still", "Still"}, nameData{"data", "Data"},
        nameCount{"count", "Count"}, nameItem{"item#", "Item"}, nameBad{"no name", "Bad"};
    ZEL_Name words[3] = {ZEL_Name("slow", "Slow"), ZEL_Name("fast", "Fast"), ZEL_Name()};
    ZEL_ChoiceList menu{ZEL_CHOICELIST_REPLACE, words};
    ZEL_Template items[2] = {ZEL_Template(ZEL_FLT, 1, &nameItem), ZEL_Template()};
    ZEL_Template templates[10] = {ZEL_Template(ZEL_XYZ, 3, &nameT),
                                  ZEL_Template(ZEL_FLT, 1, &nameF),
                                  ZEL_Template(ZEL_INT, 2, &nameN),
                                  ZEL_Template(ZEL_ORD, 1, &nameMode, nullptr, &menu),
                                  ZEL_Template(ZEL_STRING, 2, &nameText),
                                  ZEL_Template(ZEL_FLT_E, 1, &nameStill),
                                  ZEL_Template(ZEL_DATA, 1, &nameData),
                                  ZEL_Template(ZEL_MULTITYPE_LIST, items, 1.0, &nameCount),
                                  ZEL_Template(ZEL_FLT, 1, &nameBad),
                                  ZEL_Template()};
    TRK_Collection channels;
    TestOwner owner;
    ZEL_ParmList list;
    EventLog events;
};

TEST(Handles, SayWhatIsWrongWithTheirName)
{
    Rig rig;
    const auto reason = [&](auto &&handle) {
        EXPECT_EQ(handle.isValid(), handle.reason().empty());
        EXPECT_EQ(handle.isValid(), bool(handle));
        if (!handle) {
            EXPECT_FALSE(handle.set({}));
            EXPECT_FALSE(handle.key(1.0, {}));
            EXPECT_FALSE(handle.expression("1"));
            EXPECT_EQ(decltype(handle(0.0))(), handle(0.0));
            EXPECT_EQ(0, handle.size());
        }
        return handle.reason();
    };
    const std::string before = rig.contents();
    EXPECT_EQ("", reason(ZEL_FloatHandle(rig.list, std::string("f"))));
    EXPECT_EQ("", reason(ZEL_FloatHandle(rig.list, "ty")));
    EXPECT_EQ("", reason(ZEL_FloatHandle(rig.list, std::string_view("nought", 1))));
    EXPECT_EQ("", reason(ZEL_IntHandle(rig.list, "mode")));
    EXPECT_EQ("", reason(ZEL_IntHandle(rig.list, "count")));
    EXPECT_EQ("", reason(ZEL_StringHandle(rig.list, "text")));
    EXPECT_EQ("the handle is on no list", reason(ZEL_FloatHandle()));
    EXPECT_EQ("there is no parameter \"densty\"", reason(ZEL_FloatHandle(rig.list, "densty")));
    EXPECT_EQ("there is no parameter \"\"", reason(ZEL_IntHandle(rig.list, std::string_view())));
    EXPECT_EQ("\"text\" is a string, not a float", reason(ZEL_FloatHandle(rig.list, "text")));
    EXPECT_EQ("\"mode\" is an ordinal, not a float", reason(ZEL_FloatHandle(rig.list, "mode")));
    EXPECT_EQ("\"f\" is a float, not an integer", reason(ZEL_IntHandle(rig.list, "f")));
    EXPECT_EQ("\"data\" is data, not a string", reason(ZEL_StringHandle(rig.list, "data")));
    ZEL_FloatHandle t(rig.list, "t");
    EXPECT_EQ("\"t\" has no such component", reason(t[3]));
    EXPECT_EQ("\"t\" has no such component", reason(t[-1]));
    EXPECT_EQ("\"t\" has no such component", reason(t["f"]));
    EXPECT_EQ(2, t["tz"].component());
    EXPECT_EQ(1, t["tz"]["ty"].component());
    EXPECT_FALSE(t.setValues(std::array<double, 2>{1, 2}));
    EXPECT_FALSE(ZEL_IntHandle(rig.list, "mode").setToken("ch('f')")) << "would be an expression";
    EXPECT_FALSE(ZEL_IntHandle(rig.list, "n").setToken("slow"));
    EXPECT_EQ(before, rig.contents());
}

/// One list is changed through handles, the other by the calls that they stand for.
class HandleLaws : public ::testing::Test
{
protected:
    /// Sets a component in both; `value` is a number or a text.
    template <class HANDLE, class VALUE>
    void set(const char *token, int index, const VALUE &value)
    {
        HANDLE handle = HANDLE(ours.list, token)[index];
        ZEL_Parm &parm = *theirs.list.getParmPtr(token);
        const bool keyFlag = random() % 2, replaceFlag = random() % 2, quietFlag = random() % 2;
        const double time = double(random() % 4);
        const ZEL_SetOptions options(quietFlag ? ZEL_Notify::NO : ZEL_Notify::YES,
                                     keyFlag ? ZEL_Keys::KEY : ZEL_Keys::AS_IT_IS,
                                     replaceFlag ? ZEL_Expressions::REPLACE
                                                 : ZEL_Expressions::KEEP);
        const ZEL_AddKeyType addKey = keyFlag ? ZEL_ADDKEY_FORCE : ZEL_ADDKEY_PENDING;
        bool expected;
        if constexpr (std::is_arithmetic_v<VALUE>) {
            expected = parm.setValue(time, value, replaceFlag, index, addKey, !quietFlag);
        } else {
            expected = parm.setValue(time, value, TRK_MEANING_LITERAL, replaceFlag, index, addKey,
                                     !quietFlag);
        }
        EXPECT_EQ(expected, handle.setAt(time, value, options)) << token << index;
    }
    template <class HANDLE>
    void setExpression(const char *token, int index)
    {
        const char *const text = random() % 2 ? "$T * 2 + 1" : "ch('f')";
        EXPECT_EQ(theirs.list.getParmPtr(token)->setExpression(0.0, text, TRK_LANGUAGE_NATIVE,
                                                               index, true, true, true),
                  HANDLE(ours.list, token)[index].expression(text));
    }
    void setAll()
    {
        const std::array<double, 3> all{double(random() % 9), 2.5, double(random() % 9)};
        EXPECT_EQ(
            theirs.list.getParmPtr("t")->setValues(0.0, all.data(), false, ZEL_ADDKEY_FORCE, true),
            ZEL_FloatHandle(ours.list, "tz").setValues(all, ZEL_Keys::KEY));
    }
    void lock()
    {
        const int parm = int(random() % 5), index = int(random() % 2);
        const bool lockedFlag = random() % 4 == 0;
        ours.list.getParmPtr(parm)->setLockedFlag(index, lockedFlag);
        theirs.list.getParmPtr(parm)->setLockedFlag(index, lockedFlag);
        ours.owner.editState = theirs.owner.editState = random() % 4 == 0;
        ours.list.getParmPtr("text")->setValueState(true);
        theirs.list.getParmPtr("text")->setValueState(true);
    }
    void compareReads(double time)
    {
        const int thread = BASgetSTID();
        const ZEL_FloatHandle t(ours.list, "t");
        const std::array<double, 3> all = t.values<3>(time);
        double number = 0.0;
        for (ZEL_FloatHandle c : t.components()) {
            theirs.list.getParmPtr("t")->getValue(time, number, c.component(), thread);
            EXPECT_EQ(number, c(time));
            EXPECT_EQ(number, c(time, thread));
            EXPECT_EQ(number, all[std::size_t(c.component())]);
            EXPECT_EQ(number, t.values<4>(time)[std::size_t(c.component())]);
        }
        std::int64_t whole = 0;
        theirs.list.getParmPtr("n")->getValue(time, whole, 1, thread);
        EXPECT_EQ(whole, ZEL_IntHandle(ours.list, "n")[1](time));
        KIT_String expanded, raw, token;
        theirs.list.getParmPtr("text")->getValue(time, expanded, 1, true, thread);
        theirs.list.getParmPtr("text")->getValue(time, raw, 1, false, thread);
        theirs.list.getParmPtr("mode")->getValue(time, token, 0, false, thread);
        EXPECT_EQ(expanded.toStdString(), ZEL_StringHandle(ours.list, "text")[1](time));
        EXPECT_EQ(raw.toStdString(), ZEL_StringHandle(ours.list, "text")[1].raw(time));
        EXPECT_EQ(token.toStdString(), ZEL_IntHandle(ours.list, "mode").token(time));
    }

    Rig ours, theirs;
    std::mt19937 random{1};
};

TEST_F(HandleLaws, AHandleDoesWhatTheCallsDo)
{
    const char *const texts[] = {"", "plain", "`1 + 2`$T", "\"quoted\""};
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        const int index = int(random() % 2);
        switch (random() % 9) {
        case 0: set<ZEL_FloatHandle>("t", index, double(random() % 3)); break;
        case 1: set<ZEL_FloatHandle>("f", 0, double(random() % 3)); break;
        case 2: set<ZEL_IntHandle>("n", index, std::int64_t(random() % 3)); break;
        case 3: set<ZEL_IntHandle>("mode", 0, std::int64_t(random() % 2)); break;
        case 4: set<ZEL_StringHandle>("text", index, texts[random() % 4]); break;
        case 5: setExpression<ZEL_FloatHandle>("t", index); break;
        case 6: setExpression<ZEL_StringHandle>("text", index); break;
        case 7: setAll(); break;
        default: lock(); break;
        }
        EXPECT_EQ(theirs.contents(), ours.contents()) << step;
        EXPECT_EQ(theirs.events.take(), ours.events.take()) << step;
        compareReads(double(random() % 4));
    }
    ours.list.getParmPtr("mode")->setLockedFlag(0, false);
    ours.list.getParmPtr("mode")->clearAndDestroyChannels(false);
    ours.events.take();
    ZEL_IntHandle mode(ours.list, "mode");
    EXPECT_TRUE(mode.setToken("fast", {ZEL_Notify::NO}));
    EXPECT_EQ(1, mode(0.0));
    EXPECT_TRUE(mode.isOn(0.0));
    EXPECT_EQ("", ours.events.take());
}

/// The states in which a key is asked for.
enum State
{
    PLAIN,
    KEYED,         ///< keys at 0 and 4
    LEFT_CHANNEL,  ///< the collection still has a channel of the name
    EXPRESSION,    ///< from the start
    KEY_EXPRESSION ///< a key at the time itself, with an expression from there
};

/// An expression that has the value at that time.
template <class NUMBER>
std::string valueOnlyAt(double time, NUMBER value)
{
    return "$T + " + std::to_string(double(value) - time);
}
std::string valueOnlyAt(double, const std::string &value)
{
    return '"' + value + '"';
}

template <class HANDLE, class VALUE>
void keyLaw(const char *token, const VALUE &value, const VALUE &other)
{
    for (const bool sameFlag : {false, true}) {
        for (const double time : {-1.0, 0.0, 2.0}) {
            for (State state : {PLAIN, KEYED, LEFT_CHANNEL, EXPRESSION, KEY_EXPRESSION}) {
                Rig rig;
                HANDLE handle(rig.list, token);
                ASSERT_TRUE(handle.set(sameFlag ? value : other));
                if (state == LEFT_CHANNEL) {
                    rig.channels.addChannel(token)->initializeFirstSegment(nullptr,
                                                                           TRK_LANGUAGE_NATIVE);
                } else if (state == KEYED) {
                    EXPECT_TRUE(handle.key(0.0, other) && handle.key(4.0, other));
                } else if (state != PLAIN) {
                    EXPECT_TRUE(handle.expression(sameFlag ? valueOnlyAt(time, value) : "$T"));
                }
                if (state == KEY_EXPRESSION) {
                    handle.parm()->setKey(time, handle.component());
                }
                TRK_Channel *const before = rig.channel(token);
                const int keys = before ? before->getNKeys() : 0;
                const bool keyFlag = before && before->isAtKey(time);
                rig.events.take();
                const std::string where = std::string(token) + ", state " + std::to_string(state) +
                                          " at " + std::to_string(time) +
                                          (sameFlag ? ", the same value" : "");
                EXPECT_TRUE(handle.key(time, value)) << where;
                TRK_Channel *const channel = rig.channel(token);
                ASSERT_NE(nullptr, channel) << where;
                EXPECT_TRUE(channel->isAtKey(time)) << where;
                EXPECT_EQ(keys + (keyFlag ? 0 : 1), channel->getNKeys()) << where;
                EXPECT_EQ(value, handle(time)) << where;
                if (state != KEYED && state != LEFT_CHANNEL) {
                    const double next = channel->findNextKey(time);
                    EXPECT_EQ(value, handle(next > time ? 0.5 * (time + next) : 9.0)) << where;
                }
                EXPECT_FALSE(handle.parm()->changePending(0)) << where;
                EXPECT_EQ("4:" + std::to_string(rig.list.getParmIndex(handle.parm())),
                          rig.events.take())
                    << where;
                TRK_Manager::getContext().setCommitPreference(false);
                handle.setAt(time + 1.0, other); // pending
                TRK_Manager::getContext().setCommitPreference(true);
                EXPECT_EQ(value, handle(time)) << where;
            }
        }
    }
}

TEST(Handles, AKeyIsMadeWhateverTheComponentHas)
{
    keyLaw<ZEL_FloatHandle>("f", 3.5, 1.0);
    keyLaw<ZEL_IntHandle>("mode", std::int64_t(1), std::int64_t(0));
    keyLaw<ZEL_StringHandle>("text1", std::string("a$b"), std::string("other"));
}

TEST(Handles, AKeyThatCantBeIsRefused)
{
    Rig rig, bare(false);
    const std::string before = rig.contents(), bareBefore = bare.contents();
    ZEL_FloatHandle f(rig.list, "f");
    EXPECT_FALSE(f.key(std::numeric_limits<double>::infinity(), 1.0));
    EXPECT_FALSE(ZEL_FloatHandle(rig.list, "still").key(0.0, 1.0)) << "not animated";
    EXPECT_FALSE(ZEL_FloatHandle(rig.list, "no name").key(0.0, 1.0)) << "no name for a channel";
    EXPECT_FALSE(ZEL_FloatHandle(rig.list, "no name").expression("1 + 1"));
    EXPECT_FALSE(ZEL_FloatHandle(bare.list, "f").key(0.0, 1.0)) << "no collection";
    EXPECT_FALSE(ZEL_StringHandle(bare.list, "text").expression("$T"));
    const ZEL_FloatHandle t(rig.list, "t");
    t.parm()->setOverride(1, 0, "weight", ZEL_OVERRIDE_OVERRIDDEN);
    EXPECT_FALSE(t[1].key(0.0, 1.0)) << "an override provides the value";
    EXPECT_EQ(before, rig.contents());
    EXPECT_EQ(bareBefore, bare.contents());
    f.parm()->setLockedFlag(0, true);
    EXPECT_FALSE(f.key(0.0, 1.0));
    EXPECT_FALSE(f.set(1.0));
    EXPECT_FALSE(f.expression("1 + 1"));
    EXPECT_FALSE(f.isAnimated());
}

TEST(Handles, FollowTheirNameThroughChangesOfTheList)
{
    Rig rig;
    ZEL_FloatHandle item(rig.list, "item2"), later(rig.list, "spare");
    const ZEL_FloatHandle f(rig.list, "f");
    ZEL_IntHandle count(rig.list, "count");
    EXPECT_FALSE(item);
    EXPECT_TRUE(count.set(2));
    EXPECT_TRUE(item);
    EXPECT_TRUE(item.set(7.0));
    rig.list.insertMultiParmItem(rig.list.getParmIndex("count"), 0);
    EXPECT_EQ(3, count(0.0));
    EXPECT_EQ(0.0, item(0.0)) << "its value has moved on to item3";
    EXPECT_EQ(7.0, ZEL_FloatHandle(rig.list, "item3")(0.0));
    EXPECT_TRUE(count.set(0));
    EXPECT_FALSE(item);
    EXPECT_EQ(0.0, item(0.0));
    EXPECT_TRUE(f);

    ZEL_Name nameSpare("spare", "Spare");
    ZEL_Template spares[] = {ZEL_Template(ZEL_XYZ, 3, &nameSpare), ZEL_Template()};
    ZEL_FloatHandle y = later["sparey"];
    rig.list.updateSpareParmTemplates(spares, false);
    EXPECT_TRUE(y.set(5.0));
    EXPECT_EQ(5.0, later.values<2>(0.0)[1]);
    ZEL_Template texts[] = {ZEL_Template(ZEL_STRING, 1, &nameSpare), ZEL_Template()};
    rig.list.updateSpareParmTemplates(texts, false);
    EXPECT_EQ("\"spare\" is a string, not a float", later.reason());
    EXPECT_EQ("there is no parameter \"sparey\"", y.reason());
    rig.list.updateSpareParmTemplates(nullptr, false);
    EXPECT_FALSE(later);
}

TEST(Handles, FollowTheParametersToAListThatTakesOver)
{
    Rig rig;
    auto next = std::make_unique<ZEL_ParmList>(rig.templates, nullptr, &rig.owner, nullptr, "",
                                               false, false);
    ZEL_FloatHandle f(rig.list, "f"), early(*next, "f"), item(rig.list, "item2");
    EXPECT_TRUE(f.set(2.5) && ZEL_IntHandle(rig.list, "count").set(2) && item.set(4.0));
    next->adoptParmList(rig.list, false);
    for (const ZEL_FloatHandle &each : {f, early, item["item2"]}) {
        EXPECT_EQ(next.get(), each.list());
    }
    EXPECT_EQ(2.5, f(0.0));
    EXPECT_EQ(2.5, early(0.0));
    EXPECT_EQ(4.0, item(0.0));
    EXPECT_TRUE(ZEL_IntHandle(*next, "count").set(0));
    EXPECT_FALSE(item);
    auto last = std::make_unique<ZEL_ParmList>(*next, rig.templates, &rig.owner, nullptr, "", true);
    next.reset();
    EXPECT_TRUE(early.set(7.0));
    EXPECT_EQ(7.0, f(0.0));
    EXPECT_FALSE(item);
    last.reset();
    EXPECT_EQ(0.0, f(0.0));
    EXPECT_EQ("the list of \"f\" is gone", early["f"].reason());
    EXPECT_FALSE(f.set(1.0) || f.key(0.0, 1.0) || f.expression("1") || f[0]);
    f = ZEL_FloatHandle(rig.list, "f");
    EXPECT_TRUE(f);
}

TEST(Handles, LoopsVisitEveryParameterInOrder)
{
    Rig rig;
    std::string tokens;
    for (ZEL_Parm &parm : ZELparms(rig.list)) {
        tokens += std::string(parm.getToken()) + " ";
        if (tokens == "t ") {
            ZEL_IntHandle(rig.list, "count").set(1);
        }
    }
    EXPECT_EQ("t f n mode text still data count no name item1 ", tokens);
    const ZEL_ParmList &list = rig.list;
    std::string again;
    for (const ZEL_Parm &parm : ZELparms(list)) {
        again += std::string(parm.getToken()) + " ";
    }
    EXPECT_EQ(tokens, again);
    EXPECT_EQ(rig.list.getParmPtr("mode"), ZELfindParm(rig.list, std::string("mode")));
    EXPECT_EQ(nullptr, ZELfindParm(list, std::string_view("mode", 3)));
}

} // namespace
