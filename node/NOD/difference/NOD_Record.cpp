#include <NOD/NOD_Record.h>

#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <unordered_map>
#include <utility>

namespace
{

constexpr NOD_RecordTraits theTraits[] = {
#define NOD_RECORD(enumerator, word, siblings, values, people)                                     \
    {word, people, NOD_Siblings::siblings, NOD_Comparison::values},
#include <NOD/NOD_Records.def>
#undef NOD_RECORD
};

/// As in splitmix64.
std::uint64_t mixed(std::uint64_t x)
{
    x += 0x9e3779b97f4a7c15U;
    x = (x ^ (x >> 30U)) * 0xbf58476d1ce4e5b9U;
    x = (x ^ (x >> 27U)) * 0x94d049bb133111ebU;
    return x ^ (x >> 31U);
}

std::uint64_t textHash(std::string_view text)
{
    return mixed(std::hash<std::string_view>()(text));
}

std::uint64_t bitsOf(double number)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

std::uint64_t valueHash(const NOD_Value &value)
{
    const std::uint64_t which = mixed(value.index());
    if (const auto *number = std::get_if<double>(&value)) {
        return which ^ mixed(bitsOf(*number));
    }
    if (const auto *whole = std::get_if<std::int64_t>(&value)) {
        return which ^ mixed(std::uint64_t(*whole));
    }
    const auto *text = std::get_if<std::string>(&value);
    return text ? which ^ textHash(*text) : which;
}

bool isItem(const NOD_Record &record)
{
    return record.getKind() == NOD_RecordKind::ITEM;
}

constexpr std::size_t theFewParts = 16; ///< that are looked through one by one

using PartKey = std::pair<NOD_RecordKind, std::string_view>;

struct PartKeyHash
{
    std::size_t operator()(const PartKey &key) const
    {
        return std::hash<std::string_view>()(key.second) * 31 + std::size_t(key.first);
    }
};

} // namespace

// ---------------------------------------------------------------------- //
// Kinds and values
// ---------------------------------------------------------------------- //

const NOD_RecordTraits &NODtraitsOf(NOD_RecordKind kind)
{
    return theTraits[std::size_t(kind)];
}

bool NODfindRecordKind(std::string_view word, NOD_RecordKind &kind)
{
    const auto found =
        std::find_if(std::begin(theTraits), std::end(theTraits),
                     [&](const NOD_RecordTraits &traits) { return word == traits.word; });
    if (found == std::end(theTraits)) {
        return false;
    }
    kind = NOD_RecordKind(found - std::begin(theTraits));
    return true;
}

bool NODisSameValue(const NOD_Value &left, const NOD_Value &right)
{
    const auto *number = std::get_if<double>(&left);
    const auto *other = std::get_if<double>(&right);
    return number && other ? bitsOf(*number) == bitsOf(*other) : left == right;
}

std::string NODvalueText(const NOD_Value &value)
{
    if (const auto *text = std::get_if<std::string>(&value)) {
        return *text;
    }
    KIT_WorkBuffer out;
    if (const auto *number = std::get_if<double>(&value)) {
        out.appendNumber(*number);
    } else if (const auto *whole = std::get_if<std::int64_t>(&value)) {
        return std::to_string(*whole);
    }
    return std::string(out.view());
}

std::string NODtextOf(const NOD_Value &value)
{
    const auto *text = std::get_if<std::string>(&value);
    return text ? *text : std::string();
}

NOD_ClosedParts::~NOD_ClosedParts() = default;

// ---------------------------------------------------------------------- //
// What it is
// ---------------------------------------------------------------------- //

NOD_Record::NOD_Record(Kind kind, std::string name, NOD_Value value)
    : myKind(kind), myName(std::move(name)), myValue(std::move(value))
{}

NOD_Record::~NOD_Record() = default;

/// Of two parts of one name the first one counts.
struct NOD_Record::Index
{
    std::unordered_map<PartKey, const NOD_Record *, PartKeyHash>
        named; ///< the names are the parts'
    std::vector<const NOD_Record *> items;

    void add(const NOD_Record &part)
    {
        named.emplace(PartKey(part.getKind(), part.getName()), &part);
        if (isItem(part)) {
            items.push_back(&part);
        }
    }
};

/// Null where there are few parts.
const NOD_Record::Index *NOD_Record::indexOf() const
{
    if (getParts().size() <= theFewParts) {
        return nullptr;
    }
    if (!myIndex) {
        myIndex = std::make_unique<Index>();
        for (const auto &part : myParts) {
            myIndex->add(*part);
        }
    }
    return myIndex.get();
}

void NOD_Record::setName(std::string name)
{
    if (myParent) {
        myParent->myIndex.reset();
        myParent->forgetHash();
    }
    myName = std::move(name);
}

void NOD_Record::setValue(NOD_Value value)
{
    myValue = std::move(value);
    forgetHash();
}

void NOD_Record::forgetHash()
{
    for (NOD_Record *record = this; record && !record->myOpeningFlag; record = record->myParent) {
        record->myHash = 0;
    }
}

// ---------------------------------------------------------------------- //
// Parts
// ---------------------------------------------------------------------- //

const NOD_Record::Parts &NOD_Record::getParts() const
{
    if (myClosed) {
        const std::shared_ptr<const NOD_ClosedParts> closed = std::move(myClosed);
        myClosed = nullptr;
        myOpeningFlag = true; // hashes that are known stay those of the bytes
        closed->open(const_cast<NOD_Record &>(*this));
        myOpeningFlag = false;
    }
    return myParts;
}

NOD_Record::Parts &NOD_Record::changeParts()
{
    getParts();
    forgetHash();
    myIndex.reset();
    return myParts;
}

