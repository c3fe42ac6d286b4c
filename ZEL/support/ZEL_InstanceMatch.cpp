#include <ZEL/support/ZEL_InstanceMatchPrivate.h>

#include <BAS/BAS_Character.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace
{

/// Numbers beyond this are treated as equal, larger than any int.
constexpr int64_t theHuge = int64_t(INT_MAX) + 1;

int64_t appendDigit(int64_t number, char digit)
{
    const int64_t grown = number * 10 + (digit - '0');
    return grown < theHuge ? grown : theHuge;
}

/// One way in which the name may have matched so far.
struct State
{
    int64_t place;  ///< in the pattern; -1 before its first character
    int64_t mark;   ///< how many `#` stand before the place
    int64_t number; ///< on a `#` the digits of its run, else the number of the last `#`
};

/// Room for the ways through a pattern, in which each place occurs once, and before its first character.
struct Room
{
    State *states;
    State *next;
    int64_t *stamps; ///< for each place of the pattern and its end
};

/// Follows all ways in parallel. Each place of the pattern enters the next set once per step: the
/// first way to reach it wins.
class Matcher
{
public:
    Matcher(const char *pattern, int64_t length, int startOffset,
            const KIT_ValArray<int> *instances, const Room &room)
        : myPattern(pattern), myLength(length), myStartOffset(startOffset), myInstances(instances),
          myRoom(room)
    {
        std::fill_n(myRoom.stamps, myLength + 1, int64_t(-1));
    }

    bool match(const char *name, int64_t &number)
    {
        myRoom.next[0] = {-1, 0, number};
        myNumNext = 1;
        const int64_t length = static_cast<int64_t>(std::strlen(name));
        for (myStep = 0; myStep <= length && myNumNext > 0; myStep++) {
            std::swap(myRoom.states, myRoom.next);
            const int64_t count = std::exchange(myNumNext, 0);
            for (int64_t i = 0; i < count; i++) {
                if (myRoom.states[i].place < myLength) {
                    advance(myRoom.states[i], name[myStep]);
                }
            }
        }
        for (int64_t i = 0; i < myNumNext; i++) {
            if (myRoom.next[i].place == myLength) {
                number = myRoom.next[i].number;
                return true;
            }
        }
        return false;
    }

private:
    void advance(const State &state, char c)
    {
        const bool markFlag = state.place >= 0 && myPattern[state.place] == '#';
        const bool entryFlag = markFlag && myInstances && state.mark < myInstances->entries();
        const bool entryMatchFlag = entryFlag && (*myInstances)(state.mark) == state.number;
        const bool doneFlag = entryFlag ? entryMatchFlag : state.number >= myStartOffset;

        const char next = myPattern[state.place + 1];
        const bool runFlag = next == '#' && BASisDigit(c);
        if ((c == next || runFlag) && (!markFlag || doneFlag)) {
            add({state.place + 1, state.mark + (markFlag ? 1 : 0),
                 runFlag ? c - '0' : state.number});
        }
        if (markFlag && BASisDigit(c) && !entryMatchFlag) {
            add({state.place, state.mark, appendDigit(state.number, c)});
        }
    }

    void add(const State &state)
    {
        int64_t &stamp = myRoom.stamps[state.place];
        if (stamp != myStep) {
            stamp = myStep;
            myRoom.next[myNumNext++] = state;
        }
    }

    const char *myPattern;
    int64_t myLength;
    int64_t myStartOffset;
    const KIT_ValArray<int> *myInstances;
    Room myRoom;
    int64_t myNumNext = 0;
    int64_t myStep = 0;
};

/// Patterns of blocks are short: they take no memory from the heap.
bool match(const char *name, const char *pattern, int64_t &number, int startOffset,
           const KIT_ValArray<int> *instances)
{
    constexpr size_t theShort = 62;
    const size_t length = std::strlen(pattern);
    const auto matchIn = [&](const Room &room) {
        return Matcher(pattern, static_cast<int64_t>(length), startOffset, instances, room)
            .match(name, number);
    };
    if (length <= theShort) {
        State states[theShort + 2];
        State next[theShort + 2];
        int64_t stamps[theShort + 1];
        return matchIn({states, next, stamps});
    }
    std::vector<State> states(2 * (length + 2));
    std::vector<int64_t> stamps(length + 1);
    return matchIn({states.data(), states.data() + length + 2, stamps.data()});
}

} // namespace

bool ZELmatchInstance(const char *name, const char *pattern, int startOffset, int &instance,
                      const KIT_ValArray<int> *instances)
{
    instance = startOffset > INT_MIN ? startOffset - 1 : INT_MIN;
    if (!name || !pattern || std::strchr(name, '#')) {
        return false;
    }
    // Most names differ before the first `#`: reject them without setting anything up.
    const size_t literal = std::strcspn(pattern, "#");
    if (std::strncmp(name, pattern, literal) != 0) {
        return false;
    }
    if (!pattern[literal]) {
        return !name[literal];
    }
    // Marks are digits: what follows the last one ends the name.
    const char *const tail = std::strrchr(pattern, '#') + 1;
    const size_t length = std::strlen(name);
    const size_t tailLength = std::strlen(tail);
    if (length < tailLength || std::strcmp(name + length - tailLength, tail) != 0) {
        return false;
    }
    int64_t number = instance;
    if (!match(name, pattern, number, startOffset, instances)) {
        return false;
    }
    instance = number < theHuge ? static_cast<int>(number) : INT_MAX;
    return true;
}
