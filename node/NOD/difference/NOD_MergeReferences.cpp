#include <NOD/difference/NOD_MergeReferencesPrivate.h>

#include <BAS/BAS_Character.h>
#include <NOD/NOD_Matching.h>
#include <NOD/difference/NOD_BlockNamesPrivate.h>
#include <NOD/difference/NOD_EntryRecordsPrivate.h>
#include <NOD/difference/NOD_MergeJudgePrivate.h>
#include <TRK/TRK_NodePaths.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;
using Form = TRK_NodePaths::Form;

constexpr const char *theMark = "mark"; ///< of a record of blanks, which no item of a file has

const std::string *markOf(const NOD_Record &item)
{
    const NOD_Record *const mark = item.find(Kind::BLANKS, theMark);
    return mark ? std::get_if<std::string>(&mark->getValue()) : nullptr;
}

using Use = std::function<void(NOD_Record &record)>;

/// What is closed has neither a mark nor a reference that was looked at.
void forEach(NOD_Record &record, const Use &use)
{
    use(record);
    if (!record.isClosed()) {
        for (const auto &part : record.getParts()) {
            forEach(*part, use);
        }
    }
}

/// The names of each parameter: with the numbers of its items, and with their marks; "" without a mark.
void addNames(const NOD_Record &record, std::vector<int> &numbers, const std::string &marks,
              const std::function<void(const std::string &name, const std::string &marked)> &use)
{
    for (const auto &part : record.getParts()) {
        if (part->getKind() != Kind::PARM) {
            continue;
        }
        use(NOD_BlockNames::nameOf(part->getName(), numbers), part->getName() + marks);
        for (const auto &item : part->getParts()) {
            if (item->getKind() == Kind::ITEM) {
                const std::string *const mark = markOf(*item);
                numbers.push_back(NODfirstNumber(*part) + item->getItem());
                addNames(*item, numbers, marks + "<" + (mark ? *mark : std::string()) + ">", use);
                numbers.pop_back();
            }
        }
    }
}

NOD_ItemNames namesOf(const NOD_Record &contents, bool byMarks)
{
    NOD_ItemNames names;
    std::vector<int> numbers;
    addNames(contents, numbers, {}, [&](const std::string &name, const std::string &marked) {
        names.emplace(byMarks ? marked : name, byMarks ? name : marked);
    });
    return names;
}

/// What channel names have behind the token, of a parameter that a file may leave out.
bool isComponent(std::string_view rest)
{
    return rest.empty() || rest == "min" || rest == "max" ||
           (rest.size() == 1 && BASisAlphaNumeric(rest[0]) && !BASisDigit(rest[0]));
}

/// Replaces the name that a reference has behind its path, the longest one: what is left of it is a component.
bool replaceName(const NOD_ItemNames &names, std::string &reference)
{
    const std::size_t start = reference.rfind('/') + 1; // 0 without one
    for (std::size_t length = reference.size() - start; length > 0; --length) {
        const bool wholeFlag = isComponent(std::string_view(reference).substr(start + length));
        const auto found = wholeFlag ? names.find(reference.substr(start, length)) : names.end();
        if (found != names.end()) {
            reference.replace(start, length, found->second);
            return found->second != found->first;
        }
    }
    return false;
}

/// What a text is that may have references; false for a record without any.
bool hasForm(const NOD_Record &record, Form &form)
{
    const Kind kind = record.getKind();
    const bool expressionFlag = kind == Kind::EXPRESSION || kind == Kind::DEFAULT_TEXT;
    const auto *text = std::get_if<std::string>(&record.getValue());
    if (!text || (!expressionFlag && kind != Kind::VALUE) ||
        (kind == Kind::VALUE && !TRK_NodePaths::hasExpression(text->c_str()))) {
        return false;
    }
    const Kind language = kind == Kind::EXPRESSION ? Kind::LANGUAGE : Kind::TEXT_LANGUAGE;
    const NOD_Record *const parent = record.getParent();
    const bool pythonFlag =
        parent && NODvalueText(parent->valueOf(language)).find("python") != std::string::npos;
    form = !expressionFlag ? Form::TEXT : pythonFlag ? Form::PYTHON : Form::NATIVE;
    return true;
}

