#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <map>
#include <set>
#include <utility>

namespace
{

using Verb = NOD_Change::Verb;
using Kind = NOD_RecordKind;

/// What is to come to the parts of one record.
struct Arrivals
{
    struct One
    {
        const NOD_Change *change;
        std::unique_ptr<NOD_Record> record;
    };
    NOD_RecordPath parent;
    std::vector<One> all;
};

/// Makes the changes to a copy of the old state, in an order of its own: first all that is found by old paths, then
/// what comes, from the top down, by new ones.
class Apply
{
public:
    Apply(const NOD_Difference::Changes &changes, const NOD_Record &old, NOD_Report &report)
        : myChanges(changes), myReport(report), myTop(old.copy())
    {}

    std::unique_ptr<NOD_Record> run();

private:
    class Placing;
    struct Found
    {
        const NOD_Change *change;
        NOD_Record *record;
    };

    void error(const NOD_Change &change, const std::string &text);
    void find();
    void setValues();
    void takeAway();
    void checkRemoved();
    void gatherArrivals();
    void bring();
    void checkNames();
    void place(NOD_Record &parent, Arrivals &arrivals);
    bool placeItems(NOD_Record &parent, std::vector<Arrivals::One> &items);

    const NOD_Difference::Changes &myChanges;
    NOD_Report &myReport;
    std::unique_ptr<NOD_Record> myTop;
    std::vector<Found> myFound;
    std::map<const NOD_Record *, std::unique_ptr<NOD_Record>> myTaken;
    std::vector<Arrivals> myArrivals; ///< parents first
    bool myGoodFlag = true;
};

void Apply::error(const NOD_Change &change, const std::string &text)
{
    myGoodFlag = false;
    myReport.error(NODpathText(change.getPath()), text);
}

std::string shown(const NOD_Value &value)
{
    return std::holds_alternative<std::monostate>(value) ? "nothing"
           : std::holds_alternative<std::string>(value)  ? "\"" + NODvalueText(value) + "\""
                                                         : NODvalueText(value);
}

bool isWhole(const NOD_Change &change)
{
    const bool fromFlag = change.verb != Verb::ADDED;
    const bool toFlag = change.verb != Verb::REMOVED;
    return fromFlag != change.oldPath.empty() && toFlag != change.newPath.empty() &&
           (change.oldPath.empty() || change.newPath.empty() ||
            change.oldPath.back().kind == change.newPath.back().kind) &&
           ((change.verb == Verb::ADDED || change.verb == Verb::REMOVED) ==
            (change.record != nullptr)) &&
           (!change.record || (change.record->getKind() == change.getKind() &&
                               change.record->getName() == change.getPath().back().name));
}

void Apply::find()
{
    for (const NOD_Change &change : myChanges) {
        if (change.oldPath.empty() && change.newPath.empty()) {
            myGoodFlag = false;
            myReport.error("", "a change says nothing of its place");
            continue;
        }
        if (!isWhole(change)) {
            error(change, "the change isn't whole");
            continue;
        }
        if (change.verb == Verb::ADDED) {
            continue;
        }
        NOD_Record *const record = NODfindRecord(*myTop, change.oldPath);
        if (!record) {
            myGoodFlag = false;
            myReport.error(NODpathText(change.oldPath), "isn't there");
        } else if (change.verb == Verb::CHANGED &&
                   !NODisSameValue(record->getValue(), change.oldValue)) {
            myGoodFlag = false;
            myReport.error(NODpathText(change.oldPath),
                           "is " + shown(record->getValue()) + ", not " + shown(change.oldValue));
        } else {
            myFound.push_back({&change, record});
        }
    }
}

void Apply::setValues()
{
    for (const Found &found : myFound) {
        if (found.change->verb == Verb::CHANGED) {
            found.record->setValue(found.change->newValue);
        } else if (found.change->verb == Verb::RENAMED || found.change->verb == Verb::MOVED) {
            found.record->setName(found.change->newPath.back().name);
        }
    }
}

/// Out of the lists that they are in; what is within them stays there.
void Apply::takeAway()
{
    std::map<NOD_Record *, std::set<const NOD_Record *>> goneFrom;
    for (const Found &found : myFound) {
        if (found.change->verb == Verb::MOVED || found.change->verb == Verb::REMOVED) {
            if (!goneFrom[found.record->getParent()].insert(found.record).second) {
                error(*found.change, "is moved or removed twice");
            }
        }
    }
    for (auto &[parent, gone] : goneFrom) {
        NOD_Record::Parts &parts = parent->changeParts();
        NOD_Record::Parts rest;
        rest.reserve(parts.size());
        for (auto &part : parts) {
            if (gone.count(part.get()) != 0) {
                const NOD_Record *const key = part.get();
                myTaken[key] = std::move(part);
            } else {
                rest.push_back(std::move(part));
            }
        }
        parts.swap(rest);
        parent->adoptParts();
    }
}

void Apply::checkRemoved()
{
    for (const Found &found : myFound) {
        const auto taken = myTaken.find(found.record);
        if (found.change->verb == Verb::REMOVED && taken != myTaken.end() && taken->second &&
            !taken->second->isSame(*found.change->record)) {
            error(*found.change, "isn't what was removed");
        }
    }
}

void Apply::gatherArrivals()
{
    std::map<std::string, std::size_t> byParent;
    const auto keyOf = [](const NOD_RecordPath &path) {
        std::string key;
        for (const NOD_PathStep &step : path) {
            key += std::to_string(int(step.kind)) + ' ' + std::to_string(step.item) + ' ' +
                   std::to_string(step.name.size()) + ' ' + step.name;
        }
        return key;
    };
    const auto add = [&](const NOD_Change &change, std::unique_ptr<NOD_Record> record) {
        NOD_RecordPath parent = change.newPath;
        parent.pop_back();
        const auto [at, newFlag] = byParent.emplace(keyOf(parent), myArrivals.size());
        if (newFlag) {
            myArrivals.push_back({std::move(parent), {}});
        }
        myArrivals[at->second].all.push_back({&change, std::move(record)});
    };
    for (const NOD_Change &change : myChanges) {
        if (change.verb == Verb::ADDED) {
            add(change, change.record->copy());
        }
    }
    for (const Found &found : myFound) {
        if (found.change->verb == Verb::MOVED) {
            add(*found.change, std::move(myTaken[found.record]));
        }
    }
    std::stable_sort(
        myArrivals.begin(), myArrivals.end(),
        [](const Arrivals &a, const Arrivals &b) { return a.parent.size() < b.parent.size(); });
}

/// Those that come have their places, the others fill the rest.
bool Apply::placeItems(NOD_Record &parent, std::vector<Arrivals::One> &items)
{
    std::sort(items.begin(), items.end(), [](const Arrivals::One &a, const Arrivals::One &b) {
        return a.change->newPath.back().item < b.change->newPath.back().item;
    });
    NOD_Record::Parts placed;
    NOD_Record::Parts &parts = parent.changeParts();
    auto next = items.begin();
    int item = 0;
    const auto take = [&] {
        while (next != items.end() && next->change->newPath.back().item == item) {
            placed.push_back(std::move(next->record));
            ++next;
            ++item;
        }
    };
    for (auto &part : parts) {
        if (part->getKind() == Kind::ITEM) {
            take();
            ++item;
        }
        placed.push_back(std::move(part));
    }
    take();
    parts.swap(placed);
    if (next != items.end()) {
        error(*next->change, "there are only " + std::to_string(item) + " items");
    }
    return next == items.end();
}

/// Puts each where its place is, once what it comes after is there; the others stay as they are.
class Apply::Placing
{
public:
    Placing(NOD_Record &parent, std::vector<Arrivals::One> &arrivals)
        : myParent(parent), myArrivals(arrivals)
    {}

