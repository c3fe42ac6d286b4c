#include <NOD/difference/NOD_MergePartsPrivate.h>

#include <NOD/NOD_Matching.h>
#include <NOD/difference/NOD_AlignmentPrivate.h>
#include <NOD/difference/NOD_PresetRecordsPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;
using Side = NOD_MergeSide;
using Triple = NOD_MergeTriple;
using Records = std::vector<const NOD_Record *>;

const NOD_Record::Parts theNoParts;
constexpr Side theOtherSides[] = {Side::OURS, Side::THEIRS};

bool isTree(const NOD_Record &record)
{
    return record.getTraits().siblings == NOD_Siblings::TREE;
}

const NOD_Record &anyOf(const Triple &triple)
{
    return triple.ours ? *triple.ours : triple.theirs ? *triple.theirs : *triple.base;
}

bool areSame(const NOD_Record *left, const NOD_Record *right)
{
    return left && right ? left->isEqual(*right) : left == right;
}

/// Whether two people may each add parts to one that neither had.
bool isContainer(Kind kind)
{
    return kind == Kind::PARM || kind == Kind::CHANNEL || kind == Kind::CONTENTS;
}

/// What is one thing with all others of its kind.
enum class Whole
{
    NONE,
    ENTRY,   ///< an entry without its items
    CONTENTS ///< parameters, channels and what goes with them
};

/// Parts of one key are one thing: two edits of it are a conflict. "" is a thing of its own.
std::string groupOf(const NOD_Record &part, Whole whole)
{
    const Kind kind = part.getKind();
    if (whole == Whole::ENTRY && kind != Kind::ITEM && kind != Kind::CHANNEL &&
        kind != Kind::START) {
        return "entry";
    }
    switch (kind) {
    case Kind::PARM:
    case Kind::CHANNEL:
    case Kind::SPARE:
    case Kind::ALIAS:
    case Kind::SECTION:
    case Kind::TYPE: return whole == Whole::CONTENTS ? "contents" : "";
    case Kind::VALUE:
    case Kind::DRIVER: return "component " + part.getName();
    case Kind::KEY_SLOPE: return "slope";
    case Kind::KEY_ACCEL: return "accel";
    case Kind::LANGUAGE:
        if (whole == Whole::CONTENTS) {
            return "contents";
        }
        [[fallthrough]];
    case Kind::EXPRESSION: return part.getParent()->getKind() == Kind::KEY ? "expression" : "";
    case Kind::DEFAULT_TEXT:
    case Kind::TEXT_LANGUAGE: return "default text";
    case Kind::RANGE: return "range";
    default: return "";
    }
}

/// Spare parameters that not all states have as they are: their values go with them.
std::unordered_set<std::string> changedSpares(const std::vector<Triple> &parts)
{
    std::unordered_set<std::string> names;
    for (const Triple &part : parts) {
        if (anyOf(part).getKind() == Kind::SPARE &&
            !(areSame(part.base, part.ours) && areSame(part.base, part.theirs))) {
            names.insert(anyOf(part).getName());
        }
    }
    return names;
}

NOD_Value formOf(const NOD_Record *record)
{
    return record ? record->valueOf(Kind::FORM) : NOD_Value();
}

/// An entry of another form has other parts.
bool hasOtherForms(const Triple &triple)
{
    if (anyOf(triple).getKind() != Kind::PARM) {
        return false;
    }
    const NOD_Value ours = formOf(triple.ours);
    return ours != formOf(triple.theirs) || (triple.base && ours != formOf(triple.base));
}

/// What the parts of contents are read by: sections that couldn't be taken apart, the form of the entries, the
/// language that channels have unless they say another one.
std::string shapeOf(const NOD_Record *contents)
{
    std::string shape;
    for (const auto &part : contents ? contents->getParts() : theNoParts) {
        const Kind kind = part->getKind();
        const std::string &name = part->getName();
        if (kind == Kind::SECTION &&
            (NODisNodeKind(name) || name == theNodeSection || name == theWholePreset)) {
            shape += "section " + name + "\n";
        } else if (kind == Kind::FORM || kind == Kind::LANGUAGE) {
            shape += NODvalueText(part->getValue()) + "\n";
        }
    }
    return shape;
}

