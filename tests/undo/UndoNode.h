/// \file UndoNode.h
/// A node with a parameter of each kind, nested blocks and spare parameters, and random edits of it.
///
/// Vocabulary: *entry* = a parameter's line of saved text.
#pragma once

#include <NOD/NOD_Node.h>
#include <TRK/TRK_FullKey.h>
#include <multi/MultiList.h>
#include <persistence/StreamList.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

struct UndoTemplates
{
    UndoTemplates()
    {
        inner.add(ZEL_FLT, 1, "weight#_#");
        items.add(ZEL_XYZ, 3, "pt#");
        items.add(ZEL_STRING, 1, "label#");
        items.addMulti(ZEL_MULTITYPE_LIST, "w#", inner.templates(), 1.0);
        items.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r#", nullptr, 3.0);
        all.add(ZEL_XYZ, 3, "t");
        all.add(ZEL_INT, 2, "n");
        all.add(ZEL_TOGGLE, 1, "on");
        all.add(ZEL_STRING, 1, "text");
        all.add(ZEL_CALLBACK, 1, "go");
        all.addMulti(ZEL_MULTITYPE_LIST, "points", items.templates());
        spares.add(ZEL_FLT, 1, "spare_a");
        spares.add(ZEL_STRING, 1, "spare_b");
    }
    Block inner, items, all, spares;
};

/// What a random script may do besides setting values, locks, items, aliases and overrides.
enum UndoEdits : unsigned
{
    UNDO_EDIT_CHANNELS = 1,
    UNDO_EDIT_SPARES = 2
};

struct UndoNode
{
    explicit UndoNode(unsigned seed = 1) : random(seed)
    {
        node.setSpareTemplates(ours.spares.templates());
    }

    ZEL_ParmList &parms() { return node.getParms(); }
    ZEL_Parm &parm(const char *token) { return *parms().getParmPtr(token); }
    int below(int count) { return int(random() % unsigned(count)); }
    void set(const char *token, double value, int index = 0)
    {
        parms().setFloat(value, token, index, 0.0, true);
        parms().evalFloat(token, index, 0.0);
    }

    std::string text() const { return savedList(node.getParms()); }
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
        // Edits at random may be refused.
        takeMessages();
    }

    UndoTemplates ours;
    std::mt19937 random;
    NOD_Node root;
    NOD_Node &node = *root.addChild("n", ours.all.templates(), nullptr);

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
        const char *const multis[] = {"points", "w1", "w2", "r1", "r2"};
        ZEL_Parm *const multi = parms().getParmPtr(multis[below(5)]);
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
        const ZEL_Template &spare = ours.spares.templates()[below(2)];
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
