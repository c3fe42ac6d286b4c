#include <NOD/NOD_Snapshot.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_SnapshotBudget.h>
#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>
#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>
#include <NOD/text/NOD_SampleRowsPrivate.h>

#include <CON/CON_Manager.h>
#include <TRK/TRK_Manager.h>

#include <algorithm>
#include <functional>

NOD_Snapshot::~NOD_Snapshot() = default;

// ---------------------------------------------------------------------- //
// What it has
// ---------------------------------------------------------------------- //

const NOD_SnapshotNode *NOD_Snapshot::findNode(std::uint32_t from, std::string_view path) const
{
    const std::uint32_t place = myTree->find(from, path);
    return place != NOD_SnapshotTree::theNone ? getNode(place) : nullptr;
}

NOD_SnapshotHandle NOD_Snapshot::handleOf(const NOD_SnapshotNode &node, int parm,
                                          int component) const
{
    NOD_SnapshotHandle handle;
    const NOD_SnapshotParm &facts = node.getLayout().getParms()[std::size_t(parm)];
    if (component >= 0 && component < facts.size) {
        handle.myNumber = node.getNumbers() + facts.first + component;
        handle.myNode = node.getPlace();
        handle.myParm = std::uint32_t(parm) & 0x7FFF'FFFFu;
        handle.myPlainFlag = facts.rules.isNumber() && !NOD_SnapshotNode::isMark(*handle.myNumber);
    }
    return handle;
}

std::vector<std::string> NOD_Snapshot::getPaths() const
{
    std::vector<std::string> paths;
    for (const std::uint32_t place : myTree->getOrder()) {
        paths.push_back(myTree->pathOf(place));
    }
    return paths;
}

std::vector<std::string> NOD_Snapshot::getTokens(std::string_view path) const
{
    std::vector<std::string> tokens;
    if (const NOD_SnapshotNode *const node = findNode(0, path)) {
        for (const NOD_SnapshotParm &parm : node->getLayout().getParms()) {
            tokens.emplace_back(parm.token.view());
        }
    }
    return tokens;
}

NOD_SnapshotHandle NOD_Snapshot::find(std::string_view path, std::string_view token,
                                      int component) const
{
    const NOD_SnapshotNode *const node = findNode(0, path);
    const int parm = node ? node->getLayout().findParm(token) : -1;
    return parm >= 0 ? handleOf(*node, parm, component) : NOD_SnapshotHandle();
}

NOD_SnapshotHandle NOD_Snapshot::findChannel(std::string_view path, std::string_view name) const
{
    const NOD_SnapshotNode *const node = findNode(0, path);
    const NOD_SnapshotComponent found =
        node ? node->getLayout().findChannel(name) : NOD_SnapshotComponent();
    return found.parm >= 0 ? handleOf(*node, found.parm, found.component) : NOD_SnapshotHandle();
}

std::vector<NOD_SnapshotHandle> NOD_Snapshot::findAll(std::string_view path) const
{
    std::vector<NOD_SnapshotHandle> handles;
    const NOD_SnapshotNode *const node = findNode(0, path);
    for (std::size_t i = 0; node && i < node->getLayout().getParms().size(); ++i) {
        for (int k = 0; k < node->getLayout().getParms()[i].size; ++k) {
            handles.push_back(handleOf(*node, int(i), k));
        }
    }
    return handles;
}

std::string NOD_Snapshot::getPath(const NOD_SnapshotHandle &handle) const
{
    return handle ? myTree->pathOf(handle.getNode()) : "";
}

std::string NOD_Snapshot::getToken(const NOD_SnapshotHandle &handle) const
{
    return handle ? std::string(getNode(handle.getNode())
                                    ->getLayout()
                                    .getParms()[std::size_t(handle.getParm())]
                                    .token.view())
                  : "";
}

std::string NOD_Snapshot::getName(const NOD_SnapshotHandle &handle) const
{
    return handle ? std::string(getNode(handle.getNode())->getLayout().nameOf(componentOf(handle)))
                  : "";
}

std::string NOD_Snapshot::getAddress(const NOD_SnapshotHandle &handle) const
{
    return handle ? myTree->addressOf(handle.getNode(), getName(handle)) : "";
}

/// Of a handle that is one.
NOD_SnapshotComponent NOD_Snapshot::componentOf(const NOD_SnapshotHandle &handle) const
{
    const NOD_SnapshotNode &node = *getNode(handle.myNode);
    const std::ptrdiff_t number = handle.myNumber - node.getNumbers();
    const NOD_SnapshotParm &parm = node.getLayout().getParms()[handle.myParm];
    return {int(handle.myParm), int(number - std::ptrdiff_t(parm.first))};
}

int NOD_Snapshot::getComponent(const NOD_SnapshotHandle &handle) const
{
    return handle ? componentOf(handle).component : -1;
}

const TRK_Channel *NOD_Snapshot::getChannel(const NOD_SnapshotHandle &handle) const
{
    const NOD_SnapshotDriver *const driver =
        handle ? getNode(handle.getNode())->findDriver(*handle.myNumber) : nullptr;
    return driver && driver->channel ? &driver->channel->get() : nullptr;
}

std::shared_ptr<const ZEL_DataItem> NOD_Snapshot::getItem(const NOD_SnapshotHandle &handle) const
{
    const NOD_SnapshotDriver *const driver =
        handle ? getNode(handle.getNode())->findDriver(*handle.myNumber) : nullptr;
    return driver ? driver->item : nullptr;
}

