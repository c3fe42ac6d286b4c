#include <NOD/NOD_References.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/interface/NOD_TemplatePathsPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_NodeTextsPrivate.h>

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace
{

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

/// What was written with what it is to lead to.
class Rewriter
{
public:
    /// `find` gives the former target of a path, null for none.
    using Find = std::function<NOD_Node *(const std::string &path)>;
    /// Calls the function that it is given for each path in a place, see TRK_NodePaths::forEach.
    using Place = std::function<TRK_NodePaths::Result(const TRK_NodePaths::Call &call)>;

    Rewriter(NOD_Node &node, const Find &find) : myNode(node), myFind(find) {}

    bool leadsElsewhere(const Place &place) const
    {
        bool elsewhereFlag = false;
        place([&](const std::string &path) {
            const NOD_Node *const target = myFind(path);
            elsewhereFlag |= target && myNode.findNode(path.c_str()) != target;
            return target != nullptr;
        });
        return elsewhereFlag;
    }

    void rewrite(const Place &place)
    {
        std::vector<const NOD_Node *> wanted;
        const TRK_NodePaths::Result result = place([&](std::string &path) {
            const NOD_Node *const target = myFind(path);
            if (target && myNode.findNode(path.c_str()) != target) {
                path = pathLike(path, myNode, *target);
            }
            if (target) {
                wanted.push_back(target);
            }
            return target != nullptr;
        });
        changed = result.changed;
        lost = countLost(place, wanted);
        why = result.why ? result.why : "what is there then reads as another path";
    }

    int changed = 0;
    int lost = 0;
    std::string why;

private:
    /// Of those, how many aren't found again, in their order.
    int countLost(const Place &place, const std::vector<const NOD_Node *> &wanted) const
    {
        std::vector<const NOD_Node *> present;
        place([&](const std::string &path) {
            const NOD_Node *const target = myNode.findNode(path.c_str());
            if (target) {
                present.push_back(target);
            }
            return target != nullptr;
        });
        int count = 0;
        auto from = present.begin();
        for (const NOD_Node *target : wanted) {
            const auto found = std::find(from, present.end(), target);
            count += found == present.end();
            from = found == present.end() ? from : found + 1;
        }
        return count;
    }

    NOD_Node &myNode;
    const Find &myFind;
};

Rewriter::Place placeOf(NOD_Node &node, ZEL_Parm &parm)
{
    return [&](const TRK_NodePaths::Call &call) {
        return NOD_NodeTexts::forEach(parm, &node.getChannels(), call);
    };
}

Rewriter::Place placeOf(NOD_Node &node, NOD_NodeTexts::Section &section)
{
    return [&](const TRK_NodePaths::Call &call) {
        return NOD_NodeTexts::forEach(section, &node.getChannels(), call);
    };
}

} // namespace

// ---------------------------------------------------------------------- //
// Before
// ---------------------------------------------------------------------- //

NOD_References::NOD_References()
    : myResolve(
          [](NOD_Node &node, const std::string &path) { return node.findNode(path.c_str()); }),
      myTellsFlag(true)
{}

NOD_References::NOD_References(NOD_Node &root) : NOD_References()
{
    NODforEachNode(root, [this](NOD_Node &node) { take(node); });
}

NOD_References::NOD_References(const std::vector<NOD_Node *> &nodes) : NOD_References()
{
    for (NOD_Node *node : nodes) {
        take(*node);
    }
}

NOD_References::NOD_References(NOD_Node &root, Resolve resolve)
    : myResolve(std::move(resolve)), myTellsFlag(false)
{
    NODforEachNode(root, [this](NOD_Node &node) { take(node); });
}

void NOD_References::take(NOD_Node &node)
{
    std::map<std::string, NOD_Node *> found;
    const auto add = [&](const std::string &path) {
        const auto [entry, isNew] = found.try_emplace(path, nullptr);
        if (isNew) {
            entry->second = myResolve(node, path);
        }
        return entry->second != nullptr;
    };
    NODforEachParm(node, [&](int, ZEL_Parm &parm) { placeOf(node, parm)(add); });
    for (const NOD_NodeTexts::Section &section : node.getKeptSections()) {
        if (NOD_NodeTexts::isReadable(section)) {
            NOD_NodeTexts::Section unchanged = section;
            placeOf(node, unchanged)(add);
        }
    }
    if (!found.empty()) {
        Paths &paths = myPaths[&node];
        myOrder.push_back(&node);
        for (const auto &[path, target] : found) {
            paths.push_back({path, target});
        }
    }
    if (myTellsFlag) {
        takeMentions(node);
    }
}

namespace
{

/// Calls for each path of interface and spare descriptions, with whose it is.
template <class Call>
void forEachDescribed(const NOD_Node &node, const Call &call)
{
    const auto callAll = [&](const std::vector<NOD_Interface::NodePath> &found, const char *whose) {
        for (const NOD_Interface::NodePath &one : found) {
            call(one, whose);
        }
    };
    if (node.getInterface()) {
        callAll(node.getInterface()->getNodePaths(), "interface");
    } else if (node.getPlainTemplates()) {
        callAll(NODtemplatePaths(node.getPlainTemplates()), "interface");
    }
    callAll(NODtemplatePaths(node.getSpareParms().getDescriptions()), "spare parameter");
}

} // namespace

