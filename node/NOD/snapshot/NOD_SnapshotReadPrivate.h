/// \file NOD_SnapshotReadPrivate.h
/// One read of a component of a snapshot, and the snapshot that a thread reads.
///
/// Threads:    any; objects belong to the thread that made them.
#pragma once

#include <NOD/snapshot/NOD_SnapshotLayoutPrivate.h>
#include <TRK/TRK_EvalContext.h>

#include <cstdint>

class KIT_String;
class NOD_Snapshot;
class NOD_SnapshotNode;
struct NOD_SnapshotDriver;

/// While it lives, what the thread evaluates finds the nodes, variables and frame rate of this snapshot.
class NOD_SnapshotScope
{
public:
    explicit NOD_SnapshotScope(const NOD_Snapshot &snapshot);
    ~NOD_SnapshotScope();
    NOD_SnapshotScope(const NOD_SnapshotScope &) = delete;
    NOD_SnapshotScope &operator=(const NOD_SnapshotScope &) = delete;

    /// Within a scope.
    static const NOD_Snapshot &get();

private:
    const NOD_Snapshot *myOuter;
    TRK_EvalContext::FrameRate myFrameRate;
};

/// Within a scope. Each member function evaluates once more.
class NOD_SnapshotRead
{
public:
    NOD_SnapshotRead(const NOD_SnapshotNode &node, NOD_SnapshotComponent component, double time,
                     int thread, bool &timeDependent);

    double number() const;
    std::int64_t integer() const;
    void text(KIT_String &text) const;

private:
    double driven() const;
    void expand(KIT_String &text) const;
    void drivenText(KIT_String &text) const;
    template <class Ask>
    bool ask(const Ask &ask) const;
    KIT_String countedText() const;

    const NOD_SnapshotNode &myNode;
    const NOD_SnapshotParm *myParm; ///< null: there is no such component
    const NOD_SnapshotDriver *myDriver;
    NOD_SnapshotComponent myComponent;
    double myPlain = 0.0;
    double myTime;
    int myThread;
    bool &myTimeDependent;
};
