#include <NOD/difference/NOD_MergeTreePrivate.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

using Side = NOD_MergeSide;
using Conflict = NOD_Conflict::Kind;

constexpr Side theSides[] = {Side::OURS, Side::THEIRS};
constexpr int theMostTurns = 3; ///< then it stays where it is, and what it is in is there

/// Matchings borrow it.
const NOD_CompareOptions &exactly()
{
    static const NOD_CompareOptions theOptions{true, {}};
    return theOptions;
}

bool isTree(const NOD_Record &record)
{
    return record.getTraits().siblings == NOD_Siblings::TREE;
}

std::vector<const NOD_Record *> partsOf(const NOD_Record &record, bool treeFlag)
{
    std::vector<const NOD_Record *> parts;
    for (const auto &part : record.getParts()) {
        if (isTree(*part) == treeFlag) {
            parts.push_back(part.get());
        }
    }
    return parts;
}

bool isSameOf(const std::vector<const NOD_Record *> &left,
              const std::vector<const NOD_Record *> &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const NOD_Record *a, const NOD_Record *b) {
                          return a->getKind() == b->getKind() && a->getName() == b->getName() &&
                                 a->isEqual(*b);
                      });
}

/// But for the nodes below it.
bool hasSameContents(const NOD_Record &left, const NOD_Record &right)
{
    if (!NODisSameValue(left.getValue(), right.getValue())) {
        return false;
    }
    // Most have their parts in one order.
    const auto ours = partsOf(left, false);
    const auto theirs = partsOf(right, false);
    if (isSameOf(ours, theirs)) {
        return true;
    }
    NOD_Record copies[] = {NOD_Record(left.getKind()), NOD_Record(left.getKind())};
    for (const NOD_Record *part : ours) {
        copies[0].add(part->copy());
    }
    for (const NOD_Record *part : theirs) {
        copies[1].add(part->copy());
    }
    return copies[0].isSame(copies[1]);
}

/// A parameter of a script, whose token no other one may have, wherever it is.
bool isToken(const NOD_Record &record, const std::string &name)
{
    return record.getKind() == NOD_RecordKind::DECLARATION && !name.empty() &&
           name.find(' ') == std::string::npos;
}

constexpr int theAnyParent = -1;

std::string keyOf(const NOD_Record &record, int parent)
{
    return std::to_string(parent) + " " + record.getTraits().word + " " + record.getName();
}

Side otherOf(Side side)
{
    return side == Side::OURS ? Side::THEIRS : Side::OURS;
}

/// Ours, theirs or the base's, which one there is.
Side anySideOf(const NOD_MergeTriple &triple)
{
    return triple.ours ? Side::OURS : triple.theirs ? Side::THEIRS : Side::BASE;
}

const NOD_Record *&placeOf(NOD_MergeTriple &triple, Side side)
{
    return side == Side::OURS ? triple.ours : side == Side::THEIRS ? triple.theirs : triple.base;
}

} // namespace

NOD_MergeTree::NOD_MergeTree(NOD_MergeJudge &judge, const NOD_MergeTriple &tops)
    : myJudge(judge), myOurs(*tops.base, *tops.ours, exactly()),
      myTheirs(*tops.base, *tops.theirs, exactly()), myParts(judge, myOurs, myTheirs)
{
    add(tops);
    gatherBase(0);
    gatherOwn(*tops.ours, Side::OURS);
    gatherOwn(*tops.theirs, Side::THEIRS);
    setParents();
}

// ---------------------------------------------------------------------- //
// Who is who
// ---------------------------------------------------------------------- //

int NOD_MergeTree::add(const Triple &triple)
{
    const int id = int(myEntities.size());
    myEntities.emplace_back();
    myEntities.back().of = triple;
    for (const Side side : {Side::BASE, Side::OURS, Side::THEIRS}) {
        if (triple.of(side)) {
            myIds[triple.of(side)] = id;
        }
    }
    for (const Side side : theSides) {
        if (triple.base && triple.of(side) && matchingOf(side).isEqual(*triple.base)) {
            myEntities.back().isEqual[int(side)] = true;
        }
    }
    return id;
}

/// What is below an equal one has no partners of its own.
void NOD_MergeTree::gatherBase(int id)
{
    const Entity parent = myEntities[std::size_t(id)];
    const auto children = partsOf(*parent.of.base, true);
    std::vector<const NOD_Record *> equal[3];
    for (const Side side : theSides) {
        if (parent.isEqual[int(side)]) {
            equal[int(side)] = partsOf(*parent.of.of(side), true);
        }
    }
    for (std::size_t i = 0; i < children.size(); ++i) {
        Triple triple{children[i], nullptr, nullptr};
        for (const Side side : theSides) {
            placeOf(triple, side) = parent.isEqual[int(side)]
                                        ? equal[int(side)][i]
                                        : matchingOf(side).partnerOf(*children[i]);
        }
        const int child = add(triple);
        for (const Side side : theSides) {
            bool &equalFlag = myEntities[std::size_t(child)].isEqual[int(side)];
            equalFlag = equalFlag || parent.isEqual[int(side)];
        }
        gatherBase(child);
    }
}

