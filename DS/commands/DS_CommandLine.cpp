// Reads command lines into a dialog command.

#include <DS/DS_Command.h>

#include <DS/commands/DS_CommandParmPrivate.h>
#include <DS/commands/DS_PagePrivate.h>
#include <KIT/KIT_WorkArgs.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <unordered_map>
#include <vector>

namespace
{

void tellIgnored(const KIT_WorkArgs &words, int begin, int end, KIT_StringArray *losses)
{
    for (int i = begin; losses && i < end; ++i) {
        losses->append(("nothing takes the word \"" + std::string(words[i]) + '"').c_str());
    }
}

class Feeder
{
public:
    Feeder(const ZEL_ScriptPage &page, ZEL_ParmList &list, KIT_StringArray *losses)
        : myLosses(losses)
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

    void feedAll(const KIT_WorkArgs &words)
    {
        for (int at = 1; at < words.entries();) {
            const auto found = myOptions.find(words[at]);
            if (found != myOptions.end()) {
                DS_CommandParm &parm = myParms[found->second];
                tellAgain(found->second, words[at]);
                const bool wordlessFlag = parm.getKind() == DS_CommandParm::Kind::TOGGLE;
                at += 1 + feed(found->second, words, at + 1, wordlessFlag ? 0 : parm.getSize());
            } else if (myNextPlace < myPlaces.size()) {
                const size_t index = myPlaces[myNextPlace++];
                at += feed(index, words, at, myParms[index].getSize());
            } else {
                tellIgnored(words, at, at + 1, myLosses);
                ++at;
            }
        }
    }

private:
    int feed(size_t index, const KIT_WorkArgs &line, int at, int size)
    {
        const int count = std::min(size, int(line.entries()) - at);
        std::vector<const char *> words;
        for (int i = 0; i < count; ++i) {
            words.push_back(line[at + i]);
        }
        myParms[index].setWords(words.data(), count);
        for (int i = 0; myLosses && i < count; ++i) {
            tellChanged(myParms[index], i, words[size_t(i)]);
        }
        return count;
    }

    void tellAgain(size_t index, const char *option)
    {
        if (myLosses && !myGiven.insert(index).second) {
            myLosses->append(
                (std::string(option) + " is there more than once: the last one counts").c_str());
        }
    }

    void tellChanged(const DS_CommandParm &parm, int component, const char *word)
    {
        if (!parm.holds(component, word)) {
            myLosses->append((parm.getToken() + ": \"" + word + "\" reads as \"" +
                              parm.getWord(component).text + '"')
                                 .c_str());
        }
    }

    KIT_StringArray *myLosses; ///< null: nobody asks
    std::vector<DS_CommandParm> myParms;
    std::unordered_map<std::string_view, size_t> myOptions;
    std::set<size_t> myGiven; ///< options that the line has had
    std::vector<size_t> myPlaces;
    size_t myNextPlace = 0;
};

} // namespace

void DS_Command::setCommand(const char *line, KIT_StringArray *losses)
{
    const ZEL_InputBudget budget(line ? std::int64_t(std::strlen(line)) : 0);
    KIT_String text(line, true);
    if (myRManSyntax) {
        text.substitute("[", "");
        text.substitute("]", "");
    }
    KIT_WorkArgs words;
    const int count = text.cshParse(words);
    const bool ownFlag = count > 0 && myCommandName == words[0];
    if (!ownFlag || !myParmList) {
        tellIgnored(words, ownFlag ? 1 : 0, count, losses);
        return;
    }
    Feeder feeder(*myPage, *myParmList, losses);
    feeder.resetAll();
    feeder.feedAll(words);
}

void DS_Command::setDefaultCommand(KIT_StringArray *losses)
{
    if (myPage) {
        myPage->setEmptyDefault(myCommandName);
        setCommand(myPage->getDefault(), losses);
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
