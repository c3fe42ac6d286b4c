#include <NOD/explain/NOD_ExplainerPrivate.h>

#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/snapshot/NOD_SnapshotNodePrivate.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>
#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>
#include <TRK/TRK_Manager.h>

#include <algorithm>
#include <functional>
#include <unordered_map>

using Source = NOD_ExplainedValue::Source;

bool NOD_Explainer::Place::operator<(const Place &other) const
{
    const auto key = [](const Place &place) {
        return std::tie(place.node, place.component.parm, place.component.component, place.name,
                        place.time);
    };
    return key(*this) < key(other);
}

NOD_Explainer::NOD_Explainer(const NOD_Snapshot &snapshot, int thread)
    : mySnapshot(snapshot), myThread(thread), myValidity(thread, false)
{}

// ---------------------------------------------------------------------- //
// The way
// ---------------------------------------------------------------------- //

NOD_Explanation NOD_Explainer::explain(const NOD_SnapshotHandle &handle, double time)
{
    myMade = NOD_Explanation();
    myPlaces.clear();
    myNumbers.clear();
    if (handle) {
        add({mySnapshot.getNode(handle.getNode()), mySnapshot.componentOf(handle), "", time});
        follow();
        for (NOD_ExplainedValue &value : myMade.values) {
            noteMovers(value);
        }
    }
    return std::move(myMade);
}

/// The number of the place's value, which may be still to evaluate; theMost if there is no more room.
std::size_t NOD_Explainer::add(const Place &place)
{
    const auto found = myNumbers.find(place);
    if (found != myNumbers.end()) {
        return found->second;
    }
    if (myPlaces.size() >= NOD_Explanation::theMost) {
        myMade.cutFlag = true;
        return NOD_Explanation::theMost;
    }
    NOD_ExplainedValue value;
    value.address = addressOf(place);
    value.time = place.time;
    value.held = TRK_Interval::at(place.time);
    if (place.component.parm >= 0) {
        value.handle =
            mySnapshot.handleOf(*place.node, place.component.parm, place.component.component);
    }
    myNumbers.emplace(place, myPlaces.size());
    myPlaces.push_back(place);
    myMade.values.push_back(std::move(value));
    return myPlaces.size() - 1;
}

/// In depth, without recursion: the way may be long.
void NOD_Explainer::follow()
{
    enum State : char
    {
        NEW,
        ON_WAY,
        DONE
    };
    std::vector<State> states;
    std::vector<Step> way;
    const auto visit = [&](std::size_t value) {
        evaluate(value);
        states.resize(myMade.values.size(), NEW);
        states[value] = ON_WAY;
        way.push_back({value});
    };
    visit(0);
    while (!way.empty()) {
        Step &step = way.back();
        const std::vector<std::size_t> &reads = myMade.values[step.value].reads;
        if (step.next == reads.size()) {
            states[step.value] = DONE;
            way.pop_back();
            continue;
        }
        const std::size_t value = reads[step.next++];
        if (states[value] == ON_WAY) {
            noteCycle(way, value);
        } else if (states[value] == NEW) {
            visit(value);
        }
    }
}

void NOD_Explainer::noteCycle(const std::vector<Step> &way, std::size_t value)
{
    if (!myMade.cycle.empty()) {
        return;
    }
    const auto first =
        std::find_if(way.begin(), way.end(), [&](const Step &step) { return step.value == value; });
    for (auto step = first; step != way.end(); ++step) {
        myMade.cycle.push_back(myMade.values[step->value].address);
    }
    myMade.cycle.push_back(myMade.values[value].address);
}

// ---------------------------------------------------------------------- //
// A value
// ---------------------------------------------------------------------- //

void NOD_Explainer::evaluate(std::size_t number)
{
    const Place place = myPlaces[number];
    NOD_ExplainedValue value = myMade.values[number];
    myReads.clear();
    if (place.component.parm >= 0) {
        evaluateParm(place, value);
    } else {
        evaluateOrphan(place, value);
    }
    for (const Place &read : myReads) {
        const std::size_t at = add(read);
        const bool knownFlag =
            std::find(value.reads.begin(), value.reads.end(), at) != value.reads.end();
        if (!knownFlag && at < NOD_Explanation::theMost) {
            value.reads.push_back(at);
        }
    }
    myMade.values[number] = std::move(value);
}

