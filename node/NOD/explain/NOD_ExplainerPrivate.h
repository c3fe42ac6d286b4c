/// \file NOD_ExplainerPrivate.h
/// Evaluates components of a snapshot one by one, and takes down what each reads itself.
///
/// Vocabulary: *place* = a component, or a channel that no parameter has, at a time.
/// Ownership:  borrows the snapshot, which the thread must be reading (NOD_SnapshotScope).
/// Threads:    an object for each.
#pragma once

#include <NOD/NOD_Explanation.h>
#include <NOD/snapshot/NOD_SnapshotLayoutPrivate.h>
#include <NOD/snapshot/NOD_SnapshotValidityPrivate.h>
#include <TRK/TRK_ReferenceScope.h>

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

class NOD_SnapshotNode;
struct NOD_SnapshotDriver;
class TRK_Channel;

class NOD_Explainer : private TRK_ReferenceListener
{
public:
    struct Place
    {
        const NOD_SnapshotNode *node = nullptr; ///< null: a path that leads to no node
        NOD_SnapshotComponent component;        ///< -1, -1: by its name
        std::string name;
        double time = 0.0;

        bool operator<(const Place &other) const;
    };

    NOD_Explainer(const NOD_Snapshot &snapshot, int thread);

    NOD_Explanation explain(const NOD_SnapshotHandle &handle, double time);
    using Edge = std::pair<NOD_SnapshotHandle, NOD_SnapshotHandle>;
    /// All that read another component, with that one.
    std::vector<Edge> findEdges(double time);
    /// Each once, in the order of the nodes.
    void putInOrder(std::vector<NOD_SnapshotHandle> &handles) const;

private:
    struct Step
    {
        std::size_t value;
        std::size_t next = 0; ///< of what it reads
    };

    void readsOf(const NOD_SnapshotNode &node, NOD_SnapshotComponent component, double time);
    std::size_t add(const Place &place);
    void follow();
    void evaluate(std::size_t value);
    void evaluateParm(const Place &place, NOD_ExplainedValue &value);
    void evaluateOrphan(const Place &place, NOD_ExplainedValue &value);
    void describe(const NOD_SnapshotDriver &driver, const Place &place, NOD_ExplainedValue &value);
    static void describe(const TRK_Channel &channel, double time, NOD_ExplainedValue &value);
    void noteCycle(const std::vector<Step> &way, std::size_t value);
    void noteMovers(NOD_ExplainedValue &value) const;
    std::string addressOf(const Place &place) const;

    // TRK_ReferenceListener
    void referenceRead(const TRK_Collection &, const KIT_StringRef &) override {}
    void referenceReadAt(const TRK_Collection &collection, const KIT_StringRef &name,
                         double time) override;
    void pathLost(const TRK_Collection &collection, const KIT_StringRef &path) override;

    const NOD_Snapshot &mySnapshot;
    const int myThread;
    NOD_SnapshotValidity myValidity;
    NOD_Explanation myMade;
    std::vector<Place> myPlaces; ///< of its values
    std::map<Place, std::size_t> myNumbers;
    std::vector<Place> myReads; ///< of what is being evaluated
};