/// Calls for each reference of all expressions and backticks; how many it changed.
int forEachReference(NOD_Record &record, const std::function<bool(std::string &reference)> &call,
                     bool dryFlag = false)
{
    int count = 0;
    forEach(record, [&](NOD_Record &one) {
        Form form = Form::NATIVE;
        if (!hasForm(one, form)) {
            return;
        }
        std::string text = std::get<std::string>(one.getValue());
        int found = 0;
        TRK_NodePaths::forEach(
            text, form, nullptr,
            [&](std::string &reference) {
                const bool itFlag = call(reference);
                found += itFlag ? 1 : 0;
                return itFlag;
            },
            TRK_NodePaths::Part::ALL);
        if (found > 0 && !dryFlag) {
            one.setValue(std::move(text));
        }
        count += found;
    });
    return count;
}

int rename(NOD_Record &record, const NOD_ItemNames &names)
{
    return forEachReference(record,
                            [&](std::string &reference) { return replaceName(names, reference); });
}

// ---------------------------------------------------------------------- //
// Nodes and what they refer to
// ---------------------------------------------------------------------- //

/// A file of nodes, not of the values of one.
bool isTree(const NOD_Record &top)
{
    const NOD_Record::Parts &parts = top.getParts();
    return std::any_of(parts.begin(), parts.end(), [](const auto &part) {
        return part->getKind() == Kind::NODE || part->getKind() == Kind::CONTENTS;
    });
}

void forEachContentsOf(NOD_Record &node, const Use &use)
{
    for (const auto &part : node.getParts()) {
        if (part->getKind() == Kind::CONTENTS) {
            use(*part);
        } else if (part->getKind() == Kind::NODE) {
            forEachContentsOf(*part, use);
        }
    }
}

/// Calls for the contents of each node, or for those of the one that there is.
void forEachContents(NOD_Record &top, const Use &use)
{
    if (isTree(top)) {
        forEachContentsOf(top, use);
    } else {
        use(top);
    }
}

/// The node that a path leads to from another one; null if it leads to none of this state.
NOD_Record *findNode(NOD_Record &from, NOD_Record &top, std::string_view path)
{
    NOD_Record *node = &from;
    if (!path.empty() && path[0] == '/') {
        const std::string above = NODtextOf(top.valueOf(Kind::ABOVE));
        const bool aboveFlag = above.size() > 1;
        if (aboveFlag && (path.substr(0, above.size()) != above ||
                          (path.size() > above.size() && path[above.size()] != '/'))) {
            return nullptr;
        }
        path.remove_prefix(aboveFlag ? above.size() : 0);
        node = &top;
    }
    while (node && !path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (name == "..") {
            node = node->getParent();
        } else if (!name.empty() && name != ".") {
            node = node->find(Kind::NODE, name);
        }
    }
    return node;
}

/// Contents of the base by those of another state.
using Bases = std::unordered_map<const NOD_Record *, const NOD_Record *>;

/// One state's references to parameters of items.
class References
{
public:
    explicit References(NOD_Record &top) : myTop(top), myTreeFlag(isTree(top)) {}

    bool hasAny()
    {
        constexpr bool isDry = true;
        return run(isDry) > 0;
    }
    void findTargets(std::unordered_set<const NOD_Record *> &targets)
    {
        hasAny();
        targets.insert(myTargets.begin(), myTargets.end());
    }
    /// The items are marked. What isn't in this state any more is that of the base.
    void mark(const Bases &bases)
    {
        myNames.clear();
        myBases = &bases;
        constexpr bool isDry = false;
        run(isDry);
    }

    /// Whether a reference from these contents leads to a parameter of an item.
    bool leads(NOD_Record &contents, std::string reference) { return rename(contents, reference); }

private:
    int run(bool dryFlag)
    {
        int count = 0;
        forEachContents(myTop, [&](NOD_Record &contents) {
            if (contents.isClosed() && !contents.getClosed()->mayRefer()) {
                return;
            }
            contents.getParts();
            count += forEachReference(
                contents, [&](std::string &reference) { return rename(contents, reference); },
                dryFlag);
        });
        return count;
    }
    bool rename(NOD_Record &contents, std::string &reference)
    {
        NOD_Record *const target = targetOf(contents, reference);
        if (!target) {
            return false;
        }
        const auto [names, newFlag] = myNames.try_emplace(target);
        if (newFlag) {
            constexpr bool byMarks = false;
            names->second = namesOf(*target, byMarks);
            if (myBases && myBases->count(target) != 0) {
                names->second.merge(namesOf(*myBases->at(target), byMarks));
            }
        }
        const bool itFlag = replaceName(names->second, reference);
        if (itFlag) {
            myTargets.insert(target);
        }
        return itFlag;
    }
    /// Contents whose parameter it may be; null if they aren't here.
    NOD_Record *targetOf(NOD_Record &contents, std::string_view reference) const
    {
        const std::size_t slash = reference.rfind('/');
        if (slash == std::string_view::npos) {
            return &contents;
        }
        const std::string_view path = reference.substr(0, std::max<std::size_t>(slash, 1));
        if (!myTreeFlag) {
            const bool isHere = path.find_first_not_of("./") == std::string_view::npos &&
                                path.find("..") == std::string_view::npos && path[0] != '/';
            return isHere ? &contents : nullptr;
        }
        NOD_Record *const node = findNode(*contents.getParent(), myTop, path);
        return node ? node->find(Kind::CONTENTS) : nullptr;
    }

