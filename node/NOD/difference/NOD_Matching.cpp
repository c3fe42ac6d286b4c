#include <NOD/NOD_Matching.h>

#include <NOD/difference/NOD_AlignmentPrivate.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace
{

constexpr double theLeastLikeness = 0.5;
/// Pairs of nodes or declarations without a partner that are compared in all they have.
constexpr std::size_t theMostPairs = 40000;
/// Pairs that share a member: of more it tells nothing. And those of all members.
constexpr std::size_t theMostOfMember = 4096;
constexpr std::size_t theMostOfAll = 1000000;

using Kind = NOD_RecordKind;

bool isTree(const NOD_Record &record)
{
    return record.getTraits().siblings == NOD_Siblings::TREE;
}

/// The last part of a name that two records may share though their numbers differ.
struct PartKey
{
    Kind kind;
    std::string_view name;

    bool operator==(const PartKey &other) const { return kind == other.kind && name == other.name; }
};

struct PartKeyHash
{
    std::size_t operator()(const PartKey &key) const
    {
        return std::hash<std::string_view>()(key.name) * 31 + std::size_t(key.kind);
    }
};

using PartMap = std::unordered_map<PartKey, const NOD_Record *, PartKeyHash>;

PartMap mapOf(const NOD_Record &record)
{
    PartMap map;
    for (const auto &part : record.getParts()) {
        if (part->getKind() != Kind::ITEM) {
            map.emplace(PartKey{part->getKind(), part->getName()}, part.get());
        }
    }
    return map;
}

/// What counts for being the same node or declaration: all but those below it.
const NOD_Record *contentsOf(const NOD_Record &record)
{
    return record.getKind() == Kind::NODE ? record.find(Kind::CONTENTS) : &record;
}

struct Share
{
    int same = 0;
    int all = 0;
};

/// In all but blanks.
bool areSameStatements(const NOD_Record &left, const NOD_Record &right)
{
    const auto counts = [](const NOD_Record &record) {
        return record.getTraits().comparison != NOD_Comparison::LAYOUT;
    };
    const auto countOf = [&](const NOD_Record &record) {
        const NOD_Record::Parts &parts = record.getParts();
        return std::count_if(parts.begin(), parts.end(),
                             [&](const auto &part) { return counts(*part); });
    };
    const NOD_Record::Parts &parts = left.getParts();
    return NODisSameValue(left.getValue(), right.getValue()) && countOf(left) == countOf(right) &&
           std::all_of(parts.begin(), parts.end(), [&](const auto &part) {
               const NOD_Record *const other = right.find(part->getKind(), part->getName());
               return !counts(*part) || (other && areSameStatements(*part, *other));
           });
}

/// Equal but for numbers within their tolerance.
bool areAlike(const NOD_Record &left, const NOD_Record &right, const NOD_CompareOptions &options)
{
    if (left.getHash() == right.getHash()) {
        return true;
    }
    if (left.getKind() == Kind::STATEMENT) {
        return areSameStatements(left, right);
    }
    const NOD_Record::Parts &parts = left.getParts();
    if (options.tolerances.empty() || parts.size() != right.getParts().size() ||
        !options.isSame(NODpathOf(right), left.getValue(), right.getValue())) {
        return false;
    }
    return std::all_of(parts.begin(), parts.end(), [&](const auto &part) {
        const NOD_Record *const other = part->getKind() == Kind::ITEM
                                            ? right.findItem(part->getItem())
                                            : right.find(part->getKind(), part->getName());
        return other && areAlike(*part, *other, options);
    });
}

bool isShared(const NOD_Record &part)
{
    return !isTree(part) && part.getKind() != Kind::BLANKS;
}

void addShare(const NOD_Record &left, const NOD_Record &right, const NOD_CompareOptions &options,
              Share &share)
{
    const PartMap map = mapOf(right);
    int common = 0;
    int leftParts = 0;
    for (const auto &part : left.getParts()) {
        if (!isShared(*part)) {
            continue;
        }
        ++leftParts;
        const auto found = map.find({part->getKind(), part->getName()});
        common += found != map.end() && areAlike(*part, *found->second, options) ? 1 : 0;
    }
    const int rightParts = int(std::count_if(right.getParts().begin(), right.getParts().end(),
                                             [](const auto &part) { return isShared(*part); }));
    share.same += common;
    share.all += std::max(leftParts, rightParts);
}

/// What a person would call the same, though there may be more of it: its type.
bool mayBeSame(const NOD_Record &left, const NOD_Record &right)
{
    const NOD_Record *const a = contentsOf(left);
    const NOD_Record *const b = contentsOf(right);
    if (left.getKind() != right.getKind() || !a || !b) {
        return false;
    }
    return left.getKind() == Kind::NODE
               ? NODisSameValue(a->valueOf(Kind::TYPE), b->valueOf(Kind::TYPE))
               : NODisSameValue(a->valueOf(Kind::PROPERTY, "kind"),
                                b->valueOf(Kind::PROPERTY, "kind"));
}

std::string lowerCase(const std::string &text)
{
    std::string lower;
    std::transform(text.begin(), text.end(), std::back_inserter(lower),
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return lower;
}

/// 1 for the same letters in the same order, 0 for none.
double textLikeness(const std::string &left, const std::string &right)
{
    const auto hashes = [](const std::string &text) {
        const std::string lower = lowerCase(text);
        return NOD_Hashes(lower.begin(), lower.end());
    };
    const std::size_t all = left.size() + right.size();
    constexpr std::size_t theLongest = 200;
    return all == 0 || all > theLongest
               ? 0.0
               : 2.0 * double(NODcommonPlaces(hashes(left), hashes(right)).size()) / double(all);
}

/// Of what a script declares, or of its text.
std::string labelOf(const NOD_Record &declaration)
{
    const NOD_Record *const statement = declaration.find(Kind::STATEMENT, "label");
    return NODvalueText(statement ? statement->valueOf(Kind::WORD, "0")
                                  : declaration.valueOf(Kind::PROPERTY, "label"));
}

double namesLikeness(const NOD_Record &left, const NOD_Record &right)
{
    return std::max(textLikeness(left.getName(), right.getName()),
                    textLikeness(labelOf(left), labelOf(right)));
}

std::string pathKey(const NOD_Record &record)
{
    return NODpathText(NODpathOf(record));
}

} // namespace

double NODlikeness(const NOD_Record &left, const NOD_Record &right,
                   const NOD_CompareOptions &options)
{
    const NOD_Record *const a = contentsOf(left);
    const NOD_Record *const b = contentsOf(right);
    if (!a || !b) {
        return a == b ? 1.0 : 0.0;
    }
    Share share;
    addShare(*a, *b, options, share);
    return share.all == 0 ? 1.0 : double(share.same) / share.all;
}

NOD_Matching::NOD_Matching(const NOD_Record &left, const NOD_Record &right,
                           const NOD_CompareOptions &options)
    : myOptions(options)
{
    pair(left, right);
    findOthers(left, right);
    findMoved(left);
}

NOD_Matching::~NOD_Matching() = default;

const NOD_Record *NOD_Matching::partnerOf(const NOD_Record &record) const
{
    const auto found = myPartners.find(&record);
    return found == myPartners.end() ? nullptr : found->second;
}

// ---------------------------------------------------------------------- //
// By name
// ---------------------------------------------------------------------- //

void NOD_Matching::link(const NOD_Record &left, const NOD_Record &right)
{
    myPartners[&left] = &right;
    myPartners[&right] = &left;
}

void NOD_Matching::pair(const NOD_Record &left, const NOD_Record &right)
{
    link(left, right);
    if (left.isEqual(right)) {
        myEqual.insert(&left);
        myEqual.insert(&right);
    } else {
        pairParts(left, right);
    }
}

void NOD_Matching::pairParts(const NOD_Record &left, const NOD_Record &right)
{
    const PartMap map = mapOf(right);
    bool itemsFlag = false;
    for (const auto &part : left.getParts()) {
        itemsFlag = itemsFlag || part->getKind() == Kind::ITEM;
        if (part->getKind() == Kind::ITEM || partnerOf(*part)) {
            continue;
        }
        const auto found = map.find({part->getKind(), part->getName()});
        if (found != map.end() && !partnerOf(*found->second)) {
            pair(*part, *found->second);
        }
    }
    if (itemsFlag) {
        pairItemsOf(left, right);
    }
}

void NOD_Matching::pairItemsOf(const NOD_Record &left, const NOD_Record &right)
{
    Records records[2];
    NOD_Hashes hashes[2];
    for (const int side : {0, 1}) {
        for (const auto &part : (side == 0 ? left : right).getParts()) {
            if (part->getKind() == Kind::ITEM) {
                records[side].push_back(part.get());
                hashes[side].push_back(part->getHash());
            }
        }
    }
    const auto shareOf = [&](int i, int j) {
        Share share;
        addShare(*records[0][std::size_t(i)], *records[1][std::size_t(j)], myOptions, share);
        return share;
    };
    NOD_ItemMeasures measures;
    // One member that differs is a change; so is half of them.
    measures.cost = [&](int i, int j) {
        const Share share = shareOf(i, j);
        const int others = share.all - share.same;
        return others <= 1 ? 1.0 : 4.0 * others / share.all;
    };
    measures.likeness = [&](int i, int j) {
        const Share share = shareOf(i, j);
        return share.all == 0 ? 0.0 : double(share.same) / share.all;
    };
    const NOD_ItemPairs found = NODpairItems(hashes[0], hashes[1], measures);
    for (const auto &[i, j] : found.staying) {
        pair(*records[0][std::size_t(i)], *records[1][std::size_t(j)]);
    }
    for (const auto &[i, j] : found.moved) {
        pair(*records[0][std::size_t(i)], *records[1][std::size_t(j)]);
        myMoved.insert(records[0][std::size_t(i)]);
        myMoved.insert(records[1][std::size_t(j)]);
    }
}

// ---------------------------------------------------------------------- //
// Under other names, in other places
// ---------------------------------------------------------------------- //

void NOD_Matching::collect(const NOD_Record &record, Records &without) const
{
    if (isEqual(record)) {
        return;
    }
    for (const auto &part : record.getParts()) {
        if (!isTree(*part)) {
            continue;
        }
        if (!partnerOf(*part)) {
            without.push_back(part.get());
        }
        collect(*part, without);
    }
}

void NOD_Matching::findOthers(const NOD_Record &left, const NOD_Record &right)
{
    Records ofLeft;
    Records ofRight;
    collect(left, ofLeft);
    collect(right, ofRight);
    if (!ofLeft.empty() && !ofRight.empty()) {
        pairSame(ofLeft, ofRight);
        pairAlike(ofLeft, ofRight);
    }
}

/// Of the same contents, and of the same name or the only ones with these contents.
void NOD_Matching::pairSame(const Records &left, const Records &right)
{
    const auto contentsKey = [](const NOD_Record &record) {
        const NOD_Record *const contents = contentsOf(record);
        return std::to_string(contents ? contents->getHash() : 0);
    };
    const auto pairWhere = [&](const auto &keyOf) {
        std::map<std::string, std::pair<Records, Records>> byKey;
        for (const NOD_Record *record : left) {
            if (!partnerOf(*record)) {
                byKey[keyOf(*record)].first.push_back(record);
            }
        }
        for (const NOD_Record *record : right) {
            if (!partnerOf(*record)) {
                byKey[keyOf(*record)].second.push_back(record);
            }
        }
        for (const auto &[key, sides] : byKey) {
            const bool oneFlag = sides.first.size() == 1 && sides.second.size() == 1;
            if (oneFlag && !partnerOf(*sides.first[0]) && !partnerOf(*sides.second[0]) &&
                mayBeSame(*sides.first[0], *sides.second[0])) {
                pair(*sides.first[0], *sides.second[0]);
            }
        }
    };
    pairWhere(
        [&](const NOD_Record &record) { return contentsKey(record) + " " + record.getName(); });
    pairWhere(contentsKey);
}

namespace
{

using Places = std::vector<std::size_t>;
using Indices = std::pair<std::size_t, std::size_t>;

/// Of each member, which have it on either side.
class Members
{
public:
    Members(const std::vector<const NOD_Record *> &left,
            const std::vector<const NOD_Record *> &right)
    {
        addAll(left, &Row::first);
        addAll(right, &Row::second);
    }

    /// How many each pair shares, of those that tell anything.
    std::map<Indices, int> countShared() const
    {
        std::size_t most = theMostOfMember;
        while (most > 1 && countAll(most) > theMostOfAll) {
            most /= 2;
        }
        std::map<Indices, int> shared;
        for (const auto &row : myRows) {
            if (countOf(row.second) > most) {
                continue;
            }
            for (const std::size_t i : row.second.first) {
                for (const std::size_t j : row.second.second) {
                    ++shared[{i, j}];
                }
            }
        }
        return shared;
    }

private:
    using Row = std::pair<Places, Places>;

    void addAll(const std::vector<const NOD_Record *> &records, Places Row::*side)
    {
        const std::hash<std::string> hash;
        for (std::size_t i = 0; i < records.size(); ++i) {
            std::unordered_set<std::uint64_t> keys = {hash(records[i]->getName())};
            const NOD_Record *const contents = contentsOf(*records[i]);
            for (const auto &part : (contents ? *contents : *records[i]).getParts()) {
                keys.insert(part->getHash() * 31 + hash(part->getName()));
            }
            for (const std::uint64_t key : keys) {
                (myRows[key].*side).push_back(i);
            }
        }
    }
    static std::size_t countOf(const Row &row) { return row.first.size() * row.second.size(); }
    std::size_t countAll(std::size_t most) const
    {
        std::size_t all = 0;
        for (const auto &row : myRows) {
            all += countOf(row.second) <= most ? countOf(row.second) : 0;
        }
        return all;
    }

    std::unordered_map<std::uint64_t, Row> myRows;
};

/// Which of many could be alike: those that share nearly as much as either of them shares with any. The same in either
/// direction.
std::vector<Indices> findAlike(const std::vector<const NOD_Record *> &left,
                               const std::vector<const NOD_Record *> &right)
{
    const std::map<Indices, int> shared = Members(left, right).countShared();
    std::vector<int> most[2] = {std::vector<int>(left.size()), std::vector<int>(right.size())};
    for (const auto &[pair, count] : shared) {
        most[0][pair.first] = std::max(most[0][pair.first], count);
        most[1][pair.second] = std::max(most[1][pair.second], count);
    }
    for (const int part : {3, 4}) {
        std::vector<Indices> pairs;
        for (const auto &[pair, count] : shared) {
            if (4 * count >= part * std::min(most[0][pair.first], most[1][pair.second])) {
                pairs.push_back(pair);
            }
        }
        if (pairs.size() <= theMostPairs) {
            return pairs;
        }
    }
    return {}; // some of them would depend on the direction
}

} // namespace

/// The most alike first.
void NOD_Matching::pairAlike(const Records &allLeft, const Records &allRight)
{
    const auto withoutPartner = [&](const Records &records) {
        Records without;
        std::copy_if(records.begin(), records.end(), std::back_inserter(without),
                     [&](const NOD_Record *record) { return !partnerOf(*record); });
        return without;
    };
    const Records left = withoutPartner(allLeft);
    const Records right = withoutPartner(allRight);
    struct Candidate
    {
        double likeness;
        std::string key; ///< the same in either direction
        const NOD_Record *left;
        const NOD_Record *right;
    };
    std::vector<Candidate> candidates;
    const auto add = [&](const NOD_Record &a, const NOD_Record &b) {
        const bool nearFlag =
            a.getName() == b.getName() || partnerOf(*a.getParent()) == b.getParent();
        if (!mayBeSame(a, b)) {
            return;
        }
        ++myComparisons;
        double likeness = NODlikeness(a, b, myOptions) + (nearFlag ? 0.2 : 0.0);
        if (a.getKind() == Kind::DECLARATION) {
            likeness = (likeness + namesLikeness(a, b)) / 2.0;
        }
        if (likeness >= (nearFlag ? theLeastLikeness + 0.1 : 0.8)) {
            std::string keys[] = {pathKey(a), pathKey(b)};
            std::sort(std::begin(keys), std::end(keys));
            candidates.push_back({likeness, keys[0] + "\n" + keys[1], &a, &b});
        }
    };
    if (left.size() * right.size() <= theMostPairs) {
        for (const NOD_Record *a : left) {
            for (const NOD_Record *b : right) {
                add(*a, *b);
            }
        }
    } else {
        for (const auto &[i, j] : findAlike(left, right)) {
            add(*left[i], *right[j]);
        }
    }
    std::sort(candidates.begin(), candidates.end(), [](const Candidate &a, const Candidate &b) {
        return std::tie(b.likeness, a.key) < std::tie(a.likeness, b.key);
    });
    for (const Candidate &candidate : candidates) {
        if (!partnerOf(*candidate.left) && !partnerOf(*candidate.right)) {
            pair(*candidate.left, *candidate.right);
        }
    }
}

// ---------------------------------------------------------------------- //
// Order
// ---------------------------------------------------------------------- //

void NOD_Matching::findMoved(const NOD_Record &left)
{
    const NOD_Record *const right = partnerOf(left);
    if (right && isEqual(left)) {
        return;
    }
    std::map<Kind, Records> lists;
    for (const auto &part : left.getParts()) {
        const NOD_Record *const partner = partnerOf(*part);
        if (right && partner && partner->getParent() == right &&
            myOptions.hasOrder(part->getKind())) {
            lists[part->getKind()].push_back(part.get());
        }
        findMoved(*part);
    }
    for (const auto &[kind, records] : lists) {
        findMovedAmong(records, *right);
    }
}

/// A number for each, which is the same where their partners are asked. Only names that were exchanged among
/// two of them have none.
NOD_Hashes NOD_Matching::ranksOf(const Records &records) const
{
    std::vector<std::pair<std::string, std::size_t>> names;
    for (const NOD_Record *record : records) {
        const std::string &a = record->getName();
        const std::string &b = partnerOf(*record)->getName();
        names.emplace_back(std::min(a, b) + "\n" + std::max(a, b), names.size());
    }
    std::sort(names.begin(), names.end());
    NOD_Hashes ranks(records.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        ranks[names[i].second] = i;
    }
    return ranks;
}

void NOD_Matching::findMovedAmong(const Records &left, const NOD_Record &right)
{
    std::unordered_map<const NOD_Record *, std::uint64_t> numbers;
    NOD_Hashes before;
    NOD_Hashes after;
    for (const NOD_Record *record : left) {
        numbers[partnerOf(*record)] = before.size();
        before.push_back(before.size());
    }
    for (const auto &part : right.getParts()) {
        const auto found = numbers.find(part.get());
        if (found != numbers.end()) {
            after.push_back(found->second);
        }
    }
    if (std::is_sorted(after.begin(), after.end())) {
        return;
    }
    std::vector<char> stays(left.size(), 0);
    // Numbers depend on the direction, ranks of names don't.
    const NOD_Hashes ranks = ranksOf(left);
    const auto ranked = [&](NOD_Hashes places) {
        for (std::uint64_t &place : places) {
            place = ranks[std::size_t(place)];
        }
        return places;
    };
    for (const auto &[i, j] : NODcommonPlaces(ranked(before), ranked(after))) {
        stays[std::size_t(i)] = 1;
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (!stays[i]) {
            myMoved.insert(left[i]);
            myMoved.insert(partnerOf(*left[i]));
        }
    }
}
