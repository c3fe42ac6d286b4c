#include <NOD/snapshot/NOD_SnapshotTakerPrivate.h>

#include <BAS/BAS_Thread.h>
#include <CON/CON_Manager.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>
#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>
#include <NOD/snapshot/NOD_SnapshotSlabPrivate.h>
#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <new>
#include <utility>

// ---------------------------------------------------------------------- //
// What has changed
// ---------------------------------------------------------------------- //

/// Null for a node that is newer than the last snapshot, or when there is no memory.
NOD_SnapshotTaker::Known *NOD_SnapshotTaker::note(NOD_Node &node)
{
    const auto found = myPlaces.find(&node);
    if (found == myPlaces.end()) {
        return nullptr;
    }
    Known &known = myKnown[found->second];
    if (!known.listedFlag) {
        myChanged.push_back(found->second);
        known.listedFlag = true;
    }
    return &known;
}

void NOD_SnapshotTaker::parmChanged(NOD_Node &node, int parmIndex) noexcept
{
    constexpr std::size_t theMost = 16; // from then on all are looked at
    try {
        Known *const known = note(node);
        if (!known || known->allFlag) {
            return;
        }
        std::vector<int> &changed = known->changed;
        if (parmIndex < 0 || changed.size() >= theMost) {
            known->allFlag = true;
        } else if (std::find(changed.begin(), changed.end(), parmIndex) == changed.end()) {
            changed.push_back(parmIndex);
        }
    } catch (const std::bad_alloc &) {
        myLostFlag = true;
    }
}

void NOD_SnapshotTaker::nodeChanged(NOD_Node &node) noexcept
{
    try {
        if (Known *const known = note(node)) {
            known->allFlag = true;
        }
    } catch (const std::bad_alloc &) {
        myLostFlag = true;
    }
}

void NOD_SnapshotTaker::nodeRemoved(NOD_Node &node) noexcept
{
    const auto found = myPlaces.find(&node);
    if (found != myPlaces.end()) {
        myKnown[found->second].node = nullptr;
        myPlaces.erase(found);
    }
    myTreeFlag = true;
}

// ---------------------------------------------------------------------- //
// The next snapshot
// ---------------------------------------------------------------------- //

std::shared_ptr<const NOD_Snapshot> NOD_Scene::snapshot(const NOD_SnapshotOptions &options)
{
    if (!mySnapshots) {
        mySnapshots = std::make_unique<NOD_SnapshotTaker>(*myRoot);
        myGraph->setWatcher(mySnapshots.get());
    }
    return static_cast<NOD_SnapshotTaker &>(*mySnapshots).take(options, myFrameRate);
}

std::vector<NOD_Scene::Value> NOD_Scene::changedBetween(double from, double to)
{
    const auto *const taker = static_cast<const NOD_SnapshotTaker *>(mySnapshots.get());
    snapshot(taker ? taker->getOptions() : NOD_SnapshotOptions());
    return static_cast<NOD_SnapshotTaker &>(*mySnapshots).findChanged(from, to);
}

std::vector<NOD_Scene::Value> NOD_SnapshotTaker::findChanged(double from, double to) const
{
    std::vector<NOD_Scene::Value> changed;
    for (const NOD_SnapshotHandle &handle : myLast->findChanged(from, to, BASgetSTID(), true)) {
        changed.push_back(
            {myKnown[handle.getNode()].node, handle.getParm(), myLast->getComponent(handle)});
    }
    return changed;
}

namespace
{

bool isSame(const NOD_SnapshotOptions &a, const NOD_SnapshotOptions &b)
{
    return a.overrides == b.overrides && a.python == b.python && a.menus == b.menus &&
           a.data == b.data && a.variables == b.variables && a.owner == b.owner;
}

} // namespace