    NOD_Record &myTop;
    bool myTreeFlag;
    const Bases *myBases = nullptr;
    std::unordered_map<const NOD_Record *, NOD_ItemNames> myNames; ///< of contents
    std::unordered_set<const NOD_Record *> myTargets;
};

void removeMarks(NOD_Record &record)
{
    forEach(record, [](NOD_Record &one) {
        if (one.getKind() == Kind::ITEM && markOf(one)) {
            NOD_Record::Parts &parts = one.changeParts();
            parts.erase(std::remove_if(parts.begin(), parts.end(),
                                       [](const auto &part) {
                                           return part->getKind() == Kind::BLANKS &&
                                                  part->getName() == theMark;
                                       }),
                        parts.end());
        }
    });
}

using Targets = std::unordered_set<const NOD_Record *>;

/// Which mark each item of some contents gets: one that has a base that of the base, another one by what is in it.
class Marking
{
public:
    Marking(const NOD_States &states, const Targets &targets)
        : myStates(states), myTargets(targets), myTreeFlag(isTree(*states[0])),
          myOurs(*states[0], *states[1], exactly()), myTheirs(*states[0], *states[2], exactly())
    {}

    const Bases &getBases() const { return myBases; }
    void run()
    {
        pair(*myStates[0], {myStates[1], myStates[2]});
        for (NOD_Record *state : myStates) {
            std::unordered_map<std::string, int> counts;
            forEachContents(*state, [&](NOD_Record &contents) {
                const auto known = myPaired.find(&contents);
                if (known == myPaired.end() && myTargets.count(&contents) == 0) {
                    return;
                }
                const std::string place = known != myPaired.end()
                                              ? known->second
                                              : std::to_string(std::hash<std::string>()(
                                                    NODpathText(NODpathOf(contents))));
                forEach(contents, [&](NOD_Record &record) {
                    if (record.getKind() == Kind::ITEM && myMarks.count(&record) == 0) {
                        const std::string mark =
                            "n" + place + "." + std::to_string(record.getHash());
                        myMarks[&record] = mark + "." + std::to_string(counts[mark]++);
                    }
                });
            });
        }
        for (const auto &[item, mark] : myMarks) {
            item->add(Kind::BLANKS, theMark, mark);
        }
    }

private:
    using Partners = std::array<NOD_Record *, 2>;

    /// What is within equal ones has no partner of its own.
    NOD_Record *partnerOf(const NOD_Record &part, const NOD_Record &base, NOD_Record *partner,
                          const NOD_Matching &matching) const
    {
        if (!partner) {
            return nullptr;
        }
        const bool equalFlag = matching.isEqual(base) || matching.partnerOf(base) != partner;
        const NOD_Record *const found = !equalFlag ? matching.partnerOf(part)
                                        : part.getKind() == Kind::ITEM
                                            ? partner->findItem(part.getItem())
                                            : partner->find(part.getKind(), part.getName());
        return const_cast<NOD_Record *>(found);
    }
    bool isTarget(const NOD_Record &base, const Partners &partners) const
    {
        return myTargets.count(&base) != 0 || myTargets.count(partners[0]) != 0 ||
               myTargets.count(partners[1]) != 0;
    }
    void pair(NOD_Record &base, const Partners &partners)
    {
        if (base.getKind() == Kind::CONTENTS || (!myTreeFlag && &base == myStates[0])) {
            if (!isTarget(base, partners)) {
                return;
            }
            const std::string place = std::to_string(myPaired.size());
            for (const NOD_Record *const one : {&base, partners[0], partners[1]}) {
                myPaired.emplace(one, place);
                myBases.emplace(one, &base);
            }
        }
        for (const auto &part : base.getParts()) {
            const Partners inner = {partnerOf(*part, base, partners[0], myOurs),
                                    partnerOf(*part, base, partners[1], myTheirs)};
            if (part->getKind() == Kind::ITEM) {
                const std::string mark = std::to_string(myNext++);
                myMarks[part.get()] = mark;
                for (NOD_Record *partner : inner) {
                    if (partner) {
                        myMarks.emplace(partner, mark);
                    }
                }
            }
            pair(*part, inner);
        }
    }

