#include <NOD/NOD_Difference.h>

#include <NOD/NOD_Matching.h>

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace
{

using Verb = NOD_Change::Verb;
using Kind = NOD_RecordKind;

/// Tells what a matching means.
class Walk
{
public:
    Walk(const NOD_Matching &matching, const NOD_CompareOptions &options)
        : myMatching(matching), myOptions(options)
    {}

    void compare(const NOD_Record &left, const NOD_Record &right);
    NOD_Difference::Changes takeChanges() { return std::move(myChanges); }

private:
    void compareParts(const NOD_Record &left, const NOD_Record &right);
    void comparePart(const NOD_Record &left, const NOD_Record &right);
    void findMovedInto(const NOD_Record &added);
    void tellAdded(const NOD_Record &right);
    void tellRemoved(const NOD_Record &left);
    bool counts(const NOD_Record &record, const NOD_Record *other) const;
    std::unique_ptr<NOD_Record> copyWithout(const NOD_Record &record) const;
    std::optional<std::string> placeOf(const NOD_Record &record);
    NOD_Change changeOf(Verb verb, const NOD_Record *left, const NOD_Record *right);

    const NOD_Matching &myMatching;
    const NOD_CompareOptions &myOptions;
    NOD_Difference::Changes myChanges;
    std::unordered_set<const NOD_Record *> myPlaced; ///< whose parts are in myBefore
    std::unordered_map<const NOD_Record *, const NOD_Record *> myBefore; ///< siblings of one kind
};

/// The name of the sibling in front.
std::optional<std::string> Walk::placeOf(const NOD_Record &record)
{
    if (!myOptions.hasOrder(record.getKind())) {
        return std::nullopt;
    }
    const NOD_Record *const parent = record.getParent();
    if (myPlaced.insert(parent).second) {
        std::map<Kind, const NOD_Record *> last;
        for (const auto &part : parent->getParts()) {
            const NOD_Record *&before = last[part->getKind()];
            myBefore[part.get()] = std::exchange(before, part.get());
        }
    }
    const NOD_Record *const before = myBefore[&record];
    return before ? before->getName() : std::string();
}

NOD_Change Walk::changeOf(Verb verb, const NOD_Record *left, const NOD_Record *right)
{
    NOD_Change change;
    change.verb = verb;
    if (left) {
        change.oldPath = NODpathOf(*left);
        change.oldAfter =
            verb == Verb::CHANGED || verb == Verb::RENAMED ? std::nullopt : placeOf(*left);
    }
    if (right) {
        change.newPath = NODpathOf(*right);
        change.newAfter =
            verb == Verb::CHANGED || verb == Verb::RENAMED ? std::nullopt : placeOf(*right);
    }
    return change;
}

std::unique_ptr<NOD_Record> Walk::copyWithout(const NOD_Record &record) const
{
    if (record.isClosed() || record.getTraits().siblings != NOD_Siblings::TREE) {
        return record.copy();
    }
    auto made = std::make_unique<NOD_Record>(record.getKind(), record.getName(), record.getValue());
    for (const auto &part : record.getParts()) {
        const bool treeFlag = part->getTraits().siblings == NOD_Siblings::TREE;
        if (!treeFlag) {
            made->add(part->copy());
        } else if (!myMatching.partnerOf(*part)) {
            made->add(copyWithout(*part));
        }
    }
    return made;
}

/// A number beside a channel is what was read last.
bool Walk::counts(const NOD_Record &record, const NOD_Record *other) const
{
    if (myOptions.isExact) {
        return true;
    }
    const auto isDriven = [](const NOD_Record *one) {
        return one && one->getKind() == Kind::VALUE && one->getParent() &&
               one->getParent()->find(Kind::DRIVER, one->getName());
    };
    return myOptions.counts(record.getKind()) &&
           !(isDriven(&record) && (!other || isDriven(other)));
}

void Walk::tellAdded(const NOD_Record &right)
{
    if (counts(right, nullptr)) {
        NOD_Change change = changeOf(Verb::ADDED, nullptr, &right);
        change.record = copyWithout(right);
        myChanges.push_back(std::move(change));
    }
    findMovedInto(right);
}

void Walk::tellRemoved(const NOD_Record &left)
{
    if (counts(left, nullptr)) {
        NOD_Change change = changeOf(Verb::REMOVED, &left, nullptr);
        change.record = copyWithout(left);
        myChanges.push_back(std::move(change));
    }
    // Those below it that aren't are told where they are now; what is in those that are, is in the change.
}

void Walk::findMovedInto(const NOD_Record &added)
{
    if (added.getTraits().siblings != NOD_Siblings::TREE) {
        return;
    }
    for (const auto &part : added.getParts()) {
        if (part->getTraits().siblings != NOD_Siblings::TREE) {
            continue;
        }
        const NOD_Record *const left = myMatching.partnerOf(*part);
        if (left) {
            comparePart(*left, *part);
        } else {
            findMovedInto(*part);
        }
    }
}

void Walk::comparePart(const NOD_Record &left, const NOD_Record &right)
{
    const bool sameParent = myMatching.partnerOf(*left.getParent()) == right.getParent();
    if (!sameParent || !myMatching.stays(left)) {
        myChanges.push_back(changeOf(Verb::MOVED, &left, &right));
    } else if (left.getName() != right.getName()) {
        myChanges.push_back(changeOf(Verb::RENAMED, &left, &right));
    }
    compare(left, right);
}

void Walk::compareParts(const NOD_Record &left, const NOD_Record &right)
{
    for (const auto &part : left.getParts()) {
        if (!myMatching.partnerOf(*part)) {
            tellRemoved(*part);
        }
    }
    for (const auto &part : right.getParts()) {
        if (const NOD_Record *const before = myMatching.partnerOf(*part)) {
            comparePart(*before, *part);
        } else {
            tellAdded(*part);
        }
    }
}

void Walk::compare(const NOD_Record &left, const NOD_Record &right)
{
    if (myMatching.isEqual(left)) {
        return;
    }
    if (!NODisSameValue(left.getValue(), right.getValue()) && counts(left, &right)) {
        const NOD_RecordPath path = NODpathOf(right);
        if (!path.empty() && !myOptions.isSame(path, left.getValue(), right.getValue())) {
            NOD_Change change = changeOf(Verb::CHANGED, &left, &right);
            change.oldValue = left.getValue();
            change.newValue = right.getValue();
            myChanges.push_back(std::move(change));
        }
    }
    compareParts(left, right);
}

} // namespace

NOD_Difference NOD_Difference::between(const NOD_Record &left, const NOD_Record &right,
                                       const NOD_CompareOptions &options)
{
    return between(left, right, NOD_Matching(left, right, options), options);
}

NOD_Difference NOD_Difference::between(const NOD_Record &left, const NOD_Record &right,
                                       const NOD_Matching &matching,
                                       const NOD_CompareOptions &options)
{
    Walk walk(matching, options);
    walk.compare(left, right);
    return NOD_Difference(walk.takeChanges(), options.isExact);
}

NOD_Difference NOD_Difference::inverse() const
{
    Changes changes;
    changes.reserve(myChanges.size());
    for (const NOD_Change &change : myChanges) {
        changes.push_back(change.inverse());
    }
    return NOD_Difference(std::move(changes), myExactFlag);
}