void NOD_MergeTree::gatherAdded(const NOD_Record &record, int parent, Side side)
{
    const bool tokenFlag = isToken(record, record.getName());
    auto found = myAdded.find(keyOf(record, parent));
    if (found == myAdded.end() && tokenFlag) {
        found = myAdded.find(keyOf(record, theAnyParent));
    }
    if (found != myAdded.end() && !myEntities[std::size_t(found->second)].of.of(side)) {
        placeOf(myEntities[std::size_t(found->second)].of, side) = &record;
        myIds[&record] = found->second;
        return;
    }
    Triple triple;
    placeOf(triple, side) = &record;
    const int id = add(triple);
    myAdded.emplace(keyOf(record, parent), id);
    if (tokenFlag) {
        myAdded.emplace(keyOf(record, theAnyParent), id);
    }
}

/// Those that the base hasn't: of one name in one place they are one, and of one token in any place.
void NOD_MergeTree::gatherOwn(const NOD_Record &record, Side side)
{
    const int parent = myIds[&record];
    for (const NOD_Record *child : partsOf(record, true)) {
        if (myIds.count(child) == 0) {
            gatherAdded(*child, parent, side);
        }
        gatherOwn(*child, side);
    }
}

void NOD_MergeTree::setParents()
{
    for (Entity &entity : myEntities) {
        for (const Side side : {Side::BASE, Side::OURS, Side::THEIRS}) {
            const NOD_Record *const record = entity.of.of(side);
            if (record && record->getParent() && myIds.count(record->getParent()) != 0) {
                entity.parents[int(side)] = myIds[record->getParent()];
            }
        }
    }
}

// ---------------------------------------------------------------------- //
// Who is there, and where
// ---------------------------------------------------------------------- //

NOD_MergeSide NOD_MergeTree::decide(NOD_Conflict::Kind kind, const Triple &triple, Entity &entity)
{
    const Side side = myJudge.decide(kind, triple);
    entity.conflicts.push_back(myJudge.getCount() - 1);
    return side;
}

bool NOD_MergeTree::hasChanged(const Entity &entity, Side side) const
{
    const NOD_Record &base = *entity.of.base;
    const NOD_Record &record = *entity.of.of(side);
    if (base.getName() != record.getName() ||
        entity.parents[int(Side::BASE)] != entity.parents[int(side)] ||
        !matchingOf(side).stays(base)) {
        return true;
    }
    return !entity.isEqual[int(side)] && !hasSameContents(base, record);
}

void NOD_MergeTree::decideWhoIsThere()
{
    for (Entity &entity : myEntities) {
        const Triple &of = entity.of;
        entity.contents = anySideOf(of);
        if (!of.base || (of.ours && of.theirs)) {
            continue;
        }
        if (entity.contents == Side::BASE || !hasChanged(entity, entity.contents)) {
            entity.isThere = false;
            continue;
        }
        const Side side = decide(Conflict::CHANGED_REMOVED, of, entity);
        entity.isThere = of.of(side) != nullptr;
        entity.contents = entity.isThere ? side : entity.contents;
    }
}

void NOD_MergeTree::putAs(Entity &entity, Side side)
{
    entity.parent = entity.parents[int(side)];
    entity.name = entity.of.of(side)->getName();
}

void NOD_MergeTree::decidePlace(Entity &entity)
{
    const auto &[base, ours, theirs] = entity.of;
    if (!base || !ours || !theirs) {
        const bool twoFlag =
            ours && theirs && entity.parents[int(Side::OURS)] != entity.parents[int(Side::THEIRS)];
        const Side side =
            twoFlag ? decide(Conflict::BOTH_MOVED, entity.of, entity) : entity.contents;
        putAs(entity, entity.of.of(side) ? side : entity.contents);
        return;
    }
    const auto choose = [](const auto &of, const auto &mine, const auto &yours, bool &conflict) {
        conflict = mine != yours && mine != of && yours != of;
        return mine == of ? yours : mine;
    };
    const int *const parents = entity.parents;
    bool parentFlag = false;
    bool nameFlag = false;
    entity.parent = choose(parents[int(Side::BASE)], parents[int(Side::OURS)],
                           parents[int(Side::THEIRS)], parentFlag);
    entity.name = choose(base->getName(), ours->getName(), theirs->getName(), nameFlag);
    if (parentFlag || nameFlag) {
        const Side side = decide(Conflict::BOTH_MOVED, entity.of, entity);
        entity.parent = parentFlag ? parents[int(side)] : entity.parent;
        entity.name = nameFlag ? entity.of.of(side)->getName() : entity.name;
    }
}

