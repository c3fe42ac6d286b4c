#include <NOD/NOD_Merge.h>

#include <KIT/KIT_String.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/difference/NOD_MergeChannelsPrivate.h>
#include <NOD/difference/NOD_MergeNamesPrivate.h>
#include <NOD/difference/NOD_MergeReferencesPrivate.h>
#include <NOD/difference/NOD_MergeTreePrivate.h>
#include <NOD/difference/NOD_PresetRecordsPrivate.h>

#include <algorithm>
#include <iterator>
#include <utility>

// ---------------------------------------------------------------------- //
// Who stands
// ---------------------------------------------------------------------- //

namespace
{

bool fits(const std::string &pattern, const NOD_RecordPath &path)
{
    const auto last = std::find_if(path.rbegin(), path.rend(), [](const NOD_PathStep &step) {
        return step.kind == NOD_RecordKind::NODE;
    });
    const NOD_RecordPath within(last.base(), path.end());
    return KIT_String::matchPattern(NODpathText(path).c_str(), pattern.c_str()) ||
           KIT_String::matchPattern(NODpathText(within).c_str(), pattern.c_str());
}

} // namespace

NOD_MergeSide NOD_MergeJudge::decide(NOD_Conflict conflict)
{
    const auto policy = std::find_if(myPolicies.rbegin(), myPolicies.rend(), [&](const auto &one) {
        return fits(one.first, conflict.getPath());
    });
    std::optional<Side> decided;
    if (policy != myPolicies.rend()) {
        decided = policy->second;
    } else if (myChooser) {
        decided = myChooser(conflict);
    }
    conflict.isDecided = decided.has_value();
    const Side author = std::exchange(conflict.standing, decided.value_or(conflict.standing));
    if (conflict.kind == NOD_Conflict::Kind::REFERENCE_LOST &&
        !conflict.of(conflict.standing).isThere()) {
        conflict.isDecided = false; // who has no such text has nothing in its place
        conflict.standing = author;
    }
    const NOD_ConflictSide &side = conflict.of(conflict.standing);
    conflict.path = side.isThere() ? side.path : conflict.getPath();
    myConflicts.push_back(std::move(conflict));
    myPlaces.push_back(nullptr);
    return myConflicts.back().standing;
}

NOD_MergeSide NOD_MergeJudge::decide(NOD_Conflict::Kind kind, const NOD_MergeTriple &triple,
                                     Side standing)
{
    NOD_Conflict conflict;
    conflict.kind = kind;
    conflict.standing = standing;
    const auto set = [&](NOD_ConflictSide &side, Side which) {
        if (const NOD_Record *const record = triple.of(which)) {
            addTo(side, *record, which, true);
        }
    };
    set(conflict.base, Side::BASE);
    set(conflict.ours, Side::OURS);
    set(conflict.theirs, Side::THEIRS);
    return decide(std::move(conflict));
}

void NOD_MergeJudge::addTo(NOD_ConflictSide &place, const NOD_Record &record, Side side,
                           bool isMain) const
{
    if (isMain || place.records.empty()) {
        place.path = pathOf(record, side);
    }
    std::unique_ptr<NOD_Record> copy = record.copy();
    if (myBound) {
        NODreleaseNames(record, *copy);
        NODunmarkItems(*copy, (*myBound->names)[std::size_t(side)]);
        NODunmarkItems(*copy, (*myBound->names)[0]); // of what this side has no more
    }
    place.records.push_back(std::move(copy));
}

NOD_RecordPath NOD_MergeJudge::pathOf(const NOD_Record &record, Side side) const
{
    if (!myBound) {
        return NODpathOf(record);
    }
    NOD_RecordPath path = myBound->prefixes[std::size_t(side)];
    const NOD_RecordPath within = NODreleasedPath(record);
    path.insert(path.end(), within.begin(), within.end());
    return path;
}

NOD_Merge::Conflicts NOD_MergeJudge::takeConflicts()
{
    for (std::size_t i = 0; i < myConflicts.size(); ++i) {
        if (myPlaces[i]) {
            myConflicts[i].path = NODpathOf(*myPlaces[i]);
        }
    }
    return std::move(myConflicts);
}

void NOD_Merge::addPolicy(std::string pattern, Side side)
{
    myPolicies.emplace_back(std::move(pattern), side);
}

