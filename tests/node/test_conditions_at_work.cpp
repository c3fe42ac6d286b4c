// The states of a scene's parameters follow their conditions: random changes against a fresh evaluation of
// all conditions, and how many are evaluated.

#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

constexpr const char *theItem = R"({ name item
  parm { name on type toggle default { 1 } }
  parm { name mode type ordinal menu { "off" "Off" "low" "Low" "high" "High" } }
  parm { name t type vector }
  parm { name word type string }
  parm { name a type float disablewhen "{ on == off }" hidewhen "{ mode == off } { ty > 1 }" }
  parm { name b type float disablewhen "{ word == \"x\" later == 1 }" }
  parm { name c type float hidewhen "{ `ch('/a/on')` == 0 }" disablewhen "{ `ch('../' + chs('word') + '/on')` == 1 s == 1 }" }
  parm { name later type float disablewhen "{ word =~ \"a*\" }" nocookwhen "{ on == on }" }
  group { name pages label "One" hidewhentab "{ on == off }" disablewhen "{ tx == 1 }"
    parm { name p type float disablewhen "{ t1 == 1 }" }
    group { name inner label "Inner" disablewhentab "{ mode == low }"
      parm { name q type float } }
    parm { name q2 type float } }
  group { name pages label "Two" disablewhentab "{ mode == high }"
    parm { name r type float } }
  multiparm { name items default 1 hidewhen "{ ty == 2 }"
    parm { name w# type float }
    parm { name k# type float disablewhen "{ w# == 1 }" hidewhen "{ on == off w# != 0 }" }
    group { name fold# label "Fold" hidewhentab "{ w# == 2 }"
      parm { name in# type float disablewhen "{ items > 2 }" } } } })";
constexpr const char *theOther = R"({ name other
  parm { name on type toggle }
  parm { name b type float hidewhen "{ on == on }" }
  parm { name a type float } })";
constexpr const char *theSpares = R"({ name spares
  parm { name s type float }
  parm { name z type float disablewhen "{ s == 1 } { on == off }" } })";

class Rig
{
public:
    explicit Rig(unsigned seed = 1) : myRandom(seed) { scene.makeCurrent(); }

    NOD_Node *add(const std::string &path, bool otherFlag = false)
    {
        return scene.add(path, otherFlag ? other : item, report);
    }
    static void write(NOD_Node &node, const char *token, const char *text)
    {
        node.getParms().setString(KIT_String(text, true), TRK_MEANING_LITERAL, token, 0, 0.0, true);
    }
    static void set(NOD_Node &node, const char *token, double value, int component = 0)
    {
        node.getParms().setFloat(value, token, component, 0.0, true);
    }

    /// That all states are those that a fresh evaluation gives.
    void check()
    {
        for (NOD_Node *node : nodes()) {
            const std::vector<NOD_ParmState> states = NOD_Conditions::statesOf(node->getParms());
            for (int i = 0; i < int(states.size()); ++i) {
                const ZEL_Parm &parm = *node->getParms().getParmPtr(i);
                const std::string name = node->getName() + "/" + parm.getToken();
                const NOD_ParmState &state = states[std::size_t(i)];
                const NOD_ParmState alone = NOD_Conditions::stateOf(node->getParms(), i);
                EXPECT_EQ(alone.disabledFlag, state.disabledFlag) << name;
                EXPECT_EQ(alone.hiddenFlag, state.hiddenFlag) << name;
                for (int k = 0; k < parm.getVectorSize(); ++k) {
                    const NOD_ConditionState &one =
                        state.tabs.empty() ? state : state.tabs[std::size_t(k)];
                    EXPECT_EQ(parm.getEnableState(k) == 0, one.disabledFlag) << name << " " << k;
                    EXPECT_EQ(!parm.getVisibleState(k), one.hiddenFlag) << name << " " << k;
                }
            }
        }
    }
    /// That each change of a state sent an event, and nothing else did.
    void checkEvents()
    {
        EXPECT_EQ(needless, "");
        for (NOD_Node *node : nodes()) {
            for (int i = 0; i < node->getParms().getEntries(); ++i) {
                const ZEL_Parm &parm = *node->getParms().getParmPtr(i);
                const auto known = myKnown.find({node, parm.getToken()});
                EXPECT_TRUE(known == myKnown.end() || known->second == masksOf(parm))
                    << node->getName() << "/" << parm.getToken();
            }
        }
    }
    void learn()
    {
        myKnown.clear();
        needless.clear();
        for (NOD_Node *node : nodes()) {
            node->setChangeCallback([this](NOD_Node &of, TRK_CHANGE_TYPE type, int parmIndex) {
                if (type == TRK_CHANGE_ENABLE || type == TRK_CHANGE_VISIBLE) {
                    note(of, type, parmIndex);
                }
            });
            for (int i = 0; i < node->getParms().getEntries(); ++i) {
                const ZEL_Parm &parm = *node->getParms().getParmPtr(i);
                myKnown[{node, parm.getToken()}] = masksOf(parm);
            }
        }
    }

    /// Returns whether parameters have come or gone.
    bool edit()
    {
        const std::vector<NOD_Node *> all = nodes();
        NOD_Node &node = *all[std::size_t(pick(int(all.size())))];
        NOD_Node &second = *all[std::size_t(pick(int(all.size())))];
        ZEL_ParmList &parms = node.getParms();
        const int block = parms.getParmIndex("items");
        switch (pick(19)) {
        case 0: add("/" + name(), pick(4) == 0); return true;
        case 1: scene.rename(node, name(), report); return true;
        case 2: scene.copy(node, second, name(), report); return true;
        case 3: scene.move(node, pick(2) ? second : scene.getRoot(), report); return true;
        case 4:
            if (all.size() > 3 && scene.getRoot().getChildren().size() > 1) {
                scene.remove(node, report);
            }
            return true;
        case 5: node.setSpareParms(pick(3) ? spares : nullptr); return true;
        case 6: node.renewParms(pick(3) ? item : other); return true;
        case 7: parms.setInt(pick(4), "items", 0, 0.0, true); return true;
        case 8:
            if (block >= 0 && pick(2)) {
                parms.insertMultiParmItem(block, 0);
            } else if (block >= 0 && parms.evalInt("items", 0, 0.0) > 0) {
                parms.removeMultiParmItem(block, 0);
            }
            return true;
        case 9: write(node, "word", pick(2) ? "x" : name().c_str()); return false;
        case 10: drive(node, pick(2) ? "on" : "w1", "ch('../" + name() + "/on')"); return false;
        case 11: drive(node, "t", "if($F > 10, 1, 2)", pick(2)); return false;
        case 12: drive(node, "w2", "ch('s') + ch('w1')"); return false;
        case 13: scene.setFrame(pick(2) ? 1.0 : 20.0); return false;
        case 14: set(node, "later", pick(2)); return false;
        case 15: set(node, pick(2) ? "w1" : "s", pick(3)); return false;
        case 16: set(node, "t", pick(3), pick(3)); return false;
        default: parms.setInt(pick(3), pick(2) ? "on" : "mode", 0, 0.0, true); return false;
        }
    }
    int pick(int count) { return int(myRandom() % unsigned(count)); }
    static void drive(NOD_Node &node, const char *token, const std::string &text, int component = 0)
    {
        if (ZEL_Parm *parm = node.getParms().getParmPtr(token)) {
            parm->setExpression(0.0, text.c_str(), TRK_LANGUAGE_NATIVE, component, false, true,
                                true);
        }
    }
    std::uint64_t evaluated() { return scene.getConditions().getNumEvaluated(); }

    NOD_Report report;
    std::shared_ptr<const NOD_Interface> item = NOD_Interface::fromText(theItem, "item", report);
    std::shared_ptr<const NOD_Interface> other = NOD_Interface::fromText(theOther, "other", report);
    std::shared_ptr<const NOD_Interface> spares =
        NOD_Interface::fromText(theSpares, "spares", report);
    NOD_Scene scene;
    std::string needless; ///< of an event without a change

private:
    using Masks = std::pair<std::uint32_t, std::vector<bool>>;

    static Masks masksOf(const ZEL_Parm &parm)
    {
        Masks masks{parm.getEnableState(-1), {}};
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            masks.second.push_back(parm.getVisibleState(k));
        }
        return masks;
    }
    void note(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex)
    {
        const ZEL_Parm &parm = *node.getParms().getParmPtr(parmIndex);
        const auto known = myKnown.find({&node, parm.getToken()});
        if (known != myKnown.end()) {
            const Masks masks = masksOf(parm);
            Masks expected = known->second;
            if (type == TRK_CHANGE_ENABLE) {
                expected.first = masks.first;
            } else {
                expected.second = masks.second;
            }
            if (known->second == expected) {
                needless = node.getName() + "/" + parm.getToken();
            }
            known->second = expected;
        }
    }
    std::string name() { return std::string(1, char('a' + pick(4))); }
    static void collect(NOD_Node &node, std::vector<NOD_Node *> &found)
    {
        for (const auto &child : node.getChildren()) {
            found.push_back(child.get());
            collect(*child, found);
        }
    }
    std::vector<NOD_Node *> nodes()
    {
        std::vector<NOD_Node *> found;
        collect(scene.getRoot(), found);
        return found;
    }

    std::mt19937 myRandom;
    std::map<std::pair<const NOD_Node *, std::string>, Masks> myKnown;
};