std::shared_ptr<const NOD_Snapshot> NOD_SnapshotTaker::take(const NOD_SnapshotOptions &options,
                                                            double frameRate)
{
    std::shared_ptr<NOD_Snapshot> made(new NOD_Snapshot);
    const bool allFlag = !myLast || myLostFlag || !isSame(myLast->myOptions, options);
    made->myOptions = options;
    made->myFrameRate = frameRate;
    if (myLast) {
        made->myPages = myLast->myPages;
        made->myTree = myLast->myTree;
    }
    // Until all of it is done nothing counts as taken.
    myLostFlag = true;
    if (myTreeFlag || !made->myTree) {
        renewTree(*made);
    }
    renewNodes(*made, allFlag);
    takeEnvironment(*made);
    myOwnPages.clear(); // others share them from now on
    myLostFlag = false;
    myTreeFlag = false;
    myLast = made;
    return made;
}

/// Of nodes that aren't in the tree any more: gone, or kept by a step of undo.
void NOD_SnapshotTaker::freePlaces(const std::vector<NOD_Node *> &nodes)
{
    std::vector<bool> used(myKnown.size(), false);
    for (NOD_Node *const node : nodes) {
        const auto found = myPlaces.find(node);
        if (found != myPlaces.end()) {
            used[found->second] = true;
        }
    }
    myFree.clear();
    for (std::uint32_t place = 0; place < myKnown.size(); ++place) {
        if (!used[place]) {
            myPlaces.erase(myKnown[place].node);
            myKnown[place].node = nullptr;
            myFree.push_back(place);
        }
    }
}

void NOD_SnapshotTaker::renewTree(NOD_Snapshot &made)
{
    std::vector<NOD_Node *> nodes;
    NODforEachNode(myRoot, [&](NOD_Node &node) { nodes.push_back(&node); });
    freePlaces(nodes);
    std::vector<std::uint32_t> order;
    for (NOD_Node *const node : nodes) {
        auto found = myPlaces.find(node);
        if (found == myPlaces.end()) {
            std::uint32_t place = std::uint32_t(myKnown.size());
            if (!myFree.empty()) {
                place = myFree.back();
                myFree.pop_back();
                myKnown[place] = Known();
            } else {
                myKnown.emplace_back();
            }
            myKnown[place].node = node;
            found = myPlaces.emplace(node, place).first;
            note(*node);
        }
        order.push_back(found->second);
    }
    std::vector<NOD_SnapshotTree::Place> places(myKnown.size());
    for (const std::uint32_t at : order) {
        const NOD_Node &node = *myKnown[at].node;
        NOD_SnapshotTree::Place &place = places[at];
        place.name = node.getName();
        place.parent = node.getParent() ? myPlaces.at(node.getParent()) : NOD_SnapshotTree::theNone;
        if (!node.getVariables().empty()) {
            place.variables =
                std::make_shared<const std::map<std::string, std::string>>(node.getVariables());
        }
    }
    const auto tree = std::make_shared<NOD_SnapshotTree>(std::move(places));
    tree->setOrder(std::move(order));
    made.myTree = tree;
    made.myPages.resize((myKnown.size() + NOD_Snapshot::Page::theSize - 1) /
                        NOD_Snapshot::Page::theSize);
}

void NOD_SnapshotTaker::renewNodes(NOD_Snapshot &made, bool allFlag)
{
    myOwnPages.assign(made.myPages.size(), nullptr);
    for (const std::uint32_t place : myFree) {
        const auto &page = made.myPages[place / NOD_Snapshot::Page::theSize];
        if (page && page->nodes[place % NOD_Snapshot::Page::theSize]) {
            setNode(made, place, nullptr);
        }
    }
    const std::vector<std::uint32_t> present = std::exchange(myPresent, {});
    if (allFlag) {
        myChanged = made.myTree->getOrder();
        for (const std::uint32_t place : myChanged) {
            myKnown[place].allFlag = true;
            myKnown[place].listedFlag = true;
        }
    }
    for (std::size_t i = 0; myTreeFlag && i < myKnown.size(); ++i) {
        if (myKnown[i].node && myKnown[i].othersFlag) {
            note(*myKnown[i].node)->allFlag = true;
        }
    }
    for (const std::uint32_t place : present) {
        if (myKnown[place].node) { // what was present when it was taken
            note(*myKnown[place].node)->allFlag = true;
        }
    }
    constexpr std::size_t theSlab = 8192; // 64 kB
    NOD_SnapshotSlab slab(allFlag ? theSlab : 0);
    std::vector<std::shared_ptr<NOD_SnapshotNode>> pictures;
    for (const std::uint32_t place : std::exchange(myChanged, {})) {
        if (myKnown[place].node) {
            pictures.push_back(renewNode(made, place, slab));
        }
    }
    for (const std::shared_ptr<NOD_SnapshotNode> &picture : pictures) {
        picture->link(made);
        myKnown[picture->getPlace()].othersFlag = picture->readsOthers();
    }
}