void NOD_MergeTree::decidePlaces()
{
    for (std::size_t id = 1; id < myEntities.size(); ++id) {
        if (myEntities[id].isThere) {
            decidePlace(myEntities[id]);
        }
    }
}

// ---------------------------------------------------------------------- //
// Nothing is in what isn't there, or in itself
// ---------------------------------------------------------------------- //

void NOD_MergeTree::revive(int id, Side side)
{
    Entity &entity = myEntities[std::size_t(id)];
    entity.isThere = true;
    entity.contents = entity.of.of(side) ? side : anySideOf(entity.of);
    putAs(entity, entity.contents);
}

/// With it goes what only that side put into it; the rest is where the other side has it.
void NOD_MergeTree::dropBelow(int id, Side side)
{
    for (std::size_t child = 1; child < myEntities.size(); ++child) {
        Entity &entity = myEntities[child];
        if (!entity.isThere || entity.parent != id) {
            continue;
        }
        const Side other = otherOf(side);
        if (entity.of.of(other) && entity.parents[int(other)] != id) {
            putAs(entity, other);
        } else {
            entity.isThere = false;
            dropBelow(int(child), side);
        }
    }
}

void NOD_MergeTree::freeFromRemoved(int id)
{
    Entity &entity = myEntities[std::size_t(id)];
    const int parent = entity.parent;
    const Side side = entity.of.ours && entity.parents[int(Side::OURS)] == parent ? Side::OURS
                      : entity.of.theirs && entity.parents[int(Side::THEIRS)] == parent
                          ? Side::THEIRS
                          : Side::BASE;
    if (!entity.conflicts.empty() || side == Side::BASE || ++entity.turns > theMostTurns) {
        revive(parent, side); // it was told that this one stands
        return;
    }
    const Side chosen = decide(Conflict::UNDER_REMOVED, entity.of, entity);
    if (chosen == side || (entity.of.of(chosen) && entity.parents[int(chosen)] == parent)) {
        revive(parent, side);
    } else if (entity.of.of(chosen)) {
        putAs(entity, chosen);
    } else {
        entity.isThere = false;
        dropBelow(id, side);
    }
}

bool NOD_MergeTree::freeFromRemoved()
{
    bool changedFlag = false;
    for (std::size_t id = 1; id < myEntities.size(); ++id) {
        const Entity &entity = myEntities[id];
        if (entity.isThere && !myEntities[std::size_t(entity.parent)].isThere) {
            freeFromRemoved(int(id));
            changedFlag = true;
        }
    }
    return changedFlag;
}

void NOD_MergeTree::openCircle(const std::vector<int> &circle)
{
    Entity &first = myEntities[std::size_t(circle[0])];
    if (++first.turns > theMostTurns) {
        first.parent = 0;
        return;
    }
    const Side side = decide(Conflict::IN_EACH_OTHER, first.of, first);
    for (const int id : circle) {
        Entity &entity = myEntities[std::size_t(id)];
        if (entity.of.of(side)) {
            entity.parent = entity.parents[int(side)];
        }
        if (id != circle[0]) {
            entity.conflicts.push_back(first.conflicts.back());
        }
    }
}

bool NOD_MergeTree::openCircles()
{
    bool changedFlag = false;
    std::vector<std::size_t> seen(myEntities.size(), 0); // from which one
    seen[0] = myEntities.size();
    for (std::size_t id = 1; id < myEntities.size(); ++id) {
        if (!myEntities[id].isThere) {
            continue;
        }
        std::vector<int> way;
        int at = int(id);
        while (seen[std::size_t(at)] == 0) {
            seen[std::size_t(at)] = id;
            way.push_back(at);
            at = myEntities[std::size_t(at)].parent;
        }
        if (seen[std::size_t(at)] == id) {
            openCircle({std::find(way.begin(), way.end(), at), way.end()});
            changedFlag = true;
        }
    }
    return changedFlag;
}

/// Each round decides for at least one entity, which has a few turns. Circles are looked for when everything is in
/// something that is there: what isn't there is nowhere.
void NOD_MergeTree::settlePlaces()
{
    do {
        while (freeFromRemoved()) {
        }
    } while (openCircles());
}

