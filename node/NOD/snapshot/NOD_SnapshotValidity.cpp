#include <NOD/snapshot/NOD_SnapshotValidityPrivate.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>
#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>

TRK_Interval NOD_SnapshotValidity::of(const NOD_SnapshotNode &node, NOD_SnapshotComponent component,
                                      double time)
{
    const auto [known, newFlag] = myKnown.emplace(
        Asked(&node, component.parm, component.component, time), TRK_Interval::at(time));
    if (newFlag) {
        known->second = evaluate(node, component, time);
    }
    return known->second;
}

TRK_Interval NOD_SnapshotValidity::evaluate(const NOD_SnapshotNode &node,
                                            NOD_SnapshotComponent component, double time)
{
    const NOD_SnapshotParm &parm = node.getLayout().getParms()[std::size_t(component.parm)];
    if (component.component < 0 || component.component >= parm.size) {
        return {};
    }
    const NOD_SnapshotDriver *const driver =
        node.findDriver(node.getNumbers()[parm.first + std::uint32_t(component.component)]);
    if (!driver) {
        return {};
    }
    const bool textFlag = parm.rules.getKind() == ZEL_ValueRules::Kind::STRING;
    const TRK_Validity validity(&node.getCollection(), myThread, *this);
    switch (driver->kind) {
    case NOD_SnapshotDriver::Kind::CHANNEL:
        if (!parm.rules.isAnimatible()) {
            return {};
        }
        return textFlag ? validity.ofText(driver->channel->get(), time)
                        : validity.ofNumber(driver->channel->get(), time);
    case NOD_SnapshotDriver::Kind::TEXT:
        return validity.ofLiteral(
            node.getText(parm.text + std::uint32_t(component.component)).c_str(), time);
    case NOD_SnapshotDriver::Kind::PRESENT:
        return driver->foreignFlag && myForeignMovesFlag ? TRK_Interval::at(time) : TRK_Interval();
    case NOD_SnapshotDriver::Kind::OWNER: return TRK_Interval::at(time);
    case NOD_SnapshotDriver::Kind::REFUSED: break;
    }
    return myForeignMovesFlag ? TRK_Interval::at(time) : TRK_Interval();
}

TRK_Interval NOD_SnapshotValidity::ofReference(const TRK_Collection &from,
                                               const KIT_StringRef &path, const KIT_StringRef &name,
                                               double time, bool)
{
    const TRK_Collection *const collection = from.resolvePath(path);
    if (!collection) {
        return TRK_Interval::at(time);
    }
    // Collections of a snapshot have no other resolvers.
    const auto &node = *static_cast<const NOD_SnapshotNode *>(collection->getPathResolver());
    const NOD_SnapshotComponent component = node.getLayout().findChannel(name.view());
    if (component.parm >= 0) {
        return of(node, component, time);
    }
    const TRK_ChannelPicture *const orphan = node.findOrphan(name);
    if (!orphan) {
        return TRK_Interval::at(time);
    }
    // A text of it moves with its number too.
    const TRK_Validity validity(&node.getCollection(), myThread, *this);
    TRK_Interval held = validity.ofNumber(orphan->get(), time);
    held.meet(validity.ofText(orphan->get(), time));
    return held;
}

// ---------------------------------------------------------------------- //
// Of a snapshot
// ---------------------------------------------------------------------- //

TRK_Interval NOD_Snapshot::getHeld(const NOD_SnapshotHandle &handle, double time, int thread) const
{
    if (!handle || handle.isConstant()) {
        return {};
    }
    const NOD_SnapshotScope scope(*this);
    const KIT_ErrorManager::Scope quiet(thread);
    const EVL::ErrorScope number(thread);
    return NOD_SnapshotValidity(thread, false)
        .of(*getNode(handle.myNode), componentOf(handle), time);
}

std::vector<NOD_SnapshotHandle> NOD_Snapshot::findChanged(double from, double to, int thread) const
{
    return findChanged(from, to, thread, false);
}

std::vector<NOD_SnapshotHandle> NOD_Snapshot::findChanged(double from, double to, int thread,
                                                          bool foreignMovesFlag) const
{
    std::vector<NOD_SnapshotHandle> changed;
    const NOD_SnapshotScope scope(*this);
    const KIT_ErrorManager::Scope quiet(thread);
    const EVL::ErrorScope number(thread);
    NOD_SnapshotValidity validity(thread, foreignMovesFlag);
    for (const std::uint32_t place : myTree->getOrder()) {
        const NOD_SnapshotNode &node = *getNode(place);
        for (const NOD_SnapshotDriver &driver : node.getDrivers()) {
            const NOD_SnapshotComponent component{int(driver.parm), int(driver.component)};
            if (!validity.of(node, component, from).contains(to)) {
                changed.push_back(handleOf(node, component.parm, component.component));
            }
        }
    }
    return changed;
}
