#include <NOD/tree/NOD_ParmRenamesPrivate.h>

#include <NOD/NOD_Node.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_NodeTextsPrivate.h>
#include <NOD/tree/NOD_ReferenceIndexPrivate.h>

#include <set>
#include <utility>
#include <vector>

namespace
{

constexpr auto theWholeReference = TRK_NodePaths::Part::ALL;

NOD_Node &rootOf(NOD_Node &node)
{
    NOD_Node *root = &node;
    while (root->getParent()) {
        root = root->getParent();
    }
    return *root;
}

std::vector<NOD_Node *> readersOf(NOD_Node &target)
{
    std::vector<NOD_Node *> readers = {&target};
    std::set<NOD_Node *> known = {&target};
    const auto add = [&](NOD_Node *node) {
        if (known.insert(node).second) {
            readers.push_back(node);
        }
    };
    if (NOD_ReferenceIndex *const index = NOD_ReferenceIndex::of(target)) {
        for (NOD_Node *node : index->findReaders(target)) {
            add(node);
        }
        for (NOD_Node *node : index->findReadersBelow(target)) {
            add(node);
        }
        return readers;
    }
    NODforEachNode(rootOf(target), [&](NOD_Node &node) { add(&node); });
    return readers;
}

} // namespace

void NOD_ParmRenames::add(NOD_Node &target, const Names &names)
{
    if (names.empty()) {
        return;
    }
    Names &all = myNames[&target];
    Names joined = names;
    for (const auto &[former, present] : all) {
        const auto next = names.find(present);
        joined[former] = next == names.end() ? present : next->second;
    }
    all = std::move(joined);
    for (const auto &name : all) {
        myFormer.insert(name.first);
    }
}

/// Gives a reference its parameter's present name; false if it is to another one.
bool NOD_ParmRenames::rename(NOD_Node &reader, std::string &reference, Which which) const
{
    const std::size_t slash = reference.rfind('/');
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string former = reference.substr(start);
    if (myFormer.count(former) == 0) {
        return false;
    }
    const std::string path = slash == 0 ? "/" : reference.substr(0, start == 0 ? 0 : slash);
    NOD_Node *const node = path.empty() ? &reader : reader.findNode(path.c_str());
    const auto target = node ? myNames.find(node) : myNames.end();
    const bool thisFlag = which == Which::ALL || (which == Which::OWN) == (node == &reader);
    if (target == myNames.end() || !thisFlag) {
        return false;
    }
    const auto name = target->second.find(former);
    if (name == target->second.end() || name->second == former ||
        reader.findNode(reference.c_str())) {
        return false;
    }
    reference.replace(start, std::string::npos, name->second);
    return true;
}

/// `place` calls what it is given for each reference. Whether there are any to rename, which are asked for first.
template <class Place>
bool NOD_ParmRenames::rewriteIn(const Place &place, NOD_Node &reader, Which which,
                                const std::function<void()> &announce) const
{
    bool foundFlag = false;
    place([&](const std::string &reference) {
        std::string renamed = reference;
        const bool itFlag = rename(reader, renamed, which);
        foundFlag = foundFlag || itFlag;
        return itFlag;
    });
    if (foundFlag) {
        announce();
        place([&](std::string &reference) { return rename(reader, reference, which); });
    }
    return foundFlag;
}

bool NOD_ParmRenames::rewriteIn(NOD_Node &reader, ZEL_Parm &parm, Which which,
                                const Announce &announce) const
{
    const auto place = [&](const NOD_NodeTexts::Call &call) {
        NOD_NodeTexts::forEach(parm, &reader.getChannels(), call, theWholeReference);
    };
    return rewriteIn(place, reader, which, [&] {
        if (announce) {
            announce(reader, parm);
        }
    });
}

void NOD_ParmRenames::rewriteIn(NOD_Node &reader, Which which, const Announce &announce) const
{
    NODforEachParm(reader, [&](int, ZEL_Parm &parm) { rewriteIn(reader, parm, which, announce); });
    if (!reader.getKeptSections().empty()) {
        rewriteKept(reader, which);
    }
}

void NOD_ParmRenames::rewriteKept(NOD_Node &reader, Which which) const
{
    NOD_Node::Sections sections = reader.getKeptSections();
    bool changedFlag = false;
    for (NOD_NodeTexts::Section &section : sections) {
        const auto place = [&](const NOD_NodeTexts::Call &call) {
            NOD_NodeTexts::forEach(section, &reader.getChannels(), call, theWholeReference);
        };
        changedFlag =
            (NOD_NodeTexts::isReadable(section) && rewriteIn(place, reader, which, [] {})) ||
            changedFlag;
    }
    if (changedFlag) {
        reader.keepSections("", std::move(sections));
    }
}

bool NOD_ParmRenames::rewrite(NOD_Node &reader, ZEL_Parm &parm) const
{
    return rewriteIn(reader, parm, Which::ALL, {});
}

void NOD_ParmRenames::rewrite(const Announce &announce) const
{
    if (myNames.size() == 1) {
        for (NOD_Node *reader : readersOf(*myNames.begin()->first)) {
            rewriteIn(*reader, Which::ALL, announce);
        }
    } else if (!isEmpty()) {
        NODforEachNode(rootOf(*myNames.begin()->first),
                       [&](NOD_Node &reader) { rewriteIn(reader, Which::ALL, announce); });
    }
}

void NOD_ParmRenames::rewriteOwn(const Announce &announce) const
{
    for (const auto &row : myNames) {
        rewriteIn(*row.first, Which::OWN, announce);
    }
}

void NOD_ParmRenames::rewriteOthers(const Announce &announce) const
{
    if (!isEmpty()) {
        NODforEachNode(rootOf(*myNames.begin()->first),
                       [&](NOD_Node &reader) { rewriteIn(reader, Which::OTHERS, announce); });
    }
}
