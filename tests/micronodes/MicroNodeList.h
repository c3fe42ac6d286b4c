/// \file MicroNodeList.h
/// A list of vectors "p0", "p1", ... with types and sizes as a test wants them, and names for graph
/// nodes.
#pragma once

#include <common/ListFixture.h>

#include <KIT/KIT_StringArray.h>
#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_ConstMicroNode.h>
#include <ZEL/ZEL_ParmMicroNode.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

struct MicroNodeList
{
    explicit MicroNodeList(const std::vector<std::pair<ZEL_Type, int>> &kinds,
                           ZEL_ParmOwner *owner = nullptr)
    {
        for (std::size_t i = 0; i < kinds.size(); ++i) {
            const std::string token = "p" + std::to_string(i);
            descriptions.push_back(
                std::make_unique<OwnedTemplate>(kinds[i].first, kinds[i].second, token.c_str()));
        }
        templates.reset(new ZEL_Template[kinds.size() + 1]);
        for (std::size_t i = 0; i < kinds.size(); ++i) {
            templates[i] = descriptions[i]->entry;
        }
        list.reset(new ZEL_ParmList(templates.get(), nullptr, owner, nullptr, "", false));
        for (int i = 0; i < list->getEntries(); ++i) {
            instance(i).propagateDirty(nullptr, nullptr, false, nullptr);
        }
    }

    ZEL_Instance &instance(int parm) { return *list->getParmPtr(parm)->getInstance(); }

    std::vector<std::unique_ptr<OwnedTemplate>> descriptions;
    std::unique_ptr<ZEL_Template[]> templates;
    std::unique_ptr<ZEL_ParmList> list;
};

/// "p0:1" for a component's node, "const p0:1" for its companion, "other" for the rest.
inline std::string nodeName(const LNK_MicroNode &node)
{
    if (const auto *companion = dynamic_cast<const ZEL_ConstMicroNode *>(&node)) {
        return "const " + nodeName(*companion->source());
    }
    const auto *own = dynamic_cast<const ZEL_ParmMicroNode *>(&node);
    return own ? own->parm()->getToken() + (":" + std::to_string(own->subIndex())) : "other";
}

inline std::string nodeNames(const KIT_Array<LNK_MicroNode *> &nodes)
{
    std::string names;
    for (const LNK_MicroNode *node : nodes) {
        names += (names.empty() ? "" : " ") + nodeName(*node);
    }
    return names;
}

inline std::string inputNames(const LNK_MicroNode &node)
{
    KIT_Array<LNK_MicroNode *> inputs;
    node.getInputs(inputs);
    return nodeNames(inputs);
}

inline std::string joined(const KIT_StringArray &texts)
{
    KIT_String text;
    texts.join(" ", text);
    return text.toStdString();
}
