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

/// Gives a reference its parameter's present name; false if it is to another one.
bool rename(NOD_Node &reader, const NOD_Node &target, const NOD_ParmRenames::Names &names,
            std::string &reference)
{
    const std::size_t slash = reference.rfind('/');
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const auto name = names.find(reference.substr(start));
    if (name == names.end()) {
        return false;
    }
    const std::string path = slash == 0 ? "/" : reference.substr(0, start == 0 ? 0 : slash);
    const NOD_Node *const node = path.empty() ? &reader : reader.findNode(path.c_str());
    if (node != &target || reader.findNode(reference.c_str())) {
        return false;
    }
    reference.replace(start, std::string::npos, name->second);
    return true;
}

/// `place` calls what it is given for each reference. Whether there are any to rename, which are asked for first.
template <class Place>
bool rewriteIn(const Place &place, NOD_Node &reader, const NOD_Node &target,
               const NOD_ParmRenames::Names &names, const std::function<void()> &announce)
{
    bool foundFlag = false;
    place([&](const std::string &reference) {
        std::string renamed = reference;
        const bool itFlag = rename(reader, target, names, renamed);
        foundFlag = foundFlag || itFlag;
        return itFlag;
    });
    if (foundFlag) {
        announce();
        place([&](std::string &reference) { return rename(reader, target, names, reference); });
    }
    return foundFlag;
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
    NOD_Node *root = &target;
    while (root->getParent()) {
        root = root->getParent();
    }
    NODforEachNode(*root, [&](NOD_Node &node) { add(&node); });
    return readers;
}

void rewriteKept(NOD_Node &reader, const NOD_Node &target, const NOD_ParmRenames::Names &names)
{
    NOD_Node::Sections sections = reader.getKeptSections();
    bool changedFlag = false;
    for (NOD_NodeTexts::Section &section : sections) {
        const auto place = [&](const NOD_NodeTexts::Call &call) {
            NOD_NodeTexts::forEach(section, &reader.getChannels(), call, theWholeReference);
        };
        changedFlag = (NOD_NodeTexts::isReadable(section) &&
                       rewriteIn(place, reader, target, names, [] {})) ||
                      changedFlag;
    }
    if (changedFlag) {
        reader.keepSections("", std::move(sections));
    }
}

} // namespace

bool NOD_ParmRenames::rewrite(NOD_Node &reader, ZEL_Parm &parm, NOD_Node &target,
                              const Names &names, const Announce &announce)
{
    const auto place = [&](const NOD_NodeTexts::Call &call) {
        NOD_NodeTexts::forEach(parm, &reader.getChannels(), call, theWholeReference);
    };
    return rewriteIn(place, reader, target, names, [&] {
        if (announce) {
            announce(reader, parm);
        }
    });
}

void NOD_ParmRenames::rewrite(NOD_Node &target, const Names &names, const Announce &announce)
{
    if (names.empty()) {
        return;
    }
    for (NOD_Node *reader : readersOf(target)) {
        NODforEachParm(
            *reader, [&](int, ZEL_Parm &parm) { rewrite(*reader, parm, target, names, announce); });
        if (!reader->getKeptSections().empty()) {
            rewriteKept(*reader, target, names);
        }
    }
}