void NOD_Explainer::evaluateParm(const Place &place, NOD_ExplainedValue &value)
{
    const NOD_SnapshotNode &node = *place.node;
    const NOD_SnapshotParm &parm = node.getLayout().getParms()[std::size_t(place.component.parm)];
    const double stored = node.getNumbers()[parm.first + std::uint32_t(place.component.component)];
    if (const NOD_SnapshotDriver *const driver = node.findDriver(stored)) {
        describe(*driver, place, value);
        value.held = myValidity.of(node, place.component, place.time);
    } else {
        value.held = {};
    }
    const EVL::ErrorScope error(myThread, EVL::ErrorScope::CLEARED);
    const TRK_ReferenceScope listening(*this);
    bool timeDependent = false;
    const NOD_SnapshotRead read(node, place.component, place.time, myThread, timeDependent);
    if (parm.rules.getKind() == ZEL_ValueRules::Kind::FLOAT) {
        value.value = fmt::format("{}", read.number());
    } else {
        KIT_String text;
        read.text(text);
        value.value = text.nonNullStr();
    }
    value.error = error.number();
}

/// Of a channel that no parameter has, if there is one.
void NOD_Explainer::evaluateOrphan(const Place &place, NOD_ExplainedValue &value)
{
    const KIT_StringRef name(place.name.c_str(), place.name.size());
    const TRK_ChannelPicture *const orphan = place.node ? place.node->findOrphan(name) : nullptr;
    if (!orphan) {
        value.source = Source::LOST;
        value.error = EVL::EVL_UNKNOWN_CHANNEL;
        value.held = {}; // it stays lost
        return;
    }
    describe(orphan->get(), place.time, value);
    const EVL::ErrorScope error(myThread, EVL::ErrorScope::CLEARED);
    const TRK_ReferenceScope listening(*this);
    bool timeDependent = false;
    value.value = fmt::format("{}", orphan->get().evaluate(&place.node->getCollection(), place.time,
                                                           myThread, timeDependent));
    value.held = timeDependent ? TRK_Interval::at(place.time) : TRK_Interval();
    value.error = error.number();
}

void NOD_Explainer::describe(const NOD_SnapshotDriver &driver, const Place &place,
                             NOD_ExplainedValue &value)
{
    const NOD_SnapshotParm &parm =
        place.node->getLayout().getParms()[std::size_t(place.component.parm)];
    switch (driver.kind) {
    case NOD_SnapshotDriver::Kind::CHANNEL:
        describe(driver.channel->get(), parm.rules.isAnimatible() ? place.time : 0.0, value);
        return;
    case NOD_SnapshotDriver::Kind::TEXT:
        value.source = Source::TEXT;
        value.text =
            place.node->getText(parm.text + std::uint32_t(place.component.component)).c_str();
        return;
    default: break;
    }
    if (driver.foreignFlag) {
        value.source = Source::FOREIGN;
        value.foreign = driver.foreign;
    }
}

void NOD_Explainer::describe(const TRK_Channel &channel, double time, NOD_ExplainedValue &value)
{
    const TRK_Segment *const segment = channel.getExpressionSegment(time);
    if (segment && segment->isInterpolated()) {
        value.source = Source::KEYS;
        return;
    }
    value.source = Source::EXPRESSION;
    value.text = segment ? segment->getExpression() : channel.getDefaultString().nonNullStr();
}