    void run()
    {
        for (auto &part : myParent.changeParts()) {
            const Key key = keyOf(*part);
            myPlaces.emplace(key, myParts.insert(myParts.end(), std::move(part)));
        }
        for (Arrivals::One &one : myArrivals) {
            if (!place(one)) {
                myWaiting[{one.record->getKind(), *one.change->newAfter}].push_back(&one);
            }
        }
        myParent.changeParts().assign(std::make_move_iterator(myParts.begin()),
                                      std::make_move_iterator(myParts.end()));
        myParent.adoptParts();
    }

private:
    using Key = std::pair<Kind, std::string>;
    using List = std::list<std::unique_ptr<NOD_Record>>;

    static Key keyOf(const NOD_Record &record) { return {record.getKind(), record.getName()}; }

    /// With those that have waited for it.
    bool place(Arrivals::One &first)
    {
        std::vector<Arrivals::One *> ready = {&first};
        for (bool placedFlag = false; !ready.empty(); placedFlag = true) {
            Arrivals::One &one = *ready.back();
            ready.pop_back();
            const std::optional<std::string> &after = one.change->newAfter;
            List::iterator at = !after ? myParts.end() : myParts.begin();
            if (after && !after->empty()) {
                const auto before = myPlaces.find({one.record->getKind(), *after});
                if (before == myPlaces.end()) {
                    return placedFlag;
                }
                at = std::next(before->second);
            }
            const Key key = keyOf(*one.record);
            myPlaces.emplace(key, myParts.insert(at, std::move(one.record)));
            const auto waiting = myWaiting.find(key);
            if (waiting != myWaiting.end()) {
                ready.insert(ready.end(), waiting->second.rbegin(), waiting->second.rend());
                myWaiting.erase(waiting);
            }
        }
        return true;
    }