// ---------------------------------------------------------------------- //
// Names
// ---------------------------------------------------------------------- //

void NOD_MergeTree::listChildren()
{
    for (std::size_t id = 1; id < myEntities.size(); ++id) {
        const Entity &entity = myEntities[id];
        if (entity.isThere) {
            myEntities[std::size_t(entity.parent)].children.push_back(int(id));
        }
    }
}

void NOD_MergeTree::settleName(int one, int other, std::unordered_map<std::string, int> &taken)
{
    Entity *mine = &myEntities[std::size_t(one)];
    Entity *yours = &myEntities[std::size_t(other)];
    const NOD_Record *const named = yours->of.ours;
    if (!mine->of.ours || (named && named->getName() == yours->name &&
                           yours->parents[int(Side::OURS)] == yours->parent)) {
        std::swap(mine, yours);
    }
    const Triple triple{nullptr, mine->of.of(anySideOf(mine->of)),
                        yours->of.theirs ? yours->of.theirs : yours->of.of(anySideOf(yours->of))};
    const Side side = decide(Conflict::NAME_TAKEN, triple, *yours);
    Entity &loser = side == Side::THEIRS ? *mine : *yours;
    const std::string name = loser.name;
    const int loserId = int(&loser - myEntities.data());
    taken[name] = loserId == one ? other : one;
    for (int number = 1; !taken.emplace(loser.name, loserId).second; ++number) {
        loser.name = name + std::to_string(number);
    }
}

void NOD_MergeTree::settleNames(const std::vector<int> &children)
{
    std::unordered_map<std::string, int> taken;
    std::vector<int> twice;
    for (const int child : children) {
        if (!taken.emplace(myEntities[std::size_t(child)].name, child).second) {
            twice.push_back(child);
        }
    }
    for (const int child : twice) {
        settleName(taken[myEntities[std::size_t(child)].name], child, taken);
    }
}

/// Whether one state has the two, under this name.
bool NOD_MergeTree::areOfOneState(const Entity &one, const Entity &other,
                                  const std::string &name) const
{
    const auto isSo = [&](Side side) {
        const NOD_Record *const mine = one.of.of(side);
        const NOD_Record *const yours = other.of.of(side);
        return mine && yours && mine->getName() == name && yours->getName() == name;
    };
    return isSo(Side::BASE) || isSo(Side::OURS) || isSo(Side::THEIRS);
}

/// Tokens that two sides came to in two places.
void NOD_MergeTree::settleTokens()
{
    std::unordered_map<std::string, int> taken;
    std::vector<int> twice;
    for (std::size_t id = 1; id < myEntities.size(); ++id) {
        const Entity &entity = myEntities[id];
        const NOD_Record &record = *entity.of.of(anySideOf(entity.of));
        if (entity.isThere && isToken(record, entity.name) &&
            !taken.emplace(entity.name, int(id)).second) {
            twice.push_back(int(id));
        }
    }
    for (const int id : twice) {
        const std::string name = myEntities[std::size_t(id)].name;
        const int other = taken[name];
        if (!areOfOneState(myEntities[std::size_t(other)], myEntities[std::size_t(id)], name)) {
            settleName(other, id, taken);
        }
    }
}

// ---------------------------------------------------------------------- //
// The merged state
// ---------------------------------------------------------------------- //

std::unique_ptr<NOD_Record> NOD_MergeTree::assemble(int id)
{
    const Entity &entity = myEntities[std::size_t(id)];
    const NOD_Record &one = *entity.of.of(entity.contents);
    auto made = std::make_unique<NOD_Record>(one.getKind(), entity.name, one.getValue());
    for (const std::size_t conflict : entity.conflicts) {
        myJudge.setPlace(conflict, made.get());
    }
    NOD_MergeParts::Slots slots;
    if (entity.of.ours && entity.of.theirs) {
        myParts.mergeValue(entity.of, *made);
        myParts.mergeParts(entity.of, slots);
    } else {
        for (const NOD_Record *part : partsOf(one, false)) {
            Triple triple;
            placeOf(triple, entity.contents) = part;
            slots.push_back({triple, part->copy()});
        }
    }
    for (const int child : entity.children) {
        slots.push_back({myEntities[std::size_t(child)].of, assemble(child)});
    }
    myParts.arrange(entity.of, slots, *made);
    return made;
}

std::unique_ptr<NOD_Record> NOD_MergeTree::run()
{
    decideWhoIsThere();
    decidePlaces();
    settlePlaces();
    listChildren();
    for (const Entity &entity : myEntities) {
        if (entity.children.size() > 1) {
            settleNames(entity.children);
        }
    }
    settleTokens();
    return assemble(0);
}
