/// \file NOD_SnapshotTakerPrivate.h
/// Takes the snapshots of a scene: knows what has changed since the last one, which the next one shares the rest with.
///
/// Threads:    the scene's.
#pragma once

#include <NOD/NOD_Scene.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/tree/NOD_ChangeWatcherPrivate.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Interface;
class NOD_SnapshotLayout;
class NOD_SnapshotSlab;

class NOD_SnapshotTaker : public NOD_ChangeWatcher
{
public:
    explicit NOD_SnapshotTaker(NOD_Node &root) : myRoot(root) {}

    std::shared_ptr<const NOD_Snapshot> take(const NOD_SnapshotOptions &options, double frameRate);

    /// Of the last snapshot.
    NOD_SnapshotOptions getOptions() const
    {
        return myLast ? myLast->myOptions : NOD_SnapshotOptions();
    }
    std::vector<NOD_Scene::Value> findChanged(double from, double to) const;

    void parmChanged(NOD_Node &node, int parmIndex) noexcept override;
    void nodeChanged(NOD_Node &node) noexcept override;
    void treeChanged() noexcept override { myTreeFlag = true; }
    void nodeRemoved(NOD_Node &node) noexcept override;

private:
    /// What is known of a node's place.
    struct Known
    {
        NOD_Node *node = nullptr;
        std::vector<int> changed; ///< parameters, if it isn't all
        bool listedFlag = false;  ///< among myChanged
        bool allFlag = true;
        bool othersFlag = false; ///< it reads other nodes: taken again when the tree changes
    };

    struct SharedLayout
    {
        std::weak_ptr<const NOD_Interface> interface; ///< another one may lie there
        std::weak_ptr<const NOD_SnapshotLayout> layout;
    };

    void freePlaces(const std::vector<NOD_Node *> &nodes);
    Known *note(NOD_Node &node);
    void renewTree(NOD_Snapshot &made);
    void renewNodes(NOD_Snapshot &made, bool allFlag);
    std::shared_ptr<NOD_SnapshotNode> renewNode(NOD_Snapshot &made, std::uint32_t place,
                                                NOD_SnapshotSlab &slab);
    void setNode(NOD_Snapshot &made, std::uint32_t place,
                 std::shared_ptr<const NOD_SnapshotNode> node);
    std::shared_ptr<const NOD_SnapshotLayout> layoutOf(NOD_Node &node);
    void takeEnvironment(NOD_Snapshot &made);

    NOD_Node &myRoot;
    std::shared_ptr<const NOD_Snapshot> myLast;
    std::vector<Known> myKnown; ///< by place
    std::unordered_map<const NOD_Node *, std::uint32_t> myPlaces;
    std::vector<std::uint32_t> myFree;    ///< places of nodes that are gone
    std::vector<std::uint32_t> myChanged; ///< places
    std::vector<std::uint32_t> myPresent; ///< of nodes with values that each snapshot takes anew
    std::unordered_map<const NOD_Interface *, SharedLayout> myLayouts;
    std::set<std::string> myVariables; ///< names that texts of the scene have used
    std::vector<std::shared_ptr<NOD_Snapshot::Page>>
        myOwnPages; ///< of the one that is being taken; null: shared
    bool myTreeFlag = true;
    bool myLostFlag = false; ///< a change was missed for want of memory
};