TEST(ConditionsAtWork, StatesAreThoseOfAFreshEvaluation)
{
    for (unsigned seed = 1; seed <= 6; ++seed) {
        Rig rig(seed);
        ASSERT_TRUE(rig.add("/a")) << rig.report.asText();
        rig.check();
        for (int step = 0; step < 200; ++step) {
            bool structureFlag = false;
            rig.learn();
            {
                const NOD_Batch batch(rig.scene);
                for (int i = rig.pick(3); i >= 0; --i) {
                    structureFlag = rig.edit() || structureFlag;
                }
            }
            rig.check();
            if (!structureFlag) {
                rig.checkEvents();
            }
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << " step " << step;
        }
    }
}

TEST(ConditionsAtWork, OnlyThoseThatReadAChangeAreEvaluated)
{
    Rig rig;
    NOD_InterfaceBuilder builder("wide");
    for (int i = 0; i < 1000; ++i) {
        const std::string token = "p" + std::to_string(i) + "_";
        auto parm = builder.add(ZEL_FLT, token);
        if (i % 10 < 3) {
            parm.disableWhen("{ p" + std::to_string(i / 10 * 10 + 9) + "_ == 1 }");
        }
    }
    const auto wide = builder.make(rig.report);
    ASSERT_TRUE(wide) << rig.report.asText();
    NOD_Node &node = *rig.scene.add("/wide", wide, rig.report);
    NOD_Node &far = *rig.scene.add("/far", wide, rig.report);
    EXPECT_EQ(rig.evaluated(), 600u);
    const auto countOf = [&](const auto &change) {
        const std::uint64_t before = rig.evaluated();
        change();
        return rig.evaluated() - before;
    };
    const auto isOn = [&](NOD_Node &of, const char *token) {
        return of.getParms().getParmPtr(token)->getEnableState(0) != 0;
    };
    EXPECT_EQ(countOf([&] { Rig::set(node, "p9_", 1.0); }), 3u);
    EXPECT_FALSE(isOn(node, "p0_") || isOn(node, "p1_") || isOn(node, "p2_"));
    EXPECT_TRUE(isOn(node, "p3_") && isOn(node, "p10_"));
    EXPECT_EQ(countOf([&] { Rig::set(node, "p5_", 1.0); }), 0u);
    EXPECT_EQ(countOf([&] {
                  const NOD_Batch batch(rig.scene);
                  for (int i = 0; i < 5; ++i) {
                      Rig::set(node, "p19_", i);
                      Rig::set(node, "p29_", i);
                  }
              }),
              6u);
    // What a control reads in turn, in another node; and in time.
    EXPECT_EQ(countOf([&] { Rig::drive(node, "p39_", "ch('../far/p5_')"); }), 3u);
    EXPECT_EQ(countOf([&] { Rig::set(far, "p5_", 1.0); }), 3u);
    EXPECT_FALSE(isOn(node, "p30_"));
    EXPECT_EQ(countOf([&] { Rig::drive(node, "p49_", "$F"); }), 3u);
    EXPECT_FALSE(isOn(node, "p40_"));
    EXPECT_EQ(countOf([&] { rig.scene.setFrame(5.0); }), 3u);
    EXPECT_TRUE(isOn(node, "p40_"));
}