    static const NOD_CompareOptions &exactly()
    {
        static const NOD_CompareOptions theOptions{true, {}};
        return theOptions;
    }

    const NOD_States &myStates;
    const Targets &myTargets;
    bool myTreeFlag;
    NOD_Matching myOurs;
    NOD_Matching myTheirs;
    std::unordered_map<NOD_Record *, std::string> myMarks;
    std::unordered_map<const NOD_Record *, std::string> myPaired; ///< contents, by the base's
    Bases myBases;
    int myNext = 0;
};

} // namespace

bool NODhasItemReferences(const NOD_Record &top)
{
    return References(const_cast<NOD_Record &>(top)).hasAny(); // which changes nothing
}

void NODmarkItems(const NOD_States &states)
{
    Targets targets;
    for (NOD_Record *state : states) {
        References(*state).findTargets(targets);
    }
    Marking marking(states, targets);
    marking.run();
    for (NOD_Record *state : states) {
        References(*state).mark(marking.getBases());
    }
}

NOD_ItemNames NODnamesByMarks(const NOD_Record &top)
{
    constexpr bool byMarks = true;
    NOD_ItemNames names;
    forEachContents(const_cast<NOD_Record &>(top), [&](const NOD_Record &contents) {
        if (!contents.isClosed()) {
            names.merge(namesOf(contents, byMarks));
        }
    });
    return names;
}

void NODunmarkItems(NOD_Record &record, const NOD_ItemNames &names)
{
    rename(record, names);
    removeMarks(record);
}

namespace
{

/// Of an item that a name is of which isn't there any more.
using LostReference = std::function<void(const std::string &marked, const std::string &written)>;

void forEachLost(const NOD_Record &record, const NOD_ItemNames &lost, const LostReference &call)
{
    Form form = Form::NATIVE;
    if (!hasForm(record, form)) {
        return;
    }
    std::string text = std::get<std::string>(record.getValue());
    TRK_NodePaths::forEach(
        text, form, nullptr,
        [&](std::string &reference) {
            std::string written = reference;
            if (replaceName(lost, written)) {
                call(reference, written);
            }
            return false;
        },
        TRK_NodePaths::Part::ALL);
}

/// The same one in all states, whatever numbers its items have.
std::string placeOf(const NOD_Record &record)
{
    std::string place;
    for (const NOD_Record *at = &record; at; at = at->getParent()) {
        const std::string *const mark = at->getKind() == Kind::ITEM ? markOf(*at) : nullptr;
        place += at->getTraits().word + (" " + (mark ? *mark : at->getName())) + "\n";
    }
    return place;
}

using Places = std::unordered_map<std::string, const NOD_Record *>;

Places placesOf(NOD_Record &state, const std::unordered_set<NOD_RecordKind> &kinds)
{
    Places places;
    forEach(state, [&](NOD_Record &record) {
        if (kinds.count(record.getKind()) != 0) {
            places.emplace(placeOf(record), &record);
        }
    });
    return places;
}

/// With its language, which is a part of what the text is in.
void giveText(NOD_Record &reader, const NOD_Record &chosen)
{
    reader.setValue(chosen.getValue());
    const Kind kind = reader.getKind();
    if (kind != Kind::EXPRESSION && kind != Kind::DEFAULT_TEXT) {
        return;
    }
    const Kind language = kind == Kind::EXPRESSION ? Kind::LANGUAGE : Kind::TEXT_LANGUAGE;
    NOD_Record &place = *reader.getParent();
    NOD_Record::Parts &parts = place.changeParts();
    parts.erase(std::remove_if(parts.begin(), parts.end(),
                               [&](const auto &part) { return part->getKind() == language; }),
                parts.end());
    for (const auto &part : chosen.getParent()->getParts()) {
        if (part->getKind() == language) {
            place.add(part->copy());
        }
    }
}

} // namespace