void NOD_Explainer::noteMovers(NOD_ExplainedValue &value) const
{
    if (value.held.isForever() || value.source == Source::LOST) {
        return;
    }
    const auto add = [&](const std::string &mover) {
        if (std::find(value.movers.begin(), value.movers.end(), mover) == value.movers.end()) {
            value.movers.push_back(mover);
        }
    };
    if (value.source == Source::FOREIGN) {
        add(NODforeignName(value.foreign));
    } else if (value.source == Source::KEYS) {
        add("keys");
    }
    TRK_Manager::forEachVariable(value.text.c_str(), [&](std::string_view name) {
        if (TRK_Manager::isTimeVariable(name)) {
            add("$" + std::string(name));
        }
    });
    // What is read at another time moves with that one, not by itself.
    for (const bool otherFlag : {false, true}) {
        for (const std::size_t read : value.reads) {
            const NOD_ExplainedValue &other = myMade.values[read];
            if (!other.held.isForever() && (other.time != value.time) == otherFlag) {
                add(other.address);
            }
        }
        if (!value.movers.empty()) {
            return;
        }
    }
    add(value.error != EVL::EVL_OK ? "error" : "expression");
}

// ---------------------------------------------------------------------- //
// What is read
// ---------------------------------------------------------------------- //

/// What the component's evaluation reads itself.
void NOD_Explainer::readsOf(const NOD_SnapshotNode &node, NOD_SnapshotComponent component,
                            double time)
{
    myReads.clear();
    const EVL::ErrorScope error(myThread, EVL::ErrorScope::CLEARED);
    const TRK_ReferenceScope listening(*this);
    bool timeDependent = false;
    const NOD_SnapshotRead read(node, component, time, myThread, timeDependent);
    KIT_String text;
    read.text(text);
}

std::vector<NOD_Explainer::Edge> NOD_Explainer::findEdges(double time)
{
    std::vector<Edge> edges;
    for (const std::uint32_t at : mySnapshot.myTree->getOrder()) {
        const NOD_SnapshotNode &node = *mySnapshot.getNode(at);
        for (const NOD_SnapshotDriver &driver : node.getDrivers()) {
            const NOD_SnapshotComponent component{int(driver.parm), int(driver.component)};
            readsOf(node, component, time);
            for (const Place &read : myReads) {
                if (read.component.parm >= 0) {
                    edges.emplace_back(
                        mySnapshot.handleOf(node, component.parm, component.component),
                        mySnapshot.handleOf(*read.node, read.component.parm,
                                            read.component.component));
                }
            }
        }
    }
    return edges;
}

void NOD_Explainer::putInOrder(std::vector<NOD_SnapshotHandle> &handles) const
{
    const std::vector<std::uint32_t> &order = mySnapshot.myTree->getOrder();
    std::unordered_map<std::uint32_t, std::size_t> ranks;
    for (std::size_t i = 0; i < order.size(); ++i) {
        ranks.emplace(order[i], i);
    }
    // A node's numbers lie in the order of its parameters.
    std::sort(handles.begin(), handles.end(), [&](const auto &a, const auto &b) {
        return a.getNode() != b.getNode() ? ranks[a.getNode()] < ranks[b.getNode()]
                                          : std::less<>()(a.getPlace(), b.getPlace());
    });
    handles.erase(std::unique(handles.begin(), handles.end()), handles.end());
}

void NOD_Explainer::referenceReadAt(const TRK_Collection &collection, const KIT_StringRef &name,
                                    double time)
{
    // Collections of a snapshot have no other resolvers.
    const auto *const node = static_cast<const NOD_SnapshotNode *>(collection.getPathResolver());
    const NOD_SnapshotComponent component = node->getLayout().findChannel(name.view());
    myReads.push_back(
        {node, component, component.parm < 0 ? std::string(name.view()) : std::string(), time});
}

void NOD_Explainer::pathLost(const TRK_Collection &, const KIT_StringRef &path)
{
    myReads.push_back({nullptr, {}, std::string(path.view()), 0.0});
}

std::string NOD_Explainer::addressOf(const Place &place) const
{
    if (!place.node) {
        return place.name;
    }
    return mySnapshot.myTree->addressOf(place.node->getPlace(),
                                        place.component.parm >= 0
                                            ? place.node->getLayout().nameOf(place.component)
                                            : std::string_view(place.name));
}
