#include <NOD/tree/NOD_ReferenceIndexPrivate.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Relaxed.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_References.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_NodeTextsPrivate.h>

#include <algorithm>
#include <functional>
#include <new>
#include <set>
#include <string_view>

namespace
{

/// Calls `call` with each part of a path between slashes, until it returns false.
template <class Call>
void forEachStep(std::string_view path, const Call &call)
{
    for (std::size_t start = 0, end; start < path.size(); start = end + 1) {
        end = std::min(path.find('/', start), path.size());
        if (end > start && !call(path.substr(start, end - start))) {
            return;
        }
    }
}

bool isName(std::string_view step)
{
    return step != "." && step != "..";
}

} // namespace

// ---------------------------------------------------------------------- //
// What is unread
// ---------------------------------------------------------------------- //

NOD_ReferenceIndex::NOD_ReferenceIndex(NOD_Node &root) : myRoot(root)
{
    myRoot.myReferences = this;
    NODforEachNode(myRoot, [this](NOD_Node &node) { note(node); });
}

NOD_ReferenceIndex::~NOD_ReferenceIndex()
{
    NODforEachNode(myRoot, [](NOD_Node &node) { BASstore(node.myUnreadFlag, true); });
    myRoot.myReferences = nullptr;
}

NOD_ReferenceIndex *NOD_ReferenceIndex::of(NOD_Node &node)
{
    return node.getRoot()->myReferences;
}

void NOD_ReferenceIndex::note(NOD_Node &node) noexcept
{
    const std::lock_guard<std::mutex> guard(myLock);
    BASstore(node.myUnreadFlag, true);
    try {
        myUnread.insert(&node);
    } catch (const std::bad_alloc &) {
        BASnoteFailedAllocation();
        myLostFlag = true;
    }
}

void NOD_ReferenceIndex::forget(NOD_Node &node) noexcept
{
    BASstore(node.myUnreadFlag, true); // what it tells concerns nobody
    drop(node);
    const std::lock_guard<std::mutex> guard(myLock);
    myUnread.erase(&node);
}

void NOD_ReferenceIndex::forgetTree(NOD_Node &node) noexcept
{
    NODforEachNode(node, [this](NOD_Node &each) { forget(each); });
}

void NOD_ReferenceIndex::refresh()
{
    if (myLostFlag) {
        NODforEachNode(myRoot, [this](NOD_Node &node) {
            if (node.myUnreadFlag) {
                myUnread.insert(&node);
            }
        });
        myLostFlag = false;
    }
    while (!myUnread.empty()) {
        NOD_Node &node = **myUnread.begin();
        // Marked again by what changes while it is read.
        myUnread.erase(myUnread.begin());
        BASstore(node.myUnreadFlag, false);
        try {
            read(node);
        } catch (...) {
            note(node);
            throw;
        }
    }
}

// ---------------------------------------------------------------------- //
// What is read
// ---------------------------------------------------------------------- //

void NOD_ReferenceIndex::read(NOD_Node &node)
{
    drop(node);
    std::set<std::string> paths;
    NOD_References::forEachPath(node, [&](const KIT_StringHolder &, const std::string &path) {
        paths.insert(path);
        return false; // where they lead is asked later
    });
    NOD_References::forEachMention(node, [&](const std::string &path) { paths.insert(path); });
    const auto &kept = node.getKeptSections();
    if (std::any_of(kept.begin(), kept.end(),
                    [](const auto &section) { return !NOD_NodeTexts::isReadable(section); })) {
        myOpaque.insert(&node);
    }
    if (paths.empty()) {
        return;
    }
    std::set<std::size_t> names;
    Entry &entry = myEntries[&node];
    for (const std::string &path : paths) {
        entry.paths.append(path).push_back('\0');
        forEachStep(path, [&](std::string_view step) {
            if (isName(step)) {
                names.insert(std::hash<std::string_view>()(step));
            }
            return true;
        });
    }
    entry.names.reserve(names.size());
    for (const std::size_t name : names) {
        Readers &readers = myReaders[name];
        readers.push_front(&node);
        entry.names.emplace_back(name, readers.begin());
    }
}

void NOD_ReferenceIndex::drop(NOD_Node &node) noexcept
{
    myOpaque.erase(&node);
    const auto entry = myEntries.find(&node);
    if (entry == myEntries.end()) {
        return;
    }
    for (const auto &[name, place] : entry->second.names) {
        const auto readers = myReaders.find(name);
        readers->second.erase(place);
        if (readers->second.empty()) {
            myReaders.erase(readers);
        }
    }
    myEntries.erase(entry);
}

// ---------------------------------------------------------------------- //
// Asking
// ---------------------------------------------------------------------- //

bool NOD_ReferenceIndex::entersByName(NOD_Node &reader, const NOD_Node &target) const
{
    const std::string &paths = myEntries.at(&reader).paths;
    bool enters = false;
    for (std::size_t start = 0, end; !enters && start < paths.size(); start = end + 1) {
        end = paths.find('\0', start);
        const std::string_view path(paths.data() + start, end - start);
        NOD_Node *at = !path.empty() && path.front() == '/' ? &myRoot : &reader;
        forEachStep(path, [&](std::string_view step) {
            at = at->step(std::string(step));
            enters = enters || (at == &target && isName(step));
            return at != nullptr && !enters;
        });
    }
    return enters;
}

NOD_ReferenceIndex::Nodes NOD_ReferenceIndex::findReaders(NOD_Node &target)
{
    refresh();
    std::vector<std::pair<std::string, NOD_Node *>> found;
    const auto readers = myReaders.find(std::hash<std::string_view>()(target.getName()));
    if (readers != myReaders.end()) {
        for (NOD_Node *reader : readers->second) {
            if (entersByName(*reader, target) && myOpaque.count(reader) == 0) {
                found.emplace_back(NODpathOf(*reader), reader);
            }
        }
    }
    for (NOD_Node *const reader : myOpaque) {
        found.emplace_back(NODpathOf(*reader), reader);
    }
    std::sort(found.begin(), found.end());
    Nodes nodes;
    for (const auto &[path, reader] : found) {
        nodes.push_back(reader);
    }
    return nodes;
}

NOD_ReferenceIndex::Nodes NOD_ReferenceIndex::findReadersBelow(NOD_Node &node)
{
    refresh();
    Nodes nodes;
    NODforEachNode(node, [&](NOD_Node &each) {
        if (myEntries.count(&each) != 0 || myOpaque.count(&each) != 0) {
            nodes.push_back(&each);
        }
    });
    return nodes;
}
