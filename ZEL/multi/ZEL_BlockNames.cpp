#include <ZEL/list/ZEL_BlockNamesPrivate.h>

#include <BAS/BAS_Character.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <cstring>
#include <limits>
#include <string>

namespace
{

/// FNV-1a. What collides is compared, or is a name that its own script made to collide.
class Hash
{
public:
    void add(char c)
    {
        constexpr std::uint64_t thePrime = 0x100000001b3;
        myValue = (myValue ^ std::uint8_t(c)) * thePrime;
    }
    void add(const char *text)
    {
        while (*text) {
            add(*text++);
        }
    }
    void add(int number) { add(std::to_string(number).c_str()); }
    std::uint64_t value() const { return myValue; }

private:
    std::uint64_t myValue = 0xcbf29ce484222325;
};

const char *endOfDigits(const char *text)
{
    while (BASisDigit(*text)) {
        ++text;
    }
    return text;
}

/// Adds a run of digits without its leading zeros; returns its end.
const char *addDigits(Hash &hash, const char *text)
{
    const char *const end = endOfDigits(text);
    while (text + 1 < end && *text == '0') {
        ++text;
    }
    for (; text < end; ++text) {
        hash.add(*text);
    }
    return end;
}

/// Runs of a token are digits and marks; a mark that isn't alone in its run may stand for any of its digits.
std::uint64_t hashPrefix(const char *token, const KIT_ValArray<int> *numbers)
{
    Hash hash;
    int marks = 0;
    while (*token) {
        if (*token != '#' && !BASisDigit(*token)) {
            hash.add(*token++);
            continue;
        }
        const std::size_t length = std::strspn(token, "#0123456789");
        if (std::memchr(token, '#', length) == nullptr) {
            token = addDigits(hash, token);
            continue;
        }
        if (length > 1 || !numbers || marks >= numbers->size()) {
            break;
        }
        hash.add((*numbers)(marks++));
        ++token;
    }
    return hash.value();
}

std::uint64_t hashToken(const ZEL_Multi &multi, const char *token)
{
    Hash hash;
    hash.add(token);
    hash.add('#');
    hash.add(multi.getMultiStartOffset());
    const KIT_ValArray<int> *const numbers = multi.getInstanceIndex();
    for (std::int64_t i = 0; numbers && i < numbers->size(); ++i) {
        hash.add('#');
        hash.add((*numbers)(i));
    }
    return hash.value();
}

} // namespace

void ZEL_ParmList::BlockNames::add(int index)
{
    const ZEL_Parm *const parm = myList.getParmPtr(index);
    const ZEL_Multi *const multi = parm ? parm->asMulti() : nullptr;
    const int children = multi ? multi->getMultiParmInstancesPerItem() : 0;
    for (int child = 0; child < children; ++child) {
        const char *const token = multi->getMultiParmTemplate()[child].getToken();
        if (!token) {
            continue;
        }
        const int entry = int(myEntries.size());
        myEntries.push_back({hashToken(*multi, token), index, -1});
        Chain &chain = myChains[hashPrefix(token, multi->getInstanceIndex())];
        (chain.first < 0 ? chain.first : myEntries[std::size_t(chain.last)].next) = entry;
        chain.last = entry;
    }
}

void ZEL_ParmList::BlockNames::update()
{
    if (myRemovals != myList.myNumRemovals) {
        myRemovals = myList.myNumRemovals;
        myIndexed = 0;
        myChains.clear();
        myEntries.clear();
    }
    for (; myIndexed < myList.getEntries(); ++myIndexed) {
        add(myIndexed);
    }
}

void ZEL_ParmList::BlockNames::findIn(std::uint64_t prefix, const char *name, int &best,
                                      int &number) const
{
    const auto found = myChains.find(prefix);
    const Entry *failed = nullptr;
    for (int at = found == myChains.end() ? -1 : found->second.first; at >= 0;) {
        const Entry &entry = myEntries[std::size_t(at)];
        if (entry.index >= best) {
            return;
        }
        at = entry.next;
        if (failed && failed->token == entry.token) {
            continue;
        }
        const ZEL_Parm *const parm = myList.getParmPtr(entry.index);
        const ZEL_Multi *const multi = parm ? parm->asMulti() : nullptr;
        if (!multi || multi->isLeaving()) {
            continue;
        }
        int matched = -1;
        if (multi->matchInstancePattern(name, matched)) {
            best = entry.index;
            number = matched;
            return;
        }
        failed = &entry;
    }
}

ZEL_Multi *ZEL_ParmList::BlockNames::find(const KIT_StringRef &name, int &number)
{
    constexpr int theNone = std::numeric_limits<int>::max();
    const char *const text = name.c_str();
    // Most unknown names contain no digit, and a list may hold many parameters.
    if (!text || !text[std::strcspn(text, "0123456789")]) {
        return nullptr;
    }
    update();
    int best = theNone;
    Hash hash;
    for (const char *at = text; *at;) {
        if (!BASisDigit(*at)) {
            hash.add(*at++);
            continue;
        }
        findIn(hash.value(), text, best, number);
        at = addDigits(hash, at);
    }
    findIn(hash.value(), text, best, number);
    return best == theNone ? nullptr : myList.getParmPtr(best)->asMulti();
}