/// Nodes of two types have nothing in common.
bool haveOtherShapes(const Triple &triple)
{
    const Kind kind = anyOf(triple).getKind();
    if (kind != Kind::CONTENTS && kind != Kind::DOCUMENT) {
        return false;
    }
    const std::string shape = shapeOf(triple.ours);
    return triple.ours->valueOf(Kind::TYPE) != triple.theirs->valueOf(Kind::TYPE) ||
           shape != shapeOf(triple.theirs) || (triple.base && shape != shapeOf(triple.base));
}

/// What is read again from the channel whenever it is asked for.
bool isOnlyNoise(const std::vector<Triple> &group)
{
    const auto isDriver = [](const Triple &one) { return anyOf(one).getKind() == Kind::DRIVER; };
    return std::all_of(group.begin(), group.end(),
                       [&](const Triple &one) {
                           return isDriver(one) ? areSame(one.ours, one.theirs)
                                                : anyOf(one).getKind() == Kind::VALUE;
                       }) &&
           std::any_of(group.begin(), group.end(),
                       [&](const Triple &one) { return isDriver(one) && one.ours; });
}

int itemsOf(const NOD_Record &block)
{
    const NOD_Record::Parts &parts = block.getParts();
    return int(std::count_if(parts.begin(), parts.end(),
                             [](const auto &part) { return part->getKind() == Kind::ITEM; }));
}

/// A count that is written beside its channel stays that of the items.
void keepCount(const Triple &triple, NOD_Record &made)
{
    NOD_Record *const count = made.find(Kind::VALUE, "0");
    for (const Side side : theOtherSides) {
        const NOD_Record *const block = triple.of(side);
        const int items = block ? itemsOf(*block) : 0;
        if (count && items > 0 && NODisSameValue(count->getValue(), double(items)) &&
            NODisSameValue(block->valueOf(Kind::VALUE, "0"), count->getValue())) {
            count->setValue(double(itemsOf(made)));
            return;
        }
    }
}

} // namespace

// ---------------------------------------------------------------------- //
// Which parts are one
// ---------------------------------------------------------------------- //

/// Those that only the sides have, among the items that stay in front of and behind them.
void NOD_MergeParts::addItems(const Triple &parent, Triples &triples) const
{
    std::unordered_map<const NOD_Record *, std::size_t> known; // of items that have a base
    for (std::size_t i = 0; i < triples.size(); ++i) {
        for (const Side side : theOtherSides) {
            if (const NOD_Record *const record = triples[i].of(side)) {
                known[record] = i;
            }
        }
    }
    Records added[2];
    NOD_Hashes hashes[2];
    Records all[2];
    for (const int side : {0, 1}) {
        for (const auto &part : parent.of(theOtherSides[side])->getParts()) {
            if (part->getKind() != Kind::ITEM) {
                continue;
            }
            const auto found = known.find(part.get());
            const bool newFlag = found == known.end();
            all[side].push_back(newFlag ? part.get() : nullptr);
            hashes[side].push_back(newFlag ? part->getHash() | 1U
                                           : std::uint64_t(found->second) << 1U);
        }
    }
    std::unordered_set<const NOD_Record *> paired;
    for (const auto &[i, j] : NODcommonPlaces(hashes[0], hashes[1])) {
        const NOD_Record *const ours = all[0][std::size_t(i)];
        const NOD_Record *const theirs = all[1][std::size_t(j)];
        if (ours && theirs && ours->isEqual(*theirs)) {
            triples.push_back({nullptr, ours, theirs});
            paired.insert(ours);
            paired.insert(theirs);
        }
    }
    for (const int side : {0, 1}) {
        for (const NOD_Record *record : all[side]) {
            if (record && paired.count(record) == 0) {
                triples.push_back(side == 0 ? Triple{nullptr, record, nullptr}
                                            : Triple{nullptr, nullptr, record});
            }
        }
    }
}

void NOD_MergeParts::addBaseItems(const NOD_Record &base, Triples &triples) const
{
    for (const auto &part : base.getParts()) {
        if (part->getKind() == Kind::ITEM) {
            triples.push_back({part.get(), myOurs.partnerOf(*part), myTheirs.partnerOf(*part)});
        }
    }
}

