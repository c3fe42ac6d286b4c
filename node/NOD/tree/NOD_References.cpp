#include <NOD/NOD_References.h>

#include <NOD/NOD_Node.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Type.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace
{

/// From and to, in place of paths.
using Renames = std::vector<std::pair<std::string, std::string>>;

/// From the root down.
std::vector<const NOD_Node *> lineOf(const NOD_Node &node)
{
    std::vector<const NOD_Node *> line;
    for (const NOD_Node *at = &node; at; at = at->getParent()) {
        line.push_back(at);
    }
    std::reverse(line.begin(), line.end());
    return line;
}

std::string relativePath(const NOD_Node &from, const NOD_Node &to)
{
    const std::vector<const NOD_Node *> a = lineOf(from);
    const std::vector<const NOD_Node *> b = lineOf(to);
    const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    std::string path;
    for (auto up = apart.first; up != a.end(); ++up) {
        path += path.empty() ? ".." : "/..";
    }
    for (auto down = apart.second; down != b.end(); ++down) {
        path += (path.empty() ? "" : "/") + (*down)->getName();
    }
    return path.empty() ? "." : path;
}

/// The path to a target in the style of another one.
std::string pathLike(const std::string &style, const NOD_Node &from, const NOD_Node &target)
{
    const bool slashFlag = style.size() > 1 && style.back() == '/';
    return (style[0] == '/' ? NODpathOf(target) : relativePath(from, target)) +
           (slashFlag ? "/" : "");
}

/// Replaces one path after the other; whether any was there.
bool replace(KIT_String &text, const Renames &renames)
{
    bool changed = false;
    for (const auto &[from, to] : renames) {
        changed |= TRK_Manager::changeStringOpRef(text, from.c_str(), to.c_str()) > 0;
    }
    return changed;
}

bool replaceInChannel(TRK_Channel &channel, const Renames &renames)
{
    bool changed = false;
    for (int i = 0; i < channel.getNSegments(); ++i) {
        TRK_Segment &segment = *channel.getSegment(i);
        KIT_String text(segment.getExpression(), true);
        if (!segment.isInterpolated() && replace(text, renames) &&
            text != segment.getExpression()) {
            segment.changeExpression(text.c_str(), segment.getExprLanguage());
            changed = true;
        }
    }
    KIT_String text(channel.getDefaultString().nonNullStr(), true);
    if (text.isstring() && replace(text, renames) && text != channel.getDefaultString()) {
        channel.setDefaultString(text.c_str(), channel.getDefaultLanguage());
        changed = true;
    }
    if (changed) {
        constexpr bool reserved = false;
        channel.setChanged(true, reserved);
    }
    return changed;
}

KIT_String rawText(const ZEL_Parm &parm, int component)
{
    constexpr bool expand = false;
    KIT_String text;
    parm.getValue(0.0, text, component, expand, BASgetSTID());
    return text;
}

/// The literal texts of components without a channel.
bool replaceInTexts(ZEL_Parm &parm, const Renames &renames)
{
    std::vector<KIT_String> before;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        before.push_back(rawText(parm, k));
    }
    for (const auto &[from, to] : renames) {
        parm.changeOpRef(from.c_str(), to.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                         BASgetSTID());
    }
    bool changed = false;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        changed |= before[std::size_t(k)] != rawText(parm, k);
    }
    return changed;
}

bool replaceInParm(ZEL_Parm &parm, const Renames &renames)
{
    bool changed = parm.getType().isStringType() && replaceInTexts(parm, renames);
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (TRK_Channel *const channel = parm.getChannel(k)) {
            changed |= replaceInChannel(*channel, renames);
        }
    }
    return changed;
}

/// No path of people's contains it. One that ends in a slash keeps it.
std::string placeholder(std::size_t number, const std::string &path)
{
    return "/\x01" + std::to_string(number) + "\x01" + (path.back() == '/' ? "/" : "");
}

} // namespace

// ---------------------------------------------------------------------- //
// Before
// ---------------------------------------------------------------------- //

NOD_References::NOD_References(NOD_Node &root)
    : NOD_References(
          root, [](NOD_Node &node, const std::string &path) { return node.findNode(path.c_str()); })
{}

NOD_References::NOD_References(NOD_Node &root, Resolve resolve) : myResolve(std::move(resolve))
{
    takeTree(root);
}

NOD_References::NOD_References(const std::vector<NOD_Node *> &nodes)
    : NOD_References(nodes, [](NOD_Node &node, const std::string &path) {
          return node.findNode(path.c_str());
      })
{}

NOD_References::NOD_References(const std::vector<NOD_Node *> &nodes, Resolve resolve)
    : myResolve(std::move(resolve))
{
    for (NOD_Node *node : nodes) {
        take(*node);
    }
}

void NOD_References::takeTree(NOD_Node &root)
{
    NODforEachNode(root, [this](NOD_Node &node) { take(node); });
}

void NOD_References::take(NOD_Node &node)
{
    NodePaths all;
    NODforEachParm(node, [&](int, ZEL_Parm &parm) {
        Paths paths;
        takeParm(node, parm, paths);
        if (!paths.empty()) {
            all.push_back({KIT_StringHolder(parm.getTokenRef()), std::move(paths)});
        }
    });
    if (!all.empty()) {
        myOrder.push_back(&node);
        myPaths[&node] = std::move(all);
    }
}

