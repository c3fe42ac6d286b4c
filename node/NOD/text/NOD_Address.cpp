#include <NOD/NOD_Address.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace
{

using Nodes = std::vector<NOD_Node *>;
using Places = std::vector<NOD_Place>;

/// The parts of an address.
struct Parts
{
    std::string path; ///< with the "/" at its end; "" for none
    std::string name;
    int index = -1; ///< of a component; -1 for all
};

/// False for an index that is none.
bool split(const std::string &address, Parts &parts)
{
    const std::size_t slash = address.rfind('/');
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    parts.path = address.substr(0, start);
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon < start) {
        parts.name = address.substr(start);
        return true;
    }
    parts.name = address.substr(start, colon - start);
    const std::string index = address.substr(colon + 1);
    if (!BASisInt(index.c_str())) {
        return false;
    }
    constexpr std::int64_t most = std::numeric_limits<int>::max();
    const std::int64_t number = BASparseInteger(index.c_str());
    parts.index = int(std::min(number, most));
    return number >= 0;
}

/// Whether a text has anything that a pattern has a meaning for.
bool isPattern(const std::string &text)
{
    return text.find_first_of("*?[") != std::string::npos;
}

bool matches(const char *text, const std::string &pattern)
{
    return KIT_String::matchPattern(text, pattern.c_str());
}

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

void step(NOD_Node &from, const std::string &name, Nodes &out)
{
    if (name == ".") {
        out.push_back(&from);
    } else if (name == "..") {
        if (from.getParent()) {
            out.push_back(from.getParent());
        }
    } else if (NOD_Node *const child = from.getChild(name)) {
        out.push_back(child);
    } else if (isPattern(name)) {
        for (const auto &each : from.getChildren()) {
            if (matches(each->getName().c_str(), name)) {
                out.push_back(each.get());
            }
        }
    }
}

Nodes findNodes(NOD_Node &base, const std::string &path)
{
    Nodes nodes{path[0] == '/' ? base.findNode("/") : &base};
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string name = path.substr(at, end - at);
        at = end + 1;
        if (name.empty()) {
            continue;
        }
        Nodes next;
        for (NOD_Node *const node : nodes) {
            step(*node, name, next);
        }
        // Two ways up lead to one node.
        nodes.clear();
        for (NOD_Node *const node : next) {
            if (std::find(nodes.begin(), nodes.end(), node) == nodes.end()) {
                nodes.push_back(node);
            }
        }
    }
    return nodes;
}

// ---------------------------------------------------------------------- //
// Parameters
// ---------------------------------------------------------------------- //

bool hasValue(const ZEL_Parm &parm)
{
    // Without a template there are no components.
    return parm.getInstance() && parm.getVectorSize() > 0 && !parm.getTemplatePtr()->isSwitcher() &&
           !parm.isCallbackType();
}

/// The components of a parameter, or the one that is asked for; false if there is no such one.
bool add(NOD_Node &node, const ZEL_Parm &parm, int index, Places &out)
{
    const int size = parm.getVectorSize();
    if (index >= size) {
        return false;
    }
    out.push_back({&node, KIT_StringHolder(parm.getToken()), index < 0 ? 0 : index,
                   index < 0 ? size : index + 1});
    return true;
}

/// By its name as it is: null if there is none. `index` is that of a channel's component.
ZEL_Parm *findPlain(NOD_Node &node, const std::string &name, int &index)
{
    ZEL_ParmList &parms = node.getParms();
    ZEL_Parm *parm = parms.getParmPtr(name.c_str());
    if (!parm && index < 0) {
        parm = parms.getParmPtrFromChannel(name.c_str(), &index);
    }
    if (!parm && index < 0) {
        // The list's look-up doesn't have aliases that came with a channel.
        const TRK_Channel *const channel = node.getChannels().findChannelOrAlias(name.c_str());
        parm = channel ? parms.getParmPtrFromChannel(channel->getName(), &index) : nullptr;
    }
    return parm;
}

Places findMatching(NOD_Node &node, const Parts &parts)
{
    Places out;
    ZEL_ParmList &parms = node.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        if (hasValue(parm) && matches(parm.getToken(), parts.name)) {
            add(node, parm, parts.index, out);
        }
    }
    for (int i = 0; out.empty() && parts.index < 0 && i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int k = 0; hasValue(parm) && k < parm.getVectorSize(); ++k) {
            if (matches(parm.getChannelToken(k).nonNullStr(), parts.name)) {
                add(node, parm, k, out);
            }
        }
    }
    return out;
}

std::string noParameter(const std::string &name)
{
    return "there is no parameter " + name;
}

/// What the name is in one node; or, in `fault`, why it is nothing.
Places findIn(NOD_Node &node, const Parts &parts, std::string &fault)
{
    Places out;
    int index = parts.index;
    ZEL_Parm *const parm = findPlain(node, parts.name, index);
    if (!parm) {
        if (isPattern(parts.name)) {
            out = findMatching(node, parts);
        }
        if (out.empty()) {
            fault = noParameter(parts.name);
        }
    } else if (!parm->getInstance()) {
        fault = parts.name + " is a base parameter, which has no value";
    } else if (!add(node, *parm, index, out)) {
        fault = parts.name + " has no component " + std::to_string(index);
    }
    return out;
}

/// With the name that may have been meant, where it is the name of a parameter that isn't there.
void tellFault(const Nodes &nodes, const Parts &parts, const std::string &fault, NOD_Report &report)
{
    NOD_Message message{KIT_ERROR_ABORT, {}, 0, {}, fault, {}, 0};
    message.subject = parts.path.substr(0, std::max(parts.path.size(), std::size_t(1)) - 1);
    std::vector<std::string> names;
    for (NOD_Node *const node : nodes) {
        for (const NOD_Place &place : NODallPlaces(*node)) {
            names.emplace_back(place.token.nonNullStr());
            const ZEL_Parm *const parm = place.find();
            for (int i = place.first; parm && i < place.end; ++i) {
                names.emplace_back(parm->getChannelToken(i).nonNullStr());
            }
        }
    }
    auto detail = std::make_shared<KIT_MessageDetail>();
    if (fault == noParameter(parts.name) && KITaddNearest(*detail, parts.name, names)) {
        message.detail = std::move(detail);
    }
    report.add(std::move(message));
}

} // namespace

ZEL_Parm *NOD_Place::find() const
{
    return node->getParms().getParmPtr(token);
}

std::vector<NOD_Place> NODfindPlaces(NOD_Node &base, const std::string &address, NOD_Report &report)
{
    Parts parts;
    if (!split(address, parts)) {
        report.error("", "the index of " + address + " isn't a number from 0 on");
        return {};
    }
    Places out;
    std::string fault;
    const Nodes nodes = parts.path.empty() ? Nodes{&base} : findNodes(base, parts.path);
    for (NOD_Node *const node : nodes) {
        const Places found = findIn(*node, parts, fault);
        out.insert(out.end(), found.begin(), found.end());
    }
    if (nodes.empty()) {
        report.error("", "there is no node " + parts.path.substr(0, parts.path.size() - 1));
    } else if (out.empty()) {
        tellFault(nodes, parts, fault, report);
    }
    return out;
}

std::vector<NOD_Place> NODallPlaces(NOD_Node &node)
{
    Places out;
    ZEL_ParmList &parms = node.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        if (hasValue(*parms.getParmPtr(i))) {
            add(node, *parms.getParmPtr(i), -1, out);
        }
    }
    return out;
}
