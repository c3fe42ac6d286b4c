#include <NOD/undo/NOD_NodePartsPrivate.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/undo/NOD_ParmMemoryPrivate.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <unordered_set>
#include <vector>

namespace
{

/// Those that no parameter is linked to, in the order of the collection.
std::vector<TRK_Channel *> unlinked(NOD_Node &node)
{
    std::unordered_set<const TRK_Channel *> linked;
    const ZEL_ParmList &list = node.getParms();
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm *const parm = list.getParmPtr(i);
        for (int k = 0; parm && k < parm->getVectorSize(); ++k) {
            linked.insert(parm->getChannel(k));
        }
    }
    std::vector<TRK_Channel *> others;
    for (int i = 0; i < node.getChannels().entries(); ++i) {
        TRK_Channel *const channel = node.getChannels().getChannel(i);
        if (linked.count(channel) == 0) {
            others.push_back(channel);
        }
    }
    return others;
}

} // namespace

NOD_ChannelTaker &NOD_NodeParts::channelTaker(NOD_Node &node)
{
    if (!node.myChannelTaker) {
        node.myChannelTaker = std::make_unique<NOD_ChannelTaker>();
    }
    return *node.myChannelTaker;
}

NOD_NodeParts::Structure NOD_NodeParts::structure(const NOD_Node &node)
{
    return std::make_shared<StructureParts>(StructureParts{
        node.myInterface, node.myPlainTemplates, node.myPlainType, node.mySpares.getSet()});
}

NOD_NodeParts::Texts NOD_NodeParts::texts(const NOD_Node &node)
{
    return std::make_shared<TextParts>(TextParts{node.myVariables, node.myKeptSections});
}

NOD_NodeParts::OtherChannels NOD_NodeParts::otherChannels(NOD_Node &node)
{
    auto others = std::make_shared<ChannelParts>();
    others->language = node.myChannels.getExprLanguage();
    for (const TRK_Channel *channel : unlinked(node)) {
        others->channels.push_back(channelTaker(node).take(*channel));
    }
    return others;
}

void NOD_NodeParts::restore(NOD_Node &node, const StructureParts &structure)
{
    if (node.myInterface != structure.interface ||
        node.myPlainTemplates != structure.plainTemplates ||
        node.myPlainType != structure.plainType) {
        node.renewAs(structure.interface, structure.plainTemplates, structure.plainType);
    }
    if (node.mySpares.getSet() != structure.spares) {
        const NOD_Batch batch(node);
        node.mySpares.setSet(*node.myParms, structure.spares);
        node.structureChanged();
    }
}

void NOD_NodeParts::restore(NOD_Node &node, const Texts &texts)
{
    using Values = std::map<std::string, std::string>;
    Values values = texts->variables;
    NOD_Node::Sections kept = texts->kept;
    node.textsChanged();
    node.myVariables.swap(values);
    node.myKeptSections.swap(kept);
    NOD_Graph *const graph = node.getGraph();
    for (const auto &[name, value] : values) {
        const auto other = texts->variables.find(name);
        if (graph && (other == texts->variables.end() || other->second != value)) {
            graph->variableChanged(node, name);
        }
    }
    for (const auto &[name, value] : texts->variables) {
        if (graph && values.count(name) == 0) {
            graph->variableChanged(node, name);
        }
    }
}

void NOD_NodeParts::restore(NOD_Node &node, const OtherChannels &channels)
{
    TRK_Collection &collection = node.myChannels;
    collection.setExprLanguage(channels->language);
    std::unordered_set<KIT_StringHolder, KIT_StringRefHash> names;
    for (const NOD_ChannelMemory &kept : channels->channels) {
        names.insert(kept.name);
    }
    for (TRK_Channel *channel : unlinked(node)) {
        if (names.count(channel->getName()) == 0) {
            collection.deleteChannel(channel);
        }
    }
    for (const NOD_ChannelMemory &kept : channels->channels) {
        if (TRK_Channel *const channel = collection.addChannel(kept.name)) {
            channelTaker(node).restore(kept, *channel);
            collection.setChannelAlias(channel, kept.alias);
        }
    }
    if (NOD_Graph *const graph = node.getGraph()) {
        graph->channelsChanged(node);
    }
}

bool NOD_NodeParts::isSame(const OtherChannels &a, const OtherChannels &b)
{
    return a && b ? *a == *b : a == b;
}

std::int64_t NOD_NodeParts::getMemoryUsage(const Structure &structure, const Texts &texts,
                                           const OtherChannels &channels)
{
    std::int64_t bytes =
        channels ? std::int64_t(sizeof(*channels)) + NODmemoryOf(channels->channels) : 0;
    if (structure) {
        bytes += std::int64_t(sizeof(*structure) + structure->plainType.capacity());
        bytes += structure->spares
                     ? std::int64_t(structure->spares->templates.size() * sizeof(ZEL_Template))
                     : 0;
    }
    constexpr std::size_t link = 4 * sizeof(void *);
    const auto add = [&](const std::string &name, const std::string &text) {
        bytes +=
            std::int64_t(sizeof(name) + sizeof(text) + name.capacity() + text.capacity() + link);
    };
    if (texts) {
        for (const auto &[name, value] : texts->variables) {
            add(name, value);
        }
        for (const auto &[name, text] : texts->kept) {
            add(name, text);
        }
    }
    return bytes;
}