void NODtellLost(const std::vector<NOD_Record *> &readers, const NOD_States &states,
                 NOD_MergeJudge &judge, const NOD_Knows &knows)
{
    std::unordered_set<NOD_RecordKind> kinds;
    for (const NOD_Record *reader : readers) {
        kinds.insert(reader->getKind());
    }
    std::array<Places, 3> places;
    for (std::size_t side = 0; side < 3 && !readers.empty(); ++side) {
        places[side] = placesOf(*states[side], kinds);
    }
    for (NOD_Record *reader : readers) {
        NOD_MergeTriple triple;
        std::optional<NOD_MergeSide> author;
        bool beforeFlag = false; // one side has lost it by itself
        const std::string place = placeOf(*reader);
        for (const NOD_MergeSide side :
             {NOD_MergeSide::BASE, NOD_MergeSide::THEIRS, NOD_MergeSide::OURS}) {
            const auto found = places[std::size_t(side)].find(place);
            const bool thereFlag = found != places[std::size_t(side)].end();
            (side == NOD_MergeSide::BASE     ? triple.base
             : side == NOD_MergeSide::THEIRS ? triple.theirs
                                             : triple.ours) = thereFlag ? found->second : nullptr;
            if (thereFlag && NODisSameValue(found->second->getValue(), reader->getValue())) {
                const bool itFlag = knows(side, *reader);
                author = itFlag ? side : author;
                beforeFlag = beforeFlag || !itFlag;
            }
        }
        for (const NOD_MergeSide side : {NOD_MergeSide::OURS, NOD_MergeSide::THEIRS}) {
            if (!author && !beforeFlag && !triple.of(side) && knows(side, *reader)) {
                author = side; // in a node or parameter that is elsewhere in its state
                (side == NOD_MergeSide::OURS ? triple.ours : triple.theirs) = reader;
            }
        }
        if (beforeFlag || !author) {
            continue;
        }
        const NOD_MergeSide side =
            judge.decide(NOD_Conflict::Kind::REFERENCE_LOST, triple, *author);
        judge.setPlace(reader);
        if (triple.of(side) && triple.of(side) != reader) {
            giveText(*reader, *triple.of(side));
        }
    }
}

namespace
{

/// The merged state, of which references are to get the names that are at last.
class Unmarking
{
public:
    Unmarking(NOD_Record &made, const std::array<NOD_ItemNames, 3> &sides)
        : myMade(made), mySides(sides), myReferences(made), myNames(NODnamesByMarks(made))
    {
        for (const std::size_t side : {1U, 2U, 0U}) {
            for (const auto &one : mySides[side]) {
                if (myNames.insert(one).second) {
                    myLost.insert(one);
                }
            }
        }
    }

    std::vector<NOD_Record *> findReaders(const NOD_MergeJudge &judge)
    {
        std::vector<NOD_Record *> readers;
        forEach(myMade, [&](NOD_Record &record) {
            bool itFlag = false;
            forEachLost(record, myLost, [&](const auto &, const auto &) { itFlag = true; });
            if (itFlag && !judge.hasPlace(record)) {
                readers.push_back(&record);
            }
        });
        return readers;
    }
    /// Unless the side has removed it, and what is written is the same and leads nowhere.
    bool knows(NOD_MergeSide side, const NOD_Record &record)
    {
        bool knownFlag = false;
        forEachLost(record, myLost, [&](const std::string &marked, const std::string &written) {
            std::string former = marked;
            std::string own = marked;
            const bool sameFlag = replaceName(mySides[0], former) && former == written &&
                                  !replaceName(mySides[std::size_t(side)], own);
            knownFlag = knownFlag || !sameFlag || myReferences.leads(contentsOf(record), written);
        });
        return knownFlag;
    }
    bool hasLost() const { return !myLost.empty(); }
    void run() { NODunmarkItems(myMade, myNames); }

private:
    NOD_Record &contentsOf(const NOD_Record &record) const
    {
        const NOD_Record *at = &record;
        while (at->getKind() != Kind::CONTENTS && at->getParent()) {
            at = at->getParent();
        }
        return const_cast<NOD_Record &>(*at);
    }

    NOD_Record &myMade;
    const std::array<NOD_ItemNames, 3> &mySides;
    References myReferences;
    NOD_ItemNames myNames;
    NOD_ItemNames myLost;
};

} // namespace

void NODunmarkMerged(NOD_Record &made, const NOD_States &states,
                     const std::array<NOD_ItemNames, 3> &sides, NOD_MergeJudge &judge)
{
    Unmarking unmarking(made, sides);
    if (unmarking.hasLost()) {
        NODtellLost(unmarking.findReaders(judge), states, judge,
                    [&](NOD_MergeSide side, const NOD_Record &record) {
                        return unmarking.knows(side, record);
                    });
    }
    unmarking.run();
}
