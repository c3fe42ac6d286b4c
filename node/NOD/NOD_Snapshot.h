/// \file NOD_Snapshot.h
/// A scene as it was: values, keys, expressions, texts, items and the references between its nodes, to be read while
/// the scene is edited, saved, undone or gone.
///
///     const std::shared_ptr<const NOD_Snapshot> snapshot = scene.snapshot();
///     const NOD_SnapshotHandle x = snapshot->find("/light", "t", 0);
///     // on any thread, as long as the snapshot is held
///     const double value = snapshot->getNumber(x, time, thread);
///
/// It answers what the scene answered when it was taken: the same numbers to the bit, the same texts. A snapshot shares
/// with the one before it all that no change was told about; what isn't told to anyone (sets that are not to
/// propagate, channels changed in their collection) is seen by NOD_Node::linkChannels, or by a snapshot of other
/// options. `adjustExpandedPath` of an owner is asked for constant paths, when they are taken.
///
/// Vocabulary: *plain* = of a component that is one number at all times. *Foreign* values: NOD_SnapshotOptions.h.
/// Units:      times in seconds; parameter and component indices from 0, as in ZEL_ParmList.
/// Ownership:  owns or shares all of it, but the templates of nodes that have no interface: those are borrowed.
/// Threads:    taken on the scene's thread, while nothing evaluates there. Read and released on any thread, any
///             number at once: no lock, no shared write.
/// Errors:     a look-up gives a handle that is false. What can't be evaluated is 0 or "", and leaves the thread's
///             EVL number, EVL_REFUSED for a foreign value that was refused.
/// Cost:       the first one what the scene has; a further one the nodes and parameters that have changed, and all
///             paths after a change of the tree. A plain number by its handle costs a load.
#pragma once

#include <KIT/KIT_StringRef.h>
#include <NOD/NOD_API.h>
#include <NOD/NOD_Sampler.h>
#include <NOD/NOD_SnapshotHandle.h>
#include <NOD/NOD_SnapshotOptions.h>

#include <TRK/TRK_Interval.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class KIT_String;
class KIT_WorkBuffer;
class NOD_SnapshotNode;
class NOD_SnapshotTree;
class TRK_Channel;
class ZEL_DataItem;
struct NOD_SnapshotComponent;

class NOD_API NOD_Snapshot
{
public:
    ~NOD_Snapshot();
    NOD_Snapshot(const NOD_Snapshot &) = delete;
    NOD_Snapshot &operator=(const NOD_Snapshot &) = delete;

    // ------------------------------------------------------------------ //
    /// \name What it has
    // ------------------------------------------------------------------ //
    ///@{
    /// Of all nodes, parents first.
    std::vector<std::string> getPaths() const;
    /// The tokens of a node's parameters, in their order; empty for no such node.
    std::vector<std::string> getTokens(std::string_view path) const;
    /// By the parameter's token.
    NOD_SnapshotHandle find(std::string_view path, std::string_view token, int component) const;
    /// By the name or alias of its channel.
    NOD_SnapshotHandle findChannel(std::string_view path, std::string_view name) const;
    /// All components of a node, in the order of its parameters.
    std::vector<NOD_SnapshotHandle> findAll(std::string_view path) const;
    std::string getPath(const NOD_SnapshotHandle &handle) const;
    std::string getToken(const NOD_SnapshotHandle &handle) const;
    /// The component's: its channel's name.
    std::string getName(const NOD_SnapshotHandle &handle) const;
    /// Path and name: "/light/tx".
    std::string getAddress(const NOD_SnapshotHandle &handle) const;
    /// -1 for no handle.
    int getComponent(const NOD_SnapshotHandle &handle) const;
    /// The keys and expressions of a component, null for none. Not to be evaluated by itself.
    const TRK_Channel *getChannel(const NOD_SnapshotHandle &handle) const;
    double getFrameRate() const { return myFrameRate; }

    struct Foreign
    {
        NOD_SnapshotHandle handle;
        NOD_Foreign kind;
        NOD_SnapshotOptions::Policy policy;
    };
    /// What lies not in the scene alone, in the order of the nodes and parameters.
    std::vector<Foreign> getForeign() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Reading   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    double getNumber(const NOD_SnapshotHandle &handle, double time, int thread) const
    {
        return handle.isConstant() ? handle.getConstant() : readNumber(handle, time, thread);
    }
    std::int64_t getInteger(const NOD_SnapshotHandle &handle, double time, int thread) const;
    /// Expanded; of an ordinal with a menu the token.
    void getText(const NOD_SnapshotHandle &handle, double time, int thread, KIT_String &text) const;
    /// Fills `numTimes` rows of `count` numbers, one for each handle, on all cores: oneTBB, in the caller's arena.
    NOD_SampleFault sample(const NOD_SnapshotHandle *handles, std::size_t count,
                           const double *times, std::size_t numTimes, double *rows) const;
    /// Of a data parameter; null for others.
    std::shared_ptr<const ZEL_DataItem> getItem(const NOD_SnapshotHandle &handle) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Until when   (any thread; see TRK_Validity.h)
    // ------------------------------------------------------------------ //
    ///@{
    /// The times around one at which the component certainly is what it is then.
    TRK_Interval getHeld(const NOD_SnapshotHandle &handle, double time, int thread) const;
    /// Components whose value at one time isn't certainly that at another one, in the order of the nodes. Costs
    /// those that aren't plain.
    std::vector<NOD_SnapshotHandle> findChanged(double from, double to, int thread) const;
    ///@}

    /// Bytes of it; those that it shares with other snapshots included.
    std::int64_t getMemoryUsage() const;
    /// How many nodes' values it shares with another snapshot of the scene.
    std::size_t countShared(const NOD_Snapshot &other) const;

private:
    friend class NOD_Explainer;
    friend class NOD_SnapshotNode;
    friend class NOD_SnapshotRead;
    friend class NOD_SnapshotTaker;

    /// Some nodes, shared as a whole.
    struct Page
    {
        static constexpr std::size_t theSize = 16;
        std::array<std::shared_ptr<const NOD_SnapshotNode>, theSize> nodes;
    };
    using Environment = std::map<std::string, std::optional<std::string>>;

    NOD_Snapshot() = default;
    const NOD_SnapshotNode *getNode(std::uint32_t place) const
    {
        return myPages[place / Page::theSize]->nodes[place % Page::theSize].get();
    }
    const NOD_SnapshotNode *findNode(std::uint32_t from, std::string_view path) const;
    bool getVariable(std::uint32_t place, const KIT_StringRef &name, KIT_String &value) const;
    bool getEnvironment(const KIT_StringRef &name, KIT_String &value) const;
    void appendPath(std::uint32_t place, KIT_WorkBuffer &path) const;
    NOD_SnapshotComponent componentOf(const NOD_SnapshotHandle &handle) const;
    NOD_SnapshotHandle handleOf(const NOD_SnapshotNode &node, int parm, int component) const;
    std::vector<NOD_SnapshotHandle> findChanged(double from, double to, int thread,
                                                bool foreignMovesFlag) const;
    double readNumber(const NOD_SnapshotHandle &handle, double time, int thread) const;
    double readWithin(const NOD_SnapshotHandle &handle, double time, int thread) const;

    std::vector<std::shared_ptr<const Page>> myPages;
    std::shared_ptr<const NOD_SnapshotTree> myTree;
    std::shared_ptr<const Environment> myEnvironment; ///< present values
    NOD_SnapshotOptions myOptions;
    double myFrameRate = 0.0;
};