void NOD_References::takeParm(NOD_Node &node, ZEL_Parm &parm, Paths &paths)
{
    const auto add = [&](std::string_view text) {
        const std::string path(text);
        const auto same = [&](const Reference &other) { return other.path == path; };
        if (std::none_of(paths.begin(), paths.end(), same)) {
            paths.push_back({path, myResolve(node, path)});
        }
    };
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        const TRK_Channel *const channel = parm.getChannel(k);
        for (int i = 0; channel && i < channel->getNSegments(); ++i) {
            if (!channel->getSegment(i)->isInterpolated()) {
                TRK_Manager::forEachExpressionPath(channel->getSegment(i)->getExpression(), add);
            }
        }
        if (channel) {
            TRK_Manager::forEachExpressionPath(channel->getDefaultString().nonNullStr(), add);
        } else if (parm.getType().isStringType()) {
            TRK_Manager::forEachTextPath(rawText(parm, k).nonNullStr(), add);
        }
    }
}

// ---------------------------------------------------------------------- //
// What happens to nodes
// ---------------------------------------------------------------------- //

int NOD_References::forget(NOD_Node &node)
{
    const auto isGone = [&](const NOD_Node *at) {
        for (; at && at != &node; at = at->getParent()) {
        }
        return at != nullptr;
    };
    const auto kept = [&](NOD_Node *from) { return !isGone(from); };
    myOrder.erase(std::stable_partition(myOrder.begin(), myOrder.end(), kept), myOrder.end());
    int lost = 0;
    for (auto at = myPaths.begin(); at != myPaths.end();) {
        if (isGone(at->first)) {
            at = myPaths.erase(at);
            continue;
        }
        std::set<std::string> paths;
        for (ParmPaths &parm : at->second) {
            for (Reference &reference : parm.paths) {
                if (isGone(reference.target)) {
                    reference.target = nullptr;
                    paths.insert(reference.path);
                }
            }
        }
        lost += int(paths.size());
        ++at;
    }
    return lost;
}

void NOD_References::copied(const std::unordered_map<NOD_Node *, NOD_Node *> &copies)
{
    const std::vector<NOD_Node *> originals = myOrder;
    for (NOD_Node *original : originals) {
        const auto copy = copies.find(original);
        if (copy == copies.end()) {
            continue;
        }
        NodePaths all = myPaths[original];
        for (ParmPaths &parm : all) {
            for (Reference &reference : parm.paths) {
                const auto target = copies.find(reference.target);
                reference.target = target == copies.end() ? reference.target : target->second;
            }
        }
        myOrder.push_back(copy->second);
        myPaths[copy->second] = std::move(all);
    }
}

// ---------------------------------------------------------------------- //
// After
// ---------------------------------------------------------------------- //

std::vector<NOD_References::Change> NOD_References::rewrite(const Announce &announce)
{
    std::vector<Change> changes;
    for (NOD_Node *node : myOrder) {
        const auto leadsElsewhere = [&](const Reference &reference) {
            return reference.target && node->findNode(reference.path.c_str()) != reference.target;
        };
        for (const ParmPaths &parm : myPaths[node]) {
            if (std::any_of(parm.paths.begin(), parm.paths.end(), leadsElsewhere)) {
                rewriteParm(*node, parm, announce, changes);
            }
        }
    }
    return changes;
}

void NOD_References::rewriteParm(NOD_Node &node, const ParmPaths &own, const Announce &announce,
                                 std::vector<Change> &changes)
{
    ZEL_Parm *const parm = node.getParms().getParmPtr(own.token);
    if (!parm) {
        return;
    }
    // A path also stands for those that begin with it, and one's new path may be another's old one: so
    // each becomes a text of its own first, the longest before the others.
    Paths sorted = own.paths;
    std::sort(sorted.begin(), sorted.end(), [](const Reference &a, const Reference &b) {
        return a.path.size() != b.path.size() ? a.path.size() > b.path.size() : a.path < b.path;
    });
    Renames renames;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const std::string &path = sorted[i].path;
        renames.emplace_back(path, placeholder(i, path));
    }
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const auto &[path, target] = sorted[i];
        const bool staysFlag = !target || node.findNode(path.c_str()) == target;
        renames.emplace_back(placeholder(i, path),
                             staysFlag ? path : pathLike(path, node, *target));
    }
    if (announce) {
        announce(node, *parm);
    }
    const bool changedFlag = replaceInParm(*parm, renames);
    const int lost = countLost(node, *parm, own.paths);
    if (changedFlag || lost > 0) {
        changes.push_back({&node, node.getParms().getParmIndex(parm), lost});
    }
}

/// Of a parameter's former paths, those whose targets none of its paths leads to now.
int NOD_References::countLost(NOD_Node &node, ZEL_Parm &parm, const Paths &former)
{
    Paths present;
    takeParm(node, parm, present);
    std::set<const NOD_Node *> found;
    for (const Reference &reference : present) {
        found.insert(node.findNode(reference.path.c_str()));
    }
    return int(std::count_if(former.begin(), former.end(), [&](const Reference &reference) {
        return reference.target && !found.count(reference.target);
    }));
}

void NOD_References::forEachPath(const NOD_Node &node, const PathCall &call) const
{
    const auto all = myPaths.find(&node);
    for (std::size_t i = 0; all != myPaths.end() && i < all->second.size(); ++i) {
        for (const Reference &reference : all->second[i].paths) {
            call(all->second[i].token, reference.path);
        }
    }
}
