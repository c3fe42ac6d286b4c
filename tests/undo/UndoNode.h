/// \file UndoNode.h
/// A node with a parameter of each kind, nested blocks and spare parameters, and random edits of it.
///
/// Vocabulary: *entry* = a parameter's line of saved text.
#pragma once

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <node/ZELX_Node.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

struct UndoTemplates
{
    ZEL_Name names[10] = {{"t", "T"},   {"n", "N"},        {"on", "On"}, {"text", "Text"},
                          {"go", "Go"}, {"points", "P"},   {"pt#", "P"}, {"label#", "L"},
                          {"w#", "W"},  {"weight#_#", "W"}};
    ZEL_Name spareNames[2] = {{"spare_a", "A"}, {"spare_b", "B"}};
    ZEL_Default none{0.0};
    ZEL_Template inner[2] = {ZEL_Template(ZEL_FLT, 1, &names[9]), ZEL_Template()};
    ZEL_Template items[4] = {
        ZEL_Template(ZEL_XYZ, 3, &names[6]), ZEL_Template(ZEL_STRING, 1, &names[7]),
        ZEL_Template(ZEL_MULTITYPE_LIST, inner, 0.0, &names[8], &none), ZEL_Template()};
    ZEL_Template all[7] = {ZEL_Template(ZEL_XYZ, 3, &names[0]),
                           ZEL_Template(ZEL_INT, 2, &names[1]),
                           ZEL_Template(ZEL_TOGGLE, 1, &names[2]),
                           ZEL_Template(ZEL_STRING, 1, &names[3]),
                           ZEL_Template(ZEL_CALLBACK, 1, &names[4]),
                           ZEL_Template(ZEL_MULTITYPE_LIST, items, 0.0, &names[5], &none),
                           ZEL_Template()};
    ZEL_Template spares[3] = {ZEL_Template(ZEL_FLT, 1, &spareNames[0]),
                              ZEL_Template(ZEL_STRING, 1, &spareNames[1]), ZEL_Template()};
};

/// What a random script may do besides setting values, locks, items, aliases and overrides.
enum UndoEdits : unsigned
{
    UNDO_EDIT_CHANNELS = 1,
    UNDO_EDIT_SPARES = 2
};

struct UndoNode
{
    explicit UndoNode(unsigned seed = 1) : random(seed) { node.setSpareTemplates(ours.spares); }

    ZEL_ParmList &parms() { return node.getParms(); }
    ZEL_Parm &parm(const char *token) { return *parms().getParmPtr(token); }
    int below(int count) { return int(random() % unsigned(count)); }
    void set(const char *token, double value, int index = 0)
    {
        parms().setFloat(value, token, index, 0.0, true);
        parms().evalFloat(token, index, 0.0);
    }

    std::string text() const
    {
        std::ostringstream os;
        node.getParms().save(os, false, false);
        return os.str();
    }
    std::string channels()
    {
        std::ostringstream os;
        node.getChannels().save(os);
        return os.str();
    }
    std::string aliases()
    {
        std::ostringstream os;
        parms().saveChannelAliases(os, false);
        return os.str();
    }
    ZEL_UndoDataArray snapshot()
    {
        ZEL_UndoDataArray data;
        parms().saveUndoData(data);
        return data;
    }
    /// The messages so far are dropped: edits at random may be refused.
    static void forgetMessages() { KITgetErrorManager().clearAndDestroyErrors(); }

    /// One edit, of those that every test makes and of `more`.
    void edit(unsigned more)
    {
        ZEL_Parm &parm = *parms().getParmPtr(below(parms().getEntries()));
        const int index = below(std::max(parm.getVectorSize(), 1));
        switch (below(12)) {
        case 0: parm.setLockedFlag(index, below(3) == 0); break;
        case 1: parm.revertToDefault(0.0, index, true); break;
        case 2: editItems(); break;
        case 3: parm.setOverride(index, below(3), "over", ZEL_OVERRIDE_OVERRIDDEN); break;
        case 4: editAlias(parm, index); break;
        case 5:
        case 6:
            if (more & UNDO_EDIT_CHANNELS) {
                editChannel(parm, index);
                break;
            }
            [[fallthrough]];
        case 7:
            if ((more & UNDO_EDIT_SPARES) && below(4) == 0) {
                editSpare();
                break;
            }
            [[fallthrough]];
        default: editValue(parm, index); break;
        }
        follow();
        forgetMessages();
    }