void NOD_References::takeMentions(NOD_Node &node)
{
    forEachDescribed(node, [&](const NOD_Interface::NodePath &one, const char *whose) {
        if (NOD_Node *const target = node.findNode(one.path.c_str())) {
            const std::string place = std::string("the ") + one.place + " of the " + whose;
            myMentions.push_back({&node, one.parm, place, {one.path, target}});
        }
    });
    for (const NOD_NodeTexts::Section &section : node.getKeptSections()) {
        if (!NOD_NodeTexts::isReadable(section)) {
            NOD_NodeTexts::forEachPossible(section, node, [&](const std::string &path) {
                if (NOD_Node *const target = node.findNode(path.c_str())) {
                    myMentions.push_back(
                        {&node, "", "the kept section \"" + section.first + "\"", {path, target}});
                }
            });
        }
    }
}

void NOD_References::forEachPath(NOD_Node &node, const PathCall &call)
{
    const TRK_Collection *const anyVariables = nullptr;
    NODforEachParm(node, [&](int, ZEL_Parm &parm) {
        const KIT_StringHolder token(parm.getTokenRef());
        NOD_NodeTexts::forEach(parm, anyVariables,
                               [&](const std::string &path) { return call(token, path); });
    });
    for (const NOD_NodeTexts::Section &section : node.getKeptSections()) {
        if (NOD_NodeTexts::isReadable(section)) {
            NOD_NodeTexts::Section unchanged = section;
            NOD_NodeTexts::forEach(unchanged, anyVariables, [&](const std::string &path) {
                return call(KIT_StringHolder(), path);
            });
        }
    }
}

void NOD_References::forEachMention(NOD_Node &node,
                                    const std::function<void(const std::string &path)> &call)
{
    forEachDescribed(node,
                     [&](const NOD_Interface::NodePath &one, const char *) { call(one.path); });
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
        for (Reference &reference : at->second) {
            if (isGone(reference.target)) {
                reference.target = nullptr;
                ++lost;
            }
        }
        ++at;
    }
    myMentions.erase(std::remove_if(myMentions.begin(), myMentions.end(),
                                    [&](const Mention &one) { return isGone(one.node); }),
                     myMentions.end());
    for (Mention &mention : myMentions) {
        if (isGone(mention.reference.target)) {
            mention.reference.target = nullptr;
            ++lost;
        }
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
        Paths paths = myPaths[original];
        for (Reference &reference : paths) {
            const auto target = copies.find(reference.target);
            reference.target = target == copies.end() ? reference.target : target->second;
        }
        myOrder.push_back(copy->second);
        myPaths[copy->second] = std::move(paths);
    }
    for (std::size_t i = 0, size = myMentions.size(); i < size; ++i) {
        const auto copy = copies.find(myMentions[i].node);
        if (copy != copies.end()) {
            Mention mention = myMentions[i];
            const auto target = copies.find(mention.reference.target);
            mention.node = copy->second;
            mention.reference.target =
                target == copies.end() ? mention.reference.target : target->second;
            myMentions.push_back(std::move(mention));
        }
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
        const Paths &paths = myPaths[node];
        if (std::any_of(paths.begin(), paths.end(), leadsElsewhere)) {
            rewriteNode(*node, paths, announce, changes);
        }
    }
    tellMentions(changes);
    return changes;
}

void NOD_References::rewriteNode(NOD_Node &node, const Paths &paths, const Announce &announce,
                                 std::vector<Change> &changes)
{
    const Rewriter::Find find = [&](const std::string &path) -> NOD_Node * {
        const auto entry =
            std::lower_bound(paths.begin(), paths.end(), path,
                             [](const Reference &a, const std::string &b) { return a.path < b; });
        return entry != paths.end() && entry->path == path ? entry->target : nullptr;
    };
    NODforEachParm(node, [&](int index, ZEL_Parm &parm) {
        Rewriter rewriter(node, find);
        const Rewriter::Place place = placeOf(node, parm);
        if (!rewriter.leadsElsewhere(place)) {
            return;
        }
        if (announce) {
            announce(node, parm);
        }
        rewriter.rewrite(place);
        changes.push_back({&node, index, rewriter.lost, {}, {}, rewriter.why});
    });
    if (node.getKeptSections().empty()) {
        return;
    }
    NOD_Node::Sections sections = node.getKeptSections();
    bool changedFlag = false;
    for (NOD_NodeTexts::Section &section : sections) {
        Rewriter rewriter(node, find);
        const Rewriter::Place place = placeOf(node, section);
        if (NOD_NodeTexts::isReadable(section) && rewriter.leadsElsewhere(place)) {
            rewriter.rewrite(place);
            changedFlag |= rewriter.changed > 0;
            changes.push_back({&node,
                               -1,
                               rewriter.lost,
                               {},
                               "the kept section \"" + section.first + "\"",
                               rewriter.why});
        }
    }
    if (changedFlag) {
        node.keepSections("", std::move(sections));
    }
}

/// One for all nodes of an interface.
void NOD_References::tellMentions(std::vector<Change> &changes)
{
    std::map<std::tuple<const void *, std::string, std::string>, std::size_t> told;
    for (const Mention &mention : myMentions) {
        const auto &[path, target] = mention.reference;
        if (!target || mention.node->findNode(path.c_str()) == target) {
            continue;
        }
        const void *owner = mention.node->getInterface().get();
        owner = owner ? owner : mention.node;
        const auto [entry, isFirst] =
            told.try_emplace({owner, mention.parm, mention.place}, changes.size());
        if (isFirst) {
            changes.push_back({mention.node, -1, 0, mention.parm, mention.place,
                               "\"" + path + "\" isn't rewritten there"});
        }
        ++changes[entry->second].lost;
    }
}
