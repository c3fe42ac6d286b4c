/// \file NOD_SnapshotNodePrivate.h
/// The values of one node in a snapshot. Snapshots share those that nothing has changed between them.
///
/// Vocabulary: *plain* = of a component that is one number at all times: that number is where its layout says. Any
///             other number there is a mark with the place of the component's *driver*.
/// Ownership:  shares layout, channels and texts. As what a collection asks for nodes and values it answers within
///             the snapshot that the thread reads (NOD_SnapshotScope).
/// Threads:    immutable once made; read and destroyed on any thread.
#pragma once

#include <NOD/NOD_SnapshotOptions.h>
#include <NOD/snapshot/NOD_SnapshotLayoutPrivate.h>
#include <TRK/TRK_ChannelPicture.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_ValueSource.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

class NOD_Node;
class NOD_Snapshot;
class ZEL_DataItem;
class ZEL_Parm;

/// What a component that isn't plain has.
struct NOD_SnapshotDriver
{
    enum class Kind : std::uint8_t
    {
        CHANNEL,
        TEXT,    ///< one to expand, or constant: `text`
        PRESENT, ///< what it was when it was taken
        OWNER,
        REFUSED
    };

    Kind kind = Kind::PRESENT;
    bool foreignFlag = false;
    NOD_Foreign foreign = NOD_Foreign::OVERRIDE; ///< with foreignFlag
    std::uint32_t parm = 0;
    std::uint32_t component = 0;
    double number = 0.0;
    std::int64_t integer = 0;
    KIT_StringHolder text;
    std::shared_ptr<const TRK_ChannelPicture> channel;
    std::shared_ptr<const ZEL_DataItem> item;
    TRK_ChannelPicture *unlinked =
        nullptr; ///< its channel, while it is this picture's own and not linked
};

class NOD_SnapshotNode : public TRK_PathResolver, public TRK_ValueSource
{
public:
    /// `numbers` are as many zeros as the layout has numbers.
    NOD_SnapshotNode(NOD_Node &node, std::uint32_t place,
                     std::shared_ptr<const NOD_SnapshotLayout> layout,
                     std::shared_ptr<double[]> numbers, const NOD_SnapshotOptions &options);
    /// The former picture with other values of some parameters.
    NOD_SnapshotNode(const NOD_SnapshotNode &former, NOD_Node &node,
                     const NOD_SnapshotOptions &options, const std::vector<int> &changed);
    ~NOD_SnapshotNode() override;

    std::uint32_t getPlace() const { return myPlace; }
    const NOD_SnapshotLayout &getLayout() const { return *myLayout; }
    const std::shared_ptr<const NOD_SnapshotLayout> &shareLayout() const { return myLayout; }
    /// Plain numbers and marks.
    const double *getNumbers() const { return myNumbers.get(); }
    const KIT_StringHolder &getText(std::uint32_t place) const { return myTexts[place]; }
    const std::vector<NOD_SnapshotDriver> &getDrivers() const { return myDrivers; }
    static bool isMark(double number);
    /// Null for a plain number.
    const NOD_SnapshotDriver *findDriver(double number) const;
    const TRK_Collection &getCollection() const { return myCollection; }
    /// A channel that no parameter has, by name or alias; null for none.
    const TRK_ChannelPicture *findOrphan(const KIT_StringRef &name) const;
    /// Finds out where the references of its own channels lead. As its last change, when all nodes of the snapshot
    /// are there.
    void link(const NOD_Snapshot &snapshot);
    /// Whether it is to be taken again when the tree changes.
    bool readsOthers() const { return myOthersFlag; }
    /// Whether some of it is as it was at the taking only.
    bool isPresent() const { return myPresentFlag; }
    /// Adds names of variables that texts and expressions read and the time hasn't: of all texts, and of channels that
    /// aren't linked yet.
    void collectVariables(std::set<std::string> &names) const;
    /// Of its own, without what other snapshots share with it.
    std::int64_t getMemoryUsage() const;

    // TRK_PathResolver
    TRK_Collection *findCollection(const KIT_StringRef &path) override;
    bool getVariable(const KIT_StringRef &name, KIT_String &value) override;
    bool getEnvironment(const KIT_StringRef &name, KIT_String &value) override;
    void getPath(KIT_WorkBuffer &path) override;
    // TRK_ValueSource
    bool evaluateNumber(const KIT_StringRef &name, double time, int thread, double &value,
                        bool &timeDependent) override;
    bool evaluateString(const KIT_StringRef &name, double time, int thread, KIT_String &value,
                        bool &timeDependent) override;

private:
    class Links;
    class Taking;

    struct Orphan
    {
        KIT_StringHolder name;
        KIT_StringHolder alias;
        std::shared_ptr<const TRK_ChannelPicture> channel;
    };
    void connect();

    std::shared_ptr<const NOD_SnapshotLayout> myLayout;
    std::shared_ptr<double[]> myNumbers;
    std::vector<KIT_StringHolder> myTexts;
    std::vector<NOD_SnapshotDriver> myDrivers;
    std::vector<Orphan> myOrphans; ///< channels that no parameter has
    TRK_Collection myCollection;   ///< empty: where references start
    std::uint32_t myPlace;
    bool myPresentFlag = false;
    bool myOthersFlag = false;
};
