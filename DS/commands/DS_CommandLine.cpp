// Reads command lines into a dialog command.

#include <DS/DS_Command.h>

#include <DS/commands/DS_CommandParmPrivate.h>
#include <DS/commands/DS_PagePrivate.h>
#include <KIT/KIT_WorkArgs.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace
{

/// A line as words, parsed and as written: only the written form shows that a word is quoted and no
/// option.
struct Line
{
    explicit Line(const KIT_String &text)
    {
        count = text.cshParse(words);
        constexpr bool keepQuotes = true;
        text.cshParse(written, keepQuotes);
    }

    /// Empty pairs of quotes before the word itself.
    int countPairs(int index) const
    {
        constexpr std::string_view pair("''");
        std::string_view word(written[index]);
        int pairs = 0;
        for (; word.size() > pair.size() && word.substr(0, pair.size()) == pair; ++pairs) {
            word.remove_prefix(pair.size());
        }
        return pairs;
    }

    KIT_WorkArgs words;
    KIT_WorkArgs written;
    int count = 0;
};

class Feeder
{
public:
    Feeder(const ZEL_ScriptPage &page, ZEL_ParmList &list)
    {
        KIT_ValArray<ZEL_ScriptParm *> records;
        DS_CommandParm::collect(page, records);
        for (ZEL_ScriptParm *const record : records) {
            const size_t index = myParms.size();
            myParms.emplace_back(*record, list);
            if (!myParms.back().isPositional()) {
                // Of equal options the last one counts.
                myOptions[record->getOption().view()] = index;
            } else if (myParms.back().takesPlace()) {
                myPlaces.push_back(index);
            }
        }
    }

    void resetAll()
    {
        std::for_each(myParms.rbegin(), myParms.rend(), [](DS_CommandParm &parm) { parm.reset(); });
    }

    void feedAll(const Line &line)
    {
        for (int at = 1; at < line.count;) {
            const auto found = myOptions.find(line.words[at]);
            if (found != myOptions.end() && line.countPairs(at) == 0) {
                DS_CommandParm &parm = myParms[found->second];
                const bool wordlessFlag = parm.getKind() == DS_CommandParm::Kind::TOGGLE;
                at += 1 + feed(found->second, line, at + 1, wordlessFlag ? 0 : parm.getSize());
            } else {
                at += feedPositional(line, at);
            }
        }
    }

private:
    int feed(size_t index, const Line &line, int at, int size)
    {
        const int count = std::min(size, line.count - at);
        std::vector<const char *> words;
        for (int i = 0; i < count; ++i) {
            words.push_back(line.words[at + i]);
        }
        myParms[index].setWords(words.data(), count);
        return count;
    }

    /// Returns the number of words used; a word that nothing accepts is skipped.
    int feedPositional(const Line &line, int at)
    {
        const int leftOut = std::max(line.countPairs(at) - 1, 0);
        const size_t place = myNextPlace + static_cast<size_t>(leftOut);
        if (place >= myPlaces.size()) {
            return 1;
        }
        myNextPlace = place + 1;
        const size_t index = myPlaces[place];
        return feed(index, line, at, myParms[index].getSize());
    }

    std::vector<DS_CommandParm> myParms;
    std::unordered_map<std::string_view, size_t> myOptions;
    std::vector<size_t> myPlaces;
    size_t myNextPlace = 0;
};

} // namespace

void DS_Command::setCommand(const char *line)
{
    if (!myParmList) {
        return;
    }
    KIT_String text(line, true);
    if (myRManSyntax) {
        text.substitute("[", "");
        text.substitute("]", "");
    }
    const Line words(text);
    if (words.count == 0 || myCommandName != words.words[0]) {
        return;
    }
    Feeder feeder(*myPage, *myParmList);
    feeder.resetAll();
    feeder.feedAll(words);
}

void DS_Command::setDefaultCommand()
{
    if (myPage) {
        myPage->setEmptyDefault(myCommandName);
        setCommand(myPage->getDefault());
    }
}

int DS_Command::disableParms()
{
    if (!myParmList) {
        return 0;
    }
    KIT_ValArray<ZEL_ScriptParm *> records;
    DS_CommandParm::collect(*myPage, records);
    bool changed = false;
    for (ZEL_ScriptParm *const record : records) {
        changed |= DS_CommandParm(*record, *myParmList).disable();
    }
    return changed;
}