NOD_Record &NOD_Record::add(Kind kind, std::string name, NOD_Value value)
{
    return add(std::make_unique<NOD_Record>(kind, std::move(name), std::move(value)));
}

NOD_Record &NOD_Record::add(std::unique_ptr<NOD_Record> part)
{
    getParts();
    forgetHash();
    part->myParent = this;
    myParts.push_back(std::move(part));
    if (myIndex) {
        myIndex->add(*myParts.back());
    }
    return *myParts.back();
}

const NOD_Record *NOD_Record::find(Kind kind, std::string_view name) const
{
    if (const Index *const index = indexOf()) {
        const auto found = index->named.find(PartKey(kind, name));
        return found == index->named.end() ? nullptr : found->second;
    }
    for (const auto &part : getParts()) {
        if (part->myKind == kind && part->myName == name) {
            return part.get();
        }
    }
    return nullptr;
}

NOD_Record *NOD_Record::find(Kind kind, std::string_view name)
{
    return const_cast<NOD_Record *>(std::as_const(*this).find(kind, name));
}

const NOD_Record *NOD_Record::findItem(int item) const
{
    const Index *const index = indexOf();
    const bool placedFlag = index && item >= 0 && std::size_t(item) < index->items.size();
    if (placedFlag && index->items[std::size_t(item)]->myItem == item) {
        return index->items[std::size_t(item)];
    }
    for (const auto &part : getParts()) {
        if (isItem(*part) && part->myItem == item) {
            return part.get();
        }
    }
    return nullptr;
}

NOD_Value NOD_Record::valueOf(Kind kind, std::string_view name) const
{
    const NOD_Record *const part = find(kind, name);
    return part ? part->myValue : NOD_Value();
}

void NOD_Record::numberItems()
{
    int item = 0;
    for (const auto &part : getParts()) {
        if (isItem(*part)) {
            part->myItem = item++;
        }
    }
}

void NOD_Record::adoptParts()
{
    for (const auto &part : getParts()) {
        part->myParent = this;
    }
    numberItems();
}

void NOD_Record::close(std::shared_ptr<const NOD_ClosedParts> closed)
{
    myIndex.reset();
    myParts.clear();
    myClosed = std::move(closed);
    forgetHash();
}

// ---------------------------------------------------------------------- //
// The whole of it
// ---------------------------------------------------------------------- //

std::uint64_t NOD_Record::hashOfParts() const
{
    std::uint64_t keyed = 0;
    std::uint64_t ordered = 0; // of all kinds together: each is a sequence of its own
    std::vector<std::pair<Kind, std::uint64_t>> sequences;
    for (const auto &part : myParts) {
        const std::uint64_t one = mixed(part->getHash() ^ textHash(part->myName));
        if (part->getTraits().siblings == NOD_Siblings::KEYED) {
            keyed += one;
        } else {
            const auto isOf = [&](const auto &sequence) { return sequence.first == part->myKind; };
            auto at = std::find_if(sequences.begin(), sequences.end(), isOf);
            at = at == sequences.end() ? sequences.insert(at, {part->myKind, 0}) : at;
            at->second = mixed(at->second ^ one);
        }
    }
    for (const auto &[kind, hash] : sequences) {
        ordered += mixed(hash);
    }
    return keyed ^ mixed(ordered);
}

std::uint64_t NOD_Record::getHash() const
{
    if (myHash == 0) {
        const std::uint64_t parts = myClosed ? myClosed->getHash() : hashOfParts();
        myHash = mixed(mixed(std::uint64_t(myKind)) ^ valueHash(myValue) ^ mixed(parts)) | 1U;
    }
    return myHash;
}

bool NOD_Record::hasSameParts(const NOD_Record &other) const
{
    const Parts &left = getParts();
    const Parts &right = other.getParts();
    if (left.size() != right.size()) {
        return false;
    }
    std::unordered_map<std::string, const NOD_Record *> keyed;
    const auto keyOf = [](const NOD_Record &part) {
        return std::to_string(int(part.myKind)) + ' ' + part.myName;
    };
    std::map<Kind, Parts::const_iterator> places; // each kind is a sequence of its own
    for (const auto &part : right) {
        if (part->getTraits().siblings == NOD_Siblings::KEYED) {
            keyed[keyOf(*part)] = part.get();
        }
    }
    for (const auto &part : left) {
        if (part->getTraits().siblings == NOD_Siblings::KEYED) {
            const auto found = keyed.find(keyOf(*part));
            if (found == keyed.end() || !part->isSame(*found->second)) {
                return false;
            }
            continue;
        }
        Parts::const_iterator &at = places.try_emplace(part->myKind, right.begin()).first->second;
        at = std::find_if(at, right.end(), [&](const std::unique_ptr<NOD_Record> &one) {
            return one->myKind == part->myKind;
        });
        if (at == right.end() || (*at)->myName != part->myName || !part->isSame(**at)) {
            return false;
        }
        ++at;
    }
    return true;
}

bool NOD_Record::isSame(const NOD_Record &other) const
{
    if (myKind != other.myKind || !NODisSameValue(myValue, other.myValue)) {
        return false;
    }
    if (myClosed && other.myClosed && myClosed->isSame(*other.myClosed)) {
        return true;
    }
    return hasSameParts(other);
}

std::unique_ptr<NOD_Record> NOD_Record::copy() const
{
    auto made = std::make_unique<NOD_Record>(myKind, myName, myValue);
    made->myItem = myItem;
    made->myHash = myHash;
    made->myClosed = myClosed;
    made->myParts.reserve(myParts.size());
    for (const auto &part : myParts) {
        made->myParts.push_back(part->copy());
        made->myParts.back()->myParent = made.get();
    }
    return made;
}