    NOD_Record &myParent;
    std::vector<Arrivals::One> &myArrivals;
    List myParts;
    std::map<Key, List::iterator> myPlaces;
    std::map<Key, std::vector<Arrivals::One *>> myWaiting;
};

void Apply::place(NOD_Record &parent, Arrivals &arrivals)
{
    std::vector<Arrivals::One> items;
    std::vector<Arrivals::One> waiting;
    for (Arrivals::One &one : arrivals.all) {
        (one.record->getKind() == Kind::ITEM ? items : waiting).push_back(std::move(one));
    }
    std::set<std::pair<Kind, std::string>> names;
    for (const auto &part : parent.getParts()) {
        names.emplace(part->getKind(), part->getName());
    }
    for (const Arrivals::One &one : waiting) {
        if (!names.emplace(one.record->getKind(), one.record->getName()).second) {
            error(*one.change, "is there already");
        }
    }
    if (!myGoodFlag || (!items.empty() && !placeItems(parent, items))) {
        return;
    }
    Placing(parent, waiting).run();
    for (const Arrivals::One &one : waiting) {
        if (one.record) {
            error(*one.change, "there is no \"" + *one.change->newAfter + "\" to come after");
        }
    }
}

void Apply::bring()
{
    for (Arrivals &arrivals : myArrivals) {
        NOD_Record *const parent = NODfindRecord(*myTop, arrivals.parent);
        if (!parent) {
            error(*arrivals.all.front().change, "has no place: what it is in isn't there");
            return;
        }
        place(*parent, arrivals);
        if (!myGoodFlag) {
            return;
        }
    }
}

/// Two of one name can't be told apart.
void Apply::checkNames()
{
    std::map<const NOD_Record *, std::map<std::pair<Kind, std::string>, int>> counts;
    for (const Found &found : myFound) {
        if (found.change->verb != Verb::RENAMED) {
            continue;
        }
        const NOD_Record *const parent = found.record->getParent();
        const auto [names, newFlag] = counts.try_emplace(parent);
        if (newFlag) {
            for (const auto &part : parent->getParts()) {
                ++names->second[{part->getKind(), part->getName()}];
            }
        }
        if (names->second[{found.record->getKind(), found.record->getName()}] > 1) {
            error(*found.change, "is there already");
        }
    }
}

std::unique_ptr<NOD_Record> Apply::run()
{
    find();
    if (myGoodFlag) {
        takeAway();
    }
    if (myGoodFlag) {
        checkRemoved();
    }
    if (!myGoodFlag) {
        return nullptr;
    }
    setValues();
    gatherArrivals();
    bring();
    if (myGoodFlag) {
        checkNames();
    }
    return myGoodFlag ? std::move(myTop) : nullptr;
}

} // namespace

std::unique_ptr<NOD_Record> NOD_Difference::apply(const NOD_Record &old, NOD_Report &report) const
{
    if (!myExactFlag) {
        report.error("difference",
                     "is a comparison that leaves out what has no meaning, and no patch");
        return nullptr;
    }
    return Apply(myChanges, old, report).run();
}