std::shared_ptr<NOD_SnapshotNode>
NOD_SnapshotTaker::renewNode(NOD_Snapshot &made, std::uint32_t place, NOD_SnapshotSlab &slab)
{
    Known &known = myKnown[place];
    NOD_Node &node = *known.node;
    const std::shared_ptr<const NOD_Snapshot::Page> &page =
        made.myPages[place / NOD_Snapshot::Page::theSize];
    const NOD_SnapshotNode *const former =
        page ? page->nodes[place % NOD_Snapshot::Page::theSize].get() : nullptr;
    std::shared_ptr<NOD_SnapshotNode> picture;
    if (known.allFlag || !former) {
        std::shared_ptr<const NOD_SnapshotLayout> layout = layoutOf(node);
        std::shared_ptr<double[]> numbers = slab.take(layout->getNumNumbers());
        picture = std::make_shared<NOD_SnapshotNode>(node, place, std::move(layout),
                                                     std::move(numbers), made.myOptions);
    } else {
        picture = std::make_shared<NOD_SnapshotNode>(*former, node, made.myOptions, known.changed);
    }
    if (picture->isPresent()) {
        myPresent.push_back(place);
    }
    picture->collectVariables(myVariables);
    setNode(made, place, picture);
    known.changed.clear();
    known.allFlag = false;
    known.listedFlag = false;
    return picture;
}

void NOD_SnapshotTaker::setNode(NOD_Snapshot &made, std::uint32_t place,
                                std::shared_ptr<const NOD_SnapshotNode> node)
{
    using Page = NOD_Snapshot::Page;
    const std::size_t number = place / Page::theSize;
    std::shared_ptr<Page> &own = myOwnPages[number];
    if (!own) {
        const std::shared_ptr<const Page> former = made.myPages[number];
        own = former ? std::make_shared<Page>(*former) : std::make_shared<Page>();
        made.myPages[number] = own;
    }
    own->nodes[place % Page::theSize] = std::move(node);
}

/// Nodes that have no parameters but their interface's share one.
std::shared_ptr<const NOD_SnapshotLayout> NOD_SnapshotTaker::layoutOf(NOD_Node &node)
{
    const ZEL_ParmList &list = node.getParms();
    const std::shared_ptr<const NOD_Interface> &interface = node.getInterface();
    if (!interface || list.hasSpareOrMultiInstanceParms() || list.hasChannelAliases()) {
        return std::make_shared<const NOD_SnapshotLayout>(list);
    }
    SharedLayout &kept = myLayouts[interface.get()];
    std::shared_ptr<const NOD_SnapshotLayout> layout = kept.layout.lock();
    if (!layout || kept.interface.lock() != interface) {
        layout = std::make_shared<const NOD_SnapshotLayout>(list);
        kept = {interface, layout};
    }
    return layout;
}

void NOD_SnapshotTaker::takeEnvironment(NOD_Snapshot &made)
{
    auto environment = std::make_shared<NOD_Snapshot::Environment>();
    if (made.myOptions.variables == NOD_SnapshotOptions::Policy::PRESENT) {
        for (const std::string &name : myVariables) {
            KIT_String value;
            const bool knownFlag =
                CON_Manager::getContext().getEnv(KIT_StringRef(name.c_str(), name.size()), value);
            (*environment)[name] =
                knownFlag ? std::optional<std::string>(value.nonNullStr()) : std::nullopt;
        }
    }
    made.myEnvironment = std::move(environment);
}