NOD_MergeParts::Triples NOD_MergeParts::triplesOf(const Triple &parent) const
{
    Triples triples;
    std::map<std::pair<Kind, std::string>, std::size_t> named;
    bool itemsFlag = false;
    const auto add = [&](const NOD_Record *of, const NOD_Record *Triple::*side) {
        if (!of) {
            return;
        }
        for (const auto &part : of->getParts()) {
            if (isTree(*part) || part->getKind() == Kind::ITEM) {
                itemsFlag = itemsFlag || !isTree(*part);
                continue;
            }
            const auto [at, newFlag] =
                named.emplace(std::make_pair(part->getKind(), part->getName()), triples.size());
            if (newFlag) {
                triples.emplace_back();
            }
            const NOD_Record *&place = triples[at->second].*side;
            place = place ? place : part.get();
        }
    };
    add(parent.ours, &Triple::ours);
    add(parent.theirs, &Triple::theirs);
    add(parent.base, &Triple::base);
    if (itemsFlag) {
        Triples items;
        if (parent.base) {
            addBaseItems(*parent.base, items);
        }
        addItems(parent, items);
        triples.insert(triples.end(), items.begin(), items.end());
    }
    return triples;
}

// ---------------------------------------------------------------------- //
// What becomes of them
// ---------------------------------------------------------------------- //

void NOD_MergeParts::mergeParts(const Triple &triple, Slots &slots)
{
    const Whole whole = hasOtherForms(triple)     ? Whole::ENTRY
                        : haveOtherShapes(triple) ? Whole::CONTENTS
                                                  : Whole::NONE;
    std::map<std::string, Triples> groups;
    const Triples parts = triplesOf(triple);
    const std::unordered_set<std::string> spares = changedSpares(parts);
    for (const Triple &part : parts) {
        const NOD_Record &one = anyOf(part);
        const bool spareFlag = (one.getKind() == Kind::PARM || one.getKind() == Kind::SPARE) &&
                               spares.count(one.getName()) != 0;
        const std::string group =
            spareFlag && whole == Whole::NONE ? "spare " + one.getName() : groupOf(one, whole);
        if (group.empty()) {
            mergePart(part, triple.base != nullptr, slots);
        } else {
            groups[group].push_back(part);
        }
    }
    for (auto &[name, group] : groups) {
        std::sort(group.begin(), group.end(), [](const Triple &a, const Triple &b) {
            const NOD_Record &one = anyOf(a);
            const NOD_Record &other = anyOf(b);
            return std::make_pair(one.getKind(), one.getName()) <
                   std::make_pair(other.getKind(), other.getName());
        });
        mergeGroup(group, triple.base != nullptr, slots);
    }
}

void NOD_MergeParts::take(const Triple &triple, Side side, Slots &slots)
{
    if (const NOD_Record *const record = triple.of(side)) {
        slots.push_back({triple, record->copy()});
    }
}

void NOD_MergeParts::mergeGroup(const Triples &group, bool hasBase, Slots &slots)
{
    const auto areAll = [&](Side left, Side right) {
        return std::all_of(group.begin(), group.end(),
                           [&](const Triple &one) { return areSame(one.of(left), one.of(right)); });
    };
    Side side = Side::OURS;
    const bool conflictFlag = !areAll(Side::OURS, Side::THEIRS) &&
                              !areAll(Side::BASE, Side::THEIRS) &&
                              !areAll(Side::BASE, Side::OURS) && !isOnlyNoise(group);
    if (conflictFlag) {
        NOD_Conflict conflict;
        bool removedFlag = false;
        const std::pair<NOD_ConflictSide *, Side> theSides[] = {{&conflict.base, Side::BASE},
                                                                {&conflict.ours, Side::OURS},
                                                                {&conflict.theirs, Side::THEIRS}};
        for (const auto &[place, which] : theSides) {
            for (const Triple &one : group) {
                if (const NOD_Record *const record = one.of(which)) {
                    myJudge.addTo(*place, *record, which, record->getKind() == Kind::VALUE);
                }
            }
            removedFlag = removedFlag || (which != Side::BASE && !place->isThere());
        }
        conflict.kind = removedFlag               ? NOD_Conflict::Kind::CHANGED_REMOVED
                        : conflict.base.isThere() ? NOD_Conflict::Kind::BOTH_CHANGED
                                                  : NOD_Conflict::Kind::BOTH_ADDED;
        side = myJudge.decide(std::move(conflict));
        side = side == Side::BASE && !hasBase ? Side::OURS : side;
    } else if (areAll(Side::BASE, Side::OURS)) {
        side = Side::THEIRS;
    }
    bool placedFlag = !conflictFlag;
    for (const Triple &one : group) {
        take(one, side, slots);
        if (!placedFlag && one.of(side)) {
            myJudge.setPlace(slots.back().record.get());
            placedFlag = one.of(side)->getKind() == Kind::VALUE;
        }
    }
}

