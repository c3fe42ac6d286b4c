/// \file RandomScene.h
/// Scenes made at random, with everything that a scene file can hold.
///
/// Ownership:  the scene owns its nodes; the application's interface is shared by all scenes.
#pragma once

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_ParmBuilder.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Data.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

constexpr const char *theSceneScript = R"({ name thing label "Thing"
  parm { name t type vector size 3 default { "0" "$F * 0" "1" } }
  parm { name n type integer default { "3" } }
  parm { name on type toggle }
  parm { name text type string default { "a `1+1` $F" } }
  parm { name kind type ordinal menu { "one" "One" "two" "Two" } }
  parm { name data type keyvaluedict }
  multiparm { name points label "Points" default "1"
    parm { name at# type vector2 size 2 default { "$F * 2" "0" } }
    multiparm { name parts# label "Parts" default "0"
      parm { name part#_# type float }
    }
  }
  parm { name profile type ramp_flt default { "2" } }
})";

class RandomScene
{
public:
    explicit RandomScene(unsigned seed) : random(seed)
    {
        scene.addInterface(application());
        fill();
    }

    static std::shared_ptr<const NOD_Interface> application()
    {
        static const std::shared_ptr<const NOD_Interface> made = [] {
            NOD_Report making;
            NOD_InterfaceBuilder lamp("lamp", "Lamp");
            lamp.add(ZEL_FLT, "power", "Power").defaultTo(1.0);
            lamp.add(ZEL_STRING, "note", "Note");
            return lamp.make(making);
        }();
        return made;
    }

    static std::string pathOf(const NOD_Node &node)
    {
        KIT_WorkBuffer buffer;
        return node.getFullPath(buffer);
    }

    /// What a user sees of all nodes.
    static std::string contents(NOD_Scene &scene)
    {
        std::string all;
        append(scene.getRoot(), all);
        return all;
    }

    unsigned next(unsigned count) { return unsigned(random()) % count; }
    NOD_Node &any() { return *nodes[next(unsigned(nodes.size()))]; }

    std::mt19937 random;
    NOD_Report report;
    NOD_Scene scene;
    std::vector<NOD_Node *> nodes;

private:
    static void append(NOD_Node &node, std::string &all)
    {
        all += pathOf(node) + " " + node.getTypeName() + "\n";
        for (const ZEL_Parm *at : NODparmsInOrder(node.getParms())) {
            const ZEL_Parm &parm = *at;
            for (int k = 0; k < parm.getVectorSize() && !parm.isMultiParm(); ++k) {
                KIT_String value;
                parm.getValue(0.5, value, k, true, BASgetSTID());
                all += std::string(parm.getToken()) + "=" + value.nonNullStr() +
                       (parm.getInstance()->getLockedFlag(k) ? "!" : "") + "\n";
            }
        }
        for (const auto &child : node.getChildren()) {
            append(*child, all);
        }
    }

    void fill()
    {
        static const char *const names[] = {"a",  "b1", "two words", "q\"uote",     "line\nfeed",
                                            "#x", "}",  "end",       "sch\xc3\xb6n"};
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        const auto thing = NOD_Interface::fromText(theSceneScript, "thing", report);
        nodes.push_back(&scene.getRoot());
        for (int i = 0; i < 12; ++i) {
            const std::shared_ptr<const NOD_Interface> kinds[] = {thing, application(), thing,
                                                                  nullptr};
            NOD_Node &parent = any();
            const std::string name = NOD_Scene::freeName(parent, names[next(9)]);
            NOD_Node *const node = parent.addChild(name.c_str(), kinds[next(4)]);
            nodes.push_back(node);
        }
        for (int i = 0; i < 250; ++i) {
            edit(any());
        }
        scene.setFrameRate(25.0 / (1 + next(3)));
        scene.setFrameRange(-double(next(9)), 100.5);
        scene.setFrame(1.0 + next(50));
        scene.getRoot().setVariable("SHOT", "1\n0");
    }

    void edit(NOD_Node &node)
    {
        ZEL_ParmList &parms = node.getParms();
        if (next(12) == 0) {
            addSpare(node);
        }
        if (next(20) == 0) {
            node.setVariable("V" + std::to_string(next(3)), "`x` \"y\"");
        }
        if (parms.getEntries() == 0) {
            return;
        }
        ZEL_Parm &parm = *parms.getParmPtr(int(next(unsigned(parms.getEntries()))));
        const int k = int(next(unsigned(std::max(parm.getVectorSize(), 1))));
        if (parm.isMultiParm()) {
            parm.setValue(0.0, double(next(4)), false, 0, ZEL_ADDKEY_PENDING,
                          ZEL_KEYSET_PREFERENCE);
            parms.evalFloat(parm.getToken(), 0, 0.0);
            return;
        }
        if (!parm.getInstance() || parm.getVectorSize() == 0) {
            return;
        }
        switch (next(7)) {
        case 0: parm.getInstance()->setLockedFlag(k, next(2) == 0); break;
        case 1:
            parms.setChannelAlias(&parm, k,
                                  KIT_StringHolder(("al" + std::to_string(next(40))).c_str()));
            break;
        case 2:
            parm.setExpression(
                0.0, next(2) ? "$F * 0.25 + 1" : ("ch(\"" + pathOf(any()) + "/n\")").c_str(),
                next(4) ? TRK_LANGUAGE_NATIVE : TRK_LANGUAGE_PYTHON, k, true, true, true);
            break;
        case 3:
            if (!parm.getType().isStringType() && parm.getType().isAnimatible()) {
                for (double time : {0.0, 0.5, 2.0}) {
                    parm.setValue(time, time * next(9) + 0.1, false, k, ZEL_ADDKEY_FORCE,
                                  ZEL_KEYSET_PREFERENCE);
                }
            }
            break;
        case 4:
            if (parm.getChannel(k)) {
                parm.revertToDefault(0.0, k, false);
                break;
            }
            [[fallthrough]];
        default: setValue(parm, k);
        }
    }

    void setValue(ZEL_Parm &parm, int k)
    {
        if (parm.getType().isStringType()) {
            const char *const texts[] = {"", "a b", "tab\there", "\"q\" \\ \n# new", "`ch(\"n\")`"};
            parm.setValue(0.0, texts[next(5)], TRK_MEANING_LITERAL, false, k, ZEL_ADDKEY_PENDING,
                          ZEL_KEYSET_PREFERENCE);
        } else if (std::string(parm.getToken()) == "data") {
            const std::string json = "{\"k\":[" + std::to_string(next(9)) + ",\"two\"]}";
            KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
            parm.getInstance()->setValue(0.0, ZEL_DataFactory::parseAscii("key_value_dict", is),
                                         false, k, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        } else {
            parm.setValue(0.0, double(random()) / 7.0e9, false, k, ZEL_ADDKEY_PENDING,
                          ZEL_KEYSET_PREFERENCE);
        }
    }

    void addSpare(NOD_Node &node)
    {
        static ZEL_Name extras[] = {{"extra0", "Extra"}, {"extra1", "Extra"}, {"more", "More"}};
        const unsigned which = next(3);
        if (next(3) == 0) {
            node.removeSpareParm(extras[which].getToken());
        } else {
            node.addSpareParm(ZEL_Template(which == 2 ? ZEL_STRING : ZEL_FLT, 1, &extras[which]));
        }
    }
};