void NOD_Merge::setChooser(Chooser chooser)
{
    myChooser = std::move(chooser);
}

// ---------------------------------------------------------------------- //
// Merging
// ---------------------------------------------------------------------- //

NOD_BoundStates::NOD_BoundStates(NOD_MergeJudge &judge, const NOD_MergeTriple &triple)
    : myJudge(judge), myTriple(triple)
{
    const NOD_Record *const states[] = {triple.base, triple.ours, triple.theirs};
    if (!std::all_of(std::begin(states), std::end(states), [](const auto *one) { return one; }) ||
        std::none_of(std::begin(states), std::end(states), [](const auto *one) {
            return NODhasItemChannels(*one) || NODhasItemReferences(*one);
        })) {
        return;
    }
    for (std::size_t side = 0; side < 3; ++side) {
        myBound.prefixes[side] = judge.pathOf(*states[side], NOD_MergeSide(side));
        myCopies[side] = states[side]->copy();
        NODbindChannels(*myCopies[side]);
    }
    myTriple = {myCopies[0].get(), myCopies[1].get(), myCopies[2].get()};
    myMarkedFlag = judge.getBound() == nullptr; // else the file that they are in is marked
    if (myMarkedFlag) {
        const NOD_States copies = getCopies();
        NODmarkItems(copies);
        std::transform(copies.begin(), copies.end(), myNames.begin(),
                       [](const NOD_Record *copy) { return NODnamesByMarks(*copy); });
    }
    myBound.names = myMarkedFlag ? &myNames : judge.getBound()->names;
    myFormer = judge.setBound(&myBound);
}

NOD_BoundStates::~NOD_BoundStates()
{
    if (isBound()) {
        myJudge.setBound(myFormer);
    }
}

void NOD_BoundStates::release(NOD_Record &made) const
{
    if (!isBound()) {
        return;
    }
    if (myMarkedFlag) {
        NODunmarkMerged(made, getCopies(), myNames, myJudge);
    }
    NODreleaseChannels(made);
}

const std::string *NOD_Merge::withoutReading(const std::string &base, const std::string &ours,
                                             const std::string &theirs)
{
    if (ours == theirs || base == theirs) {
        return &ours;
    }
    const bool formFlag = NOD_ValueFile::isBinary(ours) == NOD_ValueFile::isBinary(theirs) &&
                          NOD_ValueFile::kindOf(std::string_view(ours)) ==
                              NOD_ValueFile::kindOf(std::string_view(theirs));
    return base == ours && formFlag ? &theirs : nullptr;
}

std::unique_ptr<NOD_Record> NOD_Merge::merge(const NOD_Record &base, const NOD_Record &ours,
                                             const NOD_Record &theirs)
{
    myConflicts.clear();
    if (base.isEqual(ours)) {
        return theirs.copy();
    }
    if (base.isEqual(theirs) || ours.isEqual(theirs)) {
        return ours.copy();
    }
    NOD_MergeJudge judge(myPolicies, myChooser);
    const auto isWhole = [](const NOD_Record &top) {
        return top.find(NOD_RecordKind::SECTION, theWholePresets) != nullptr;
    };
    if (isWhole(base) || isWhole(ours) || isWhole(theirs)) {
        const NOD_MergeTriple tops{&base, &ours, &theirs};
        const Side side = judge.decide(NOD_Conflict::Kind::BOTH_CHANGED, tops);
        std::unique_ptr<NOD_Record> chosen = tops.of(side)->copy();
        judge.setPlace(chosen.get());
        myConflicts = judge.takeConflicts();
        return chosen;
    }
    const NOD_BoundStates bound(judge, {&base, &ours, &theirs});
    std::unique_ptr<NOD_Record> made = NOD_MergeTree(judge, bound.get()).run();
    bound.release(*made);
    NODtellLostNames(*made,
                     {const_cast<NOD_Record *>(&base), const_cast<NOD_Record *>(&ours),
                      const_cast<NOD_Record *>(&theirs)},
                     judge);
    myConflicts = judge.takeConflicts();
    return made;
}

std::size_t NOD_Merge::getOpenCount() const
{
    return std::size_t(std::count_if(myConflicts.begin(), myConflicts.end(),
                                     [](const NOD_Conflict &one) { return !one.isDecided; }));
}