bool NOD_MergeParts::hasMoved(const Triple &triple, Side side) const
{
    const NOD_Record *const record = triple.of(side);
    const NOD_Siblings siblings = anyOf(triple).getTraits().siblings;
    return triple.base && record && siblings != NOD_Siblings::KEYED &&
           !(side == Side::OURS ? myOurs : myTheirs).stays(*triple.base);
}

void NOD_MergeParts::mergePart(const Triple &triple, bool hasBase, Slots &slots)
{
    const auto &[base, ours, theirs] = triple;
    if (ours && theirs) {
        std::unique_ptr<NOD_Record> made = base ? merge(triple) : mergeAdded(triple, hasBase);
        if (made) {
            slots.push_back({triple, std::move(made)});
        }
    } else if (base && (ours || theirs)) {
        mergeRemoved(triple, slots);
    } else {
        take(triple, ours ? Side::OURS : Side::THEIRS, slots);
    }
}

/// By one side, and maybe changed by the other.
void NOD_MergeParts::mergeRemoved(const Triple &triple, Slots &slots)
{
    const Side there = triple.ours ? Side::OURS : Side::THEIRS;
    const bool orderFlag = anyOf(triple).getTraits().siblings != NOD_Siblings::LISTED;
    if (areSame(triple.base, triple.of(there)) && !(orderFlag && hasMoved(triple, there))) {
        return;
    }
    if (anyOf(triple).getTraits().comparison == NOD_Comparison::LAYOUT) {
        take(triple, Side::OURS, slots);
        return;
    }
    const Side side = myJudge.decide(NOD_Conflict::Kind::CHANGED_REMOVED, triple);
    if (triple.of(side)) {
        take(triple, side, slots);
        myJudge.setPlace(slots.back().record.get());
    }
}

/// By both sides; null if neither stands. Of what it is in without a base there is nothing else to stand.
std::unique_ptr<NOD_Record> NOD_MergeParts::mergeAdded(const Triple &triple, bool hasBase)
{
    if (areSame(triple.ours, triple.theirs)) {
        return triple.ours->copy();
    }
    const NOD_RecordTraits &traits = triple.ours->getTraits();
    if (traits.comparison == NOD_Comparison::LAYOUT) {
        return triple.ours->copy();
    }
    if (isContainer(triple.ours->getKind()) && !haveOtherShapes(triple)) {
        return merge(triple);
    }
    const Side side = myJudge.decide(NOD_Conflict::Kind::BOTH_ADDED, triple);
    if (side == Side::BASE && hasBase && triple.ours->getKind() != Kind::CONTENTS) {
        return nullptr;
    }
    auto made = triple.of(side == Side::BASE ? Side::OURS : side)->copy();
    myJudge.setPlace(made.get());
    return made;
}

void NOD_MergeParts::mergeValue(const Triple &triple, NOD_Record &made)
{
    const auto &[base, ours, theirs] = triple;
    const NOD_Value &mine = ours->getValue();
    made.setValue(mine);
    if (NODisSameValue(mine, theirs->getValue()) ||
        (base && NODisSameValue(base->getValue(), theirs->getValue()))) {
        return;
    }
    if (base && NODisSameValue(base->getValue(), mine)) {
        made.setValue(theirs->getValue());
    } else if (ours->getTraits().comparison != NOD_Comparison::LAYOUT) {
        const Side side = myJudge.decide(
            base ? NOD_Conflict::Kind::BOTH_CHANGED : NOD_Conflict::Kind::BOTH_ADDED, triple);
        made.setValue(triple.of(base ? side : side == Side::BASE ? Side::OURS : side)->getValue());
        myJudge.setPlace(&made);
    }
}

