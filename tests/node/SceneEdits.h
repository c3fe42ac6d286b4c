/// \file SceneEdits.h
/// A scene of several nodes with every kind of parameter, and a random program of edits of all kinds.
///
/// Vocabulary: *picture* = the saved scene, as text.
#pragma once

#include <NOD/NOD_Drag.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_UndoStack.h>
#include <common/ListFixture.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Color.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

inline std::string pathOf(const NOD_Node &node)
{
    KIT_WorkBuffer buffer;
    return node.getFullPath(buffer);
}

/// The saved scene, after all values were read: then all items are there, and what is saved beside a
/// pending value is its present one.
inline std::string pictureOf(NOD_Scene &scene)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID()); // expressions may refer to nothing
    const auto readAll = [](NOD_Node &node, const auto &self) -> void {
        ZEL_ParmList &list = node.getParms();
        for (int i = 0; i < list.getEntries(); ++i) {
            const ZEL_Parm &parm = *list.getParmPtr(i);
            for (int k = 0; k < parm.getVectorSize(); ++k) {
                KIT_String value;
                parm.getValue(0.0, value, k, true, BASgetSTID());
            }
        }
        for (const auto &child : node.getChildren()) {
            self(*child, self);
        }
    };
    readAll(scene.getRoot(), readAll);
    NOD_Report report;
    std::ostringstream os;
    NOD_SceneFile::save(scene, os, NOD_SaveOptions(), report);
    return os.str() + report.asText();
}