TEST(ConditionsAtWork, AHandlerMayChangeAnything)
{
    Rig rig;
    NOD_Node &a = *rig.add("/a");
    NOD_Node &b = *rig.add("/b");
    int events = 0;
    a.setChangeCallback([&](NOD_Node &, TRK_CHANGE_TYPE type, int) {
        if (type == TRK_CHANGE_ENABLE && ++events == 1) {
            rig.scene.remove(b, rig.report);
            a.renewParms(rig.item);
            rig.set(a, "t", 1.0, 0);
        }
    });
    a.getParms().setInt(0, "on", 0, 0.0, true);
    EXPECT_GT(events, 1);
    rig.check();
}

TEST(ConditionsAtWork, TemplatesInThePlaceOfOthersHaveTheirOwnConditions)
{
    const auto script = [](const std::string &word) {
        NOD_Report report;
        return NOD_Interface::fromText("parm { name on type toggle } parm { name v type float " +
                                           word + " \"{ on == off }\" }",
                                       "place", report);
    };
    const auto first = script("disablewhen");
    const auto second = script("hidewhen");
    ZEL_Template place[] = {first->getTemplates()[0], first->getTemplates()[1], ZEL_Template()};
    NOD_Scene scene;
    NOD_Report report;
    NOD_Node &node = *scene.add("/a", nullptr, report);
    const auto states = [&] {
        const ZEL_Parm &v = *node.getParms().getParmPtr("v");
        return std::make_pair(v.getEnableState(0) != 0, v.getVisibleState(0));
    };
    node.renewParms(place);
    EXPECT_EQ(states(), std::make_pair(false, true));
    {
        const NOD_Batch batch(scene);
        node.renewParms(static_cast<ZEL_Template *>(nullptr));
        place[0] = second->getTemplates()[0];
        place[1] = second->getTemplates()[1];
        node.renewParms(place);
    }
    EXPECT_EQ(states(), std::make_pair(true, false));
}

} // namespace