std::unique_ptr<NOD_Record> NOD_MergeParts::merge(const Triple &triple)
{
    const auto &[base, ours, theirs] = triple;
    if (areSame(base, ours)) {
        return theirs->copy();
    }
    if (areSame(base, theirs) || areSame(ours, theirs)) {
        return ours->copy();
    }
    if (ours->getKind() == Kind::CONTENTS && haveOtherShapes(triple)) {
        const Side side = myJudge.decide(NOD_Conflict::Kind::BOTH_CHANGED, triple);
        auto made = triple.of(side)->copy();
        myJudge.setPlace(made.get());
        return made;
    }
    if (ours->getKind() == Kind::CONTENTS && base) {
        const NOD_BoundStates bound(myJudge, triple);
        if (bound.isBound()) {
            return mergeBound(bound);
        }
    }
    return mergeAll(triple);
}

/// Its items are other ones where channels are parts of them.
std::unique_ptr<NOD_Record> NOD_MergeParts::mergeBound(const NOD_BoundStates &bound)
{
    const NOD_CompareOptions exactly{true, {}};
    const Triple &triple = bound.get();
    const NOD_Matching ours(*triple.base, *triple.ours, exactly);
    const NOD_Matching theirs(*triple.base, *triple.theirs, exactly);
    std::unique_ptr<NOD_Record> made = NOD_MergeParts(myJudge, ours, theirs).mergeAll(triple);
    bound.release(*made);
    return made;
}

std::unique_ptr<NOD_Record> NOD_MergeParts::mergeAll(const Triple &triple)
{
    auto made = std::make_unique<NOD_Record>(triple.ours->getKind(), triple.ours->getName());
    mergeValue(triple, *made);
    Slots slots;
    mergeParts(triple, slots);
    arrange(triple, slots, *made);
    keepCount(triple, *made);
    return made;
}

// ---------------------------------------------------------------------- //
// Order
// ---------------------------------------------------------------------- //

namespace
{

/// Whether the record is one of the parent's parts.
bool isIn(const NOD_Record *record, const NOD_Record *parent)
{
    return record && parent && record->getParent() == parent;
}

using Slots = NOD_MergeParts::Slots;

/// The places of the slots in one state's order.
std::vector<std::size_t> orderOf(const Triple &parent, Side side, const Slots &slots)
{
    std::vector<std::size_t> order;
    if (!parent.of(side)) {
        return order;
    }
    std::unordered_map<const NOD_Record *, std::size_t> places;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i].record && slots[i].record->getTraits().siblings != NOD_Siblings::KEYED) {
            places[slots[i].of.of(side)] = i;
        }
    }
    places.erase(nullptr);
    for (const auto &part : parent.of(side)->getParts()) {
        const auto found = places.find(part.get());
        if (found != places.end()) {
            order.push_back(found->second);
        }
    }
    return order;
}

NOD_Hashes asHashes(const std::vector<std::size_t> &order)
{
    return {order.begin(), order.end()};
}

/// Both orders in one: where both have something between two common ones, ours comes first.
std::vector<std::size_t> joined(const std::vector<std::size_t> &ours,
                                const std::vector<std::size_t> &theirs)
{
    const std::unordered_set<std::size_t> mine(ours.begin(), ours.end());
    std::vector<std::size_t> all;
    std::size_t i = 0;
    std::size_t j = 0;
    const auto takeUntil = [&](std::size_t oursEnd, std::size_t theirsEnd) {
        all.insert(all.end(), ours.begin() + std::ptrdiff_t(i),
                   ours.begin() + std::ptrdiff_t(oursEnd));
        for (; j < theirsEnd; ++j) {
            if (mine.count(theirs[j]) == 0) {
                all.push_back(theirs[j]);
            }
        }
        i = oursEnd;
    };
    for (const auto &[oursPlace, theirsPlace] : NODcommonPlaces(asHashes(ours), asHashes(theirs))) {
        takeUntil(std::size_t(oursPlace), std::size_t(theirsPlace));
        all.push_back(ours[i++]);
        ++j;
    }
    takeUntil(ours.size(), theirs.size());
    return all;
}