constexpr const char *theItemScript = R"({ name item
  parm { name v type float }
  parm { name t type vector3 size 3 range { -10! 10 } }
  parm { name n type integer default { 3 } }
  parm { name on type toggle }
  parm { name mode type ordinal menu { area Area point Point spot Spot } default { point } }
  parm { name text type string default { "a text" } }
  parm { name words type string }
  parm { name dict type keyvaluedict }
  parm { name go type button }
  multiparm { name points default 2
    parm { name pt# type vector3 size 3 }
    parm { name label# type string default { "item #" } }
    multiparm { name w# default 1 parm { name weight#_# type float default { 1 } } } }
  parm { name ramp type ramp_flt default { 2 } } })";

constexpr const char *theOtherScript = R"({ name other
  parm { name v type float default { 7 } }
  parm { name t type vector3 size 3 }
  parm { name text type string default { "another" } }
  parm { name mode type ordinal menu { point Point area Area } }
  parm { name extra type float default { 0.5 } }
  multiparm { name points parm { name pt# type vector3 size 3 } } })";

constexpr const char *theSpareScript = R"({ name spares
  parm { name s_float type float default { 2.5 } }
  parm { name s_text type string default { "spare" } }
  multiparm { name s_block default 1 parm { name s_item# type float } } })";

struct SceneEdits
{
    explicit SceneEdits(unsigned seed) : random(seed)
    {
        item = NOD_Interface::fromText(theItemScript, "item", report);
        other = NOD_Interface::fromText(theOtherScript, "other", report);
        spares = NOD_Interface::fromText(theSpareScript, "spares", report);
        scene.getUndo().setLimits(1000000, std::numeric_limits<std::int64_t>::max());
        for (const char *path : {"/a", "/b", "/a/c"}) {
            scene.add(path, item, report);
        }
        scene.getUndo().clear();
    }

    int below(int count) { return int(random() % unsigned(std::max(count, 1))); }
    NOD_UndoStack &undo() { return scene.getUndo(); }
    std::vector<NOD_Node *> nodes()
    {
        std::vector<NOD_Node *> all;
        const auto add = [&](NOD_Node &node, const auto &self) -> void {
            for (const auto &child : node.getChildren()) {
                all.push_back(child.get());
                self(*child, self);
            }
        };
        add(scene.getRoot(), add);
        return all;
    }
    NOD_Node &anyNode()
    {
        const std::vector<NOD_Node *> all = nodes();
        return *all[std::size_t(below(int(all.size())))];
    }
    NOD_Node &anyParent() { return below(3) ? anyNode() : scene.getRoot(); }
    ZEL_Parm &anyParm(NOD_Node &node)
    {
        return *node.getParms().getParmPtr(below(node.getParms().getEntries()));
    }
    double number()
    {
        switch (below(8)) {
        case 0: return -0.0;
        case 1: return 1.0 / 3.0;
        case 2: return std::numeric_limits<double>::quiet_NaN();
        default: return double(below(4000)) / 7.0 - 100.0;
        }
    }
    /// Any that is said to be edited: a component's name, and no block.
    std::string anyName(NOD_Node &node)
    {
        for (int tries = 0; tries < 20; ++tries) {
            const ZEL_Parm &parm = anyParm(node);
            if (!parm.isMultiParm() && parm.getVectorSize() > 0) {
                return parm.getChannelToken(below(parm.getVectorSize())).nonNullStr();
            }
        }
        return "v";
    }
    std::string anyBlock(NOD_Node &node)
    {
        for (int tries = 0; tries < 40; ++tries) {
            if (anyParm(node).isMultiParm()) {
                const ZEL_Parm &parm = anyParm(node);
                if (parm.isMultiParm()) {
                    return parm.getToken();
                }
            }
        }
        return "points";
    }

    // ------------------------------------------------------------------ //
    // Edits of one node
    // ------------------------------------------------------------------ //
    void editValue(NOD_Edit &edit, NOD_Node &node)
    {
        const std::string name = anyName(node);
        const char *const texts[] = {"",      "a b",
                                     "\"q\"", "[x]",
                                     "point", "area",
                                     "$F",    "two words of text",
                                     "../b",  "`chs(\"../b/text\")`",
                                     "\\",    "1"};
        const ZEL_SetOptions options =
            below(3) ? ZEL_SetOptions(ZEL_Keys::AS_IT_IS)
                     : ZEL_SetOptions(ZEL_Keys::KEY, ZEL_Expressions::REPLACE);
        if (!edit.set(node, name, texts[below(int(std::size(texts)))], options) &&
            !(below(2) && edit.set(node, name, below(5), options))) {
            edit.set(node, name, number(), options);
        }
        if (below(4) == 0) {
            edit.set(node, "t", {number(), number(), number()}, options);
        }
    }
    void editAnimation(NOD_Edit &edit, NOD_Node &node)
    {
        const std::string name = anyName(node);
        const double time = below(4);
        const std::string path = pathOf(anyNode());
        switch (below(7)) {
        case 0: edit.removeKey(node, name, time); break;
        case 1: edit.moveKey(node, name, time, below(9) / 2.0); break;
        case 2: edit.removeChannel(node, name); break;
        case 3: edit.expression(node, name, "ch('" + path + "/v') + 0 * ch(\"n\")"); break;
        case 4: edit.expression(node, name, below(2) ? "$F * 2" : "broken("); break;
        default:
            if (!edit.key(node, name, time, number())) {
                edit.key(node, name, time, std::string_view("key \"text\""));
            }
        }
    }
    void editMarks(NOD_Edit &edit, NOD_Node &node)
    {
        const std::string name = anyName(node);
        switch (below(3)) {
        case 0: edit.lock(node, name, below(3) == 0); break;
        case 1: edit.revert(node, name); break;
        default: edit.alias(node, name, below(2) ? "name" + std::to_string(below(5)) : "");
        }
    }
    void editItems(NOD_Edit &edit, NOD_Node &node)
    {
        const std::string block = anyBlock(node);
        switch (below(4)) {
        case 0: edit.insertItem(node, block, below(4)); break;
        case 1: edit.removeItem(node, block, below(4)); break;
        case 2: edit.moveItem(node, block, below(4), below(4)); break;
        default: edit.set(node, block, below(4));
        }
    }
    /// What the library below does when it is asked directly.
    void editByHand(NOD_Edit &edit, NOD_Node &node)
    {
        ZEL_Parm &parm = anyParm(node);
        const int index = below(parm.getVectorSize());
        if (below(3) == 0) {
            edit.change(node);
        } else {
            edit.change(node, parm);
        }
        if (parm.getVectorSize() == 0 || parm.isMultiParm()) {
            return;
        }
        if (parm.getType().isDataType()) {
            auto *const map = new KIT_JSONValueMap; // the item shares it
            map->insert(KIT_StringHolder("key"), KIT_JSONValue(std::int64_t(below(9))));
            parm.setValue(0.0, std::make_shared<ZEL_KeyValueDictDataItem>(map), true, index,
                          ZEL_ADDKEY_PENDING, true);
            return;
        }
        switch (below(6)) {
        case 0:
            parm.setChannelCustomColor(index, KIT_Color(0.1f * float(below(10)), 0.5f, 1.0f));
            break;
        case 1: parm.resetChannelCustomColor(index); break;
        case 2: parm.setExpressionState(below(2) == 0); break;
        case 3: parm.addChannel(index); break;
        case 4: parm.removeChannel(index); break;
        default:
            if (TRK_Channel *const channel = parm.getChannel(index)) {
                TRK_FullKey key;
                key.time = number() > 0.0 ? 1.0 / 3.0 : 2.0;
                key.in = {number(), number(), 0.1};
                key.out = {number(), number(), 1e-300};
                channel->putFullKey(key);
                channel->setScope(below(2) == 0);
            }
        }
    }
    void editSpares(NOD_Node &node)
    {
        const ZEL_Template *const templates = spares->getTemplates();
        const int one = below(3);
        switch (below(6)) {
        case 0: node.setSpareParms(below(2) ? spares : nullptr); break;
        case 1: node.renewParms(below(2) ? item : other); break;
        case 2: loadChannels(node); break;
        case 3: node.removeSpareParm(templates[one].getToken()); break;
        default: node.addSpareParm(templates[one]);
        }
    }
    void loadChannels(NOD_Node &node)
    {
        const std::string text =
            "channels 1.0 { language " + std::string(below(2) ? "python" : "native") +
            " channel tx { default 1 pending 0 locked key 0 1 linear() } channel stray" +
            std::to_string(below(3)) + " { alias \"s\" default " + std::to_string(below(9)) +
            " } }";
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        node.loadChannels(is);
    }

    // ------------------------------------------------------------------ //
    // Edits of the scene
    // ------------------------------------------------------------------ //
    void editTree()
    {
        constexpr int theMost = 7;
        NOD_Node &node = anyNode();
        NOD_Node &parent = anyParent();
        const std::string name = std::string(1, char('a' + below(6)));
        const bool roomFlag = int(nodes().size()) < theMost;
        switch (below(6)) {
        case 0: scene.rename(node, name, report); break;
        case 1: scene.move(node, parent, report); break;
        case 2:
            if (roomFlag) {
                scene.copy(node, parent, NOD_Scene::freeName(parent, name), report);
            }
            break;
        case 3: scene.remove(node, report); break;
        default:
            if (roomFlag) {
                scene.add((parent.getParent() ? pathOf(parent) : "") + "/" + name,
                          below(4) ? item : other, report);
            }
        }
        report.clear();
    }
    void editScene()
    {
        switch (below(4)) {
        case 0: scene.setFrameRate(24.0 + below(3)); break;
        case 1: scene.setFrameRange(below(3), 100.0 + below(3)); break;
        default: anyParent().setVariable(below(2) ? "JOB" : "SHOT", std::to_string(below(4)));
        }
    }
    void edit()
    {
        if (nodes().empty()) {
            scene.add("/new", item, report);
            return;
        }
        NOD_Node &node = anyNode();
        const int kind = below(40);
        what += " " + pathOf(node) + ":" + std::to_string(kind);
        if (kind < 34) {
            NOD_Edit edit(scene, "edit");
            using Edit = void (SceneEdits::*)(NOD_Edit &, NOD_Node &);
            constexpr Edit theEdits[] = {&SceneEdits::editValue, &SceneEdits::editAnimation,
                                         &SceneEdits::editMarks, &SceneEdits::editItems,
                                         &SceneEdits::editByHand};
            (this->*theEdits[std::size_t(kind) % std::size(theEdits)])(edit, node);
        } else if (kind < 36) {
            editSpares(node);
        } else if (kind < 39) {
            editTree();
        } else {
            editScene();
        }
        takeMessages(); // edits at random may be refused
    }
    /// One edit, or a block of some, which may be cancelled or be left by an exception.
    void step()
    {
        const int kind = below(12);
        what = kind == 0 ? "block" : kind == 1 ? "cancelled" : "";
        if (kind > 1) {
            edit();
            return;
        }
        try {
            NOD_Drag drag(scene, "block");
            for (int i = below(5); i >= 0; --i) {
                edit();
            }
            if (kind == 0 && below(3) == 0) {
                throw std::runtime_error("left");
            }
            if (kind == 1) {
                drag.cancel();
            }
        } catch (const std::runtime_error &) {
            // What was done is a step.
        }
    }

    std::mt19937 random;
    std::string what; ///< the last step has edited: nodes and kinds of edits
    NOD_Report report;
    std::shared_ptr<const NOD_Interface> item, other, spares;
    NOD_Scene scene;
};