    UndoTemplates ours;
    std::mt19937 random;
    ZELX_Node root;
    ZELX_Node &node = *root.addChild("n", ours.all, nullptr);

private:
    void editValue(ZEL_Parm &parm, int index)
    {
        if (parm.isMultiParm()) {
            parm.setValue(0.0, below(5), true, index, ZEL_ADDKEY_PENDING, true);
        } else if (parm.getType().isStringType()) {
            const char *const texts[] = {"", "a b", "\"q\"", "[x]", ")", "$F", "[ tx ]", "\\", "#"};
            parm.setValue(0.0, texts[below(int(std::size(texts)))], TRK_MEANING_LITERAL, true,
                          index, ZEL_ADDKEY_PENDING, true);
        } else {
            parm.setValue(0.0, double(below(2000)) / 7.0 - 100.0, true, index, ZEL_ADDKEY_PENDING,
                          true);
        }
    }
    void editItems()
    {
        const char *const multis[] = {"points", "w1", "w2"};
        ZEL_Parm *const multi = parms().getParmPtr(multis[below(3)]);
        const int items = multi ? multi->getMultiParmNumItems() : 0;
        const int place = parms().getParmIndex(multi);
        switch (below(3)) {
        case 0: parms().insertMultiParmItem(place, below(items + 1)); break;
        case 1: parms().removeMultiParmItem(place, below(items + 1)); break;
        default:
            if (items > 1) {
                multi->swapMultiParmItem(below(items), below(items));
            }
        }
    }
    void editAlias(ZEL_Parm &parm, int index)
    {
        const std::string alias = below(2) ? "name" + std::to_string(below(6)) : "";
        parms().setChannelAlias(&parm, index, KIT_StringHolder(alias.c_str()));
    }
    void editChannel(ZEL_Parm &parm, int index)
    {
        TRK_Channel *const channel = parm.getVectorSize() > 0 ? parm.getChannel(index) : nullptr;
        // A string's text beside a channel isn't saved as a whole.
        if (parm.isMultiParm() || parm.getType().isStringType() || !parm.getVectorSize()) {
            return;
        }
        if (channel && below(3) == 0) {
            parm.removeChannel(index);
        } else if (below(2) == 0 || !parm.getType().isFloatType()) {
            const char *const texts[] = {"1 + 2", "$F", "ch(\"tx\") * 2", "broken("};
            parm.setExpression(0.0, texts[below(4)], TRK_LANGUAGE_NATIVE, index, below(2) == 0,
                               below(2) == 0, true);
        } else {
            parm.addChannel(index);
            TRK_FullKey key;
            key.time = below(5);
            key.in.value = key.out.value = below(100);
            key.expression = KIT_StringHolder("bezier()");
            parm.getChannel(index)->putFullKey(key);
            parms().evalFloat(parm.getToken(), index, below(3));
        }
    }
    void editSpare()
    {
        const ZEL_Template &spare = ours.spares[below(2)];
        if (!node.removeSpareParm(spare.getToken())) {
            node.addSpareParm(spare);
        }
    }
    /// Brings the items up to their counts, as an application does after an edit.
    void follow()
    {
        for (int i = 0; i < parms().getEntries(); ++i) {
            if (parms().getParmPtr(i)->isMultiParm()) {
                parms().evalFloat(parms().getParmPtr(i)->getToken(), 0, 0.0);
            }
        }
    }
};

inline std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream is(text);
    for (std::string line; std::getline(is, line);) {
        lines.push_back(line);
    }
    return lines;
}