/// Those that are in neither order come where the base has them.
void insertRest(const std::vector<std::size_t> &base, std::size_t count, const Slots &slots,
                std::vector<std::size_t> &all)
{
    std::unordered_set<std::size_t> there(all.begin(), all.end());
    std::size_t before = count;
    for (const std::size_t place : base) {
        if (there.insert(place).second) {
            const auto at = std::find(all.begin(), all.end(), before);
            all.insert(at == all.end() ? all.begin() : at + 1, place);
        }
        before = place;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (slots[i].record && slots[i].record->getTraits().siblings != NOD_Siblings::KEYED &&
            there.count(i) == 0) {
            all.push_back(i);
        }
    }
}

} // namespace

NOD_MergeParts::Places NOD_MergeParts::placesOf(const Triple &parent, const Slot &slot) const
{
    const bool oursFlag = isIn(slot.of.ours, parent.ours);
    const bool theirsFlag = isIn(slot.of.theirs, parent.theirs);
    if (!oursFlag || !theirsFlag) {
        return oursFlag ? Places::OURS : theirsFlag ? Places::THEIRS : Places::BASE;
    }
    if (!isIn(slot.of.base, parent.base)) {
        return Places::BOTH;
    }
    const bool oursMoved = hasMoved(slot.of, Side::OURS);
    const bool theirsMoved = hasMoved(slot.of, Side::THEIRS);
    return oursMoved && theirsMoved ? Places::EITHER
           : oursMoved              ? Places::OURS
           : theirsMoved            ? Places::THEIRS
                                    : Places::BOTH;
}

/// Those that both moved, to two places.
void NOD_MergeParts::settleMoved(const Slots &slots, const Orders &orders,
                                 std::vector<Places> &places)
{
    std::unordered_map<std::size_t, std::size_t> before[2];
    for (const int side : {0, 1}) {
        std::size_t last = slots.size();
        for (const std::size_t place : orders[side]) {
            before[side][place] = last;
            last = places[place] == Places::BOTH ? place : last;
        }
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (places[i] != Places::EITHER) {
            continue;
        }
        places[i] = Places::OURS;
        const bool layoutFlag = slots[i].record->getTraits().siblings == NOD_Siblings::LISTED;
        if (!layoutFlag && before[0][i] != before[1][i]) {
            const Side side = myJudge.decide(NOD_Conflict::Kind::BOTH_MOVED, slots[i].of);
            myJudge.setPlace(slots[i].record.get());
            places[i] = side == Side::OURS     ? Places::OURS
                        : side == Side::THEIRS ? Places::THEIRS
                                               : Places::BASE;
        }
    }
}

void NOD_MergeParts::arrange(const Triple &parent, Slots &slots, NOD_Record &made)
{
    const Orders orders = {orderOf(parent, Side::OURS, slots),
                           orderOf(parent, Side::THEIRS, slots)};
    std::vector<Places> places;
    for (const Slot &slot : slots) {
        places.push_back(placesOf(parent, slot));
    }
    settleMoved(slots, orders, places);
    std::vector<std::size_t> chosen[2];
    for (const int side : {0, 1}) {
        const Places own = side == 0 ? Places::OURS : Places::THEIRS;
        std::copy_if(orders[side].begin(), orders[side].end(), std::back_inserter(chosen[side]),
                     [&](std::size_t i) { return places[i] == Places::BOTH || places[i] == own; });
    }
    std::vector<std::size_t> all = joined(chosen[0], chosen[1]);
    insertRest(orderOf(parent, Side::BASE, slots), slots.size(), slots, all);
    for (Slot &slot : slots) {
        if (slot.record && slot.record->getTraits().siblings == NOD_Siblings::KEYED) {
            made.add(std::move(slot.record));
        }
    }
    for (const std::size_t place : all) {
        made.add(std::move(slots[place].record));
    }
    made.numberItems();
}