std::vector<NOD_Snapshot::Foreign> NOD_Snapshot::getForeign() const
{
    std::vector<Foreign> all;
    for (const std::uint32_t place : myTree->getOrder()) {
        const NOD_SnapshotNode &node = *getNode(place);
        const auto first = all.size();
        for (const NOD_SnapshotDriver &driver : node.getDrivers()) {
            if (driver.foreignFlag) {
                all.push_back({handleOf(node, int(driver.parm), int(driver.component)),
                               driver.foreign, myOptions.of(driver.foreign)});
            }
        }
        std::sort(all.begin() + std::ptrdiff_t(first), all.end(),
                  [](const Foreign &a, const Foreign &b) {
                      return std::less<>()(a.handle.myNumber, b.handle.myNumber);
                  });
    }
    return all;
}

std::int64_t NOD_Snapshot::getMemoryUsage() const
{
    std::int64_t bytes = std::int64_t(sizeof(*this) + myPages.capacity() * sizeof(myPages[0]) +
                                      myPages.size() * sizeof(Page)) +
                         myTree->getMemoryUsage();
    std::vector<const NOD_SnapshotLayout *> layouts;
    for (const std::uint32_t place : myTree->getOrder()) {
        bytes += getNode(place)->getMemoryUsage();
        layouts.push_back(&getNode(place)->getLayout());
    }
    std::sort(layouts.begin(), layouts.end());
    layouts.erase(std::unique(layouts.begin(), layouts.end()), layouts.end());
    for (const NOD_SnapshotLayout *const layout : layouts) {
        bytes += layout->getMemoryUsage();
    }
    return bytes;
}

std::size_t NOD_Snapshot::countShared(const NOD_Snapshot &other) const
{
    std::size_t count = 0;
    for (const std::uint32_t place : myTree->getOrder()) {
        const bool thereFlag = place / Page::theSize < other.myPages.size();
        count += thereFlag && getNode(place) == other.getNode(place) ? 1 : 0;
    }
    return count;
}

// ---------------------------------------------------------------------- //
// What expressions ask for
// ---------------------------------------------------------------------- //

bool NOD_Snapshot::getVariable(std::uint32_t place, const KIT_StringRef &name,
                               KIT_String &value) const
{
    const std::string *const found = myTree->findVariable(place, std::string(name.view()));
    if (found) {
        value.harden(found->c_str());
    }
    return found != nullptr;
}

bool NOD_Snapshot::getEnvironment(const KIT_StringRef &name, KIT_String &value) const
{
    const NOD_SnapshotLimits *const limits = NOD_SnapshotBudget::find();
    if (limits && !limits->environment) {
        TRK_Manager::raiseError(EVL::EVL_REFUSED, BASgetSTID());
        return false;
    }
    if (myOptions.variables == NOD_SnapshotOptions::Policy::OWNER) {
        return CON_Manager::getContext().getEnv(name, value);
    }
    const auto found = myEnvironment->find(std::string(name.view()));
    if (found == myEnvironment->end() || !found->second) {
        return false;
    }
    value.harden(found->second->c_str());
    return true;
}

void NOD_Snapshot::appendPath(std::uint32_t place, KIT_WorkBuffer &path) const
{
    myTree->appendPath(place, path);
}

// ---------------------------------------------------------------------- //
// Reading
// ---------------------------------------------------------------------- //

double NOD_Snapshot::readNumber(const NOD_SnapshotHandle &handle, double time, int thread) const
{
    const NOD_SnapshotScope scope(*this);
    return readWithin(handle, time, thread);
}

/// Within the snapshot's scope.
double NOD_Snapshot::readWithin(const NOD_SnapshotHandle &handle, double time, int thread) const
{
    bool timeDependent = false;
    return handle ? NOD_SnapshotRead(*getNode(handle.myNode), componentOf(handle), time, thread,
                                     timeDependent)
                        .number()
                  : 0.0;
}

std::int64_t NOD_Snapshot::getInteger(const NOD_SnapshotHandle &handle, double time,
                                      int thread) const
{
    if (!handle) {
        return 0;
    }
    const NOD_SnapshotScope scope(*this);
    bool timeDependent = false;
    return NOD_SnapshotRead(*getNode(handle.myNode), componentOf(handle), time, thread,
                            timeDependent)
        .integer();
}

void NOD_Snapshot::getText(const NOD_SnapshotHandle &handle, double time, int thread,
                           KIT_String &text) const
{
    if (!handle) {
        text = "";
        return;
    }
    const NOD_SnapshotScope scope(*this);
    bool timeDependent = false;
    NOD_SnapshotRead(*getNode(handle.myNode), componentOf(handle), time, thread, timeDependent)
        .text(text);
}

NOD_SampleFault NOD_Snapshot::sample(const NOD_SnapshotHandle *handles, std::size_t count,
                                     const double *times, std::size_t numTimes, double *rows) const
{
    const auto read = [&](std::size_t column, double time, int thread) {
        const NOD_SnapshotHandle &handle = handles[column];
        return handle.isConstant() ? handle.getConstant() : readWithin(handle, time, thread);
    };
    const NOD_SnapshotLimits *const limits = NOD_SnapshotBudget::find();
    return NODsampleRows(times, numTimes, count, rows, read, [&](const auto &work) {
        const NOD_SnapshotScope scope(*this);
        const NOD_SnapshotBudget budget(limits ? *limits : NOD_SnapshotLimits());
        work();
    });
}
