// A dialog command's settings written as a line.

#include <DS/DS_Command.h>

#include <DS/DS_CommandParmPrivate.h>
#include <DS/DS_PagePrivate.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace
{

/// Bytes that no shell gives a meaning.
bool isPlainByte(char c)
{
    const bool letterFlag = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c < 0;
    return letterFlag || (c >= '0' && c <= '9') ||
           (c && std::string_view("_./:+,=@%^-").find(c) != std::string_view::npos);
}

std::string quote(std::string_view text, bool always)
{
    if (!always && !text.empty() && std::all_of(text.begin(), text.end(), isPlainByte)) {
        return std::string(text);
    }
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

/// Brackets are dropped from a line before it is read.
std::string hideBrackets(const std::string &text)
{
    std::string hidden;
    for (const char c : text) {
        hidden += c == '[' ? "\\133" : c == ']' ? "\\135" : std::string(1, c);
    }
    return hidden;
}

bool hasBracket(std::string_view text)
{
    return text.find_first_of("[]") != std::string_view::npos;
}

/// A text as a line has it.
std::string quoteText(std::string_view text, bool rman)
{
    const std::string quoted = quote(text, rman);
    return rman ? hideBrackets(quoted) : quoted;
}

std::string escapeBackticks(const std::string &text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '`' || c == '\\') {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

class Writer
{
public:
    Writer(const ZEL_ScriptPage &page, ZEL_ParmList &list, bool rman) : myRManFlag(rman)
    {
        KIT_ValArray<ZEL_ScriptParm *> records;
        DS_CommandParm::collect(page, records);
        for (ZEL_ScriptParm *const record : records) {
            myParms.emplace_back(*record, list);
            if (record->getOption().isstring()) {
                myOptions.insert(record->getOption().view());
            }
        }
    }

    void write(std::ostream &os) const
    {
        const auto last =
            std::find_if(myParms.rbegin(), myParms.rend(), [](const DS_CommandParm &parm) {
                return parm.isPositional() && parm.isOn();
            });
        const auto endOfPlaces = last.base();
        for (auto at = myParms.begin(); at != myParms.end(); ++at) {
            // What stands in front of a positional record that is on keeps its place.
            if (at->isOn() || (at->isPositional() && at < endOfPlaces)) {
                writeParm(os, *at);
            }
        }
    }

private:
    void writeParm(std::ostream &os, const DS_CommandParm &parm) const
    {
        const bool placeFlag = parm.isPositional();
        if (!placeFlag) {
            os << ' ' << quoteText(parm.getOption().view(), myRManFlag);
            if (parm.getKind() == DS_CommandParm::Kind::TOGGLE) {
                return;
            }
        }
        const int size = parm.getSize();
        const bool bracketFlag = myRManFlag && !parm.isRequired() && size > 0;
        if (bracketFlag) {
            os << (placeFlag ? " [ " : " [");
        }
        for (int i = 0; i < size; ++i) {
            const DS_CommandParm::Word word = parm.getWord(i);
            const bool firstFlag = bracketFlag && i == 0;
            if (!firstFlag || (!placeFlag && (word.expressionFlag || isRunInLine(word)))) {
                os << ' ';
            }
            writeWord(os, word, placeFlag && i == 0);
        }
        if (bracketFlag) {
            os << (placeFlag ? " ]" : "]");
        }
    }

    void writeWord(std::ostream &os, const DS_CommandParm::Word &word, bool mayBeOption) const
    {
        std::string written = word.text;
        std::string read = word.text;
        if (word.expressionFlag) {
            read = written = '`' + escapeBackticks(word.text) + '`';
            if (myRManFlag) {
                read = written = hideBrackets(written);
            }
        } else if (word.textFlag && !isRunInLine(word)) {
            written = quoteText(word.text, myRManFlag);
        }
        os << (mayBeOption && myOptions.count(read) ? "''" : "") << written;
    }

    /// Whether the text can stand as it is, being one run in backticks.
    bool isRunInLine(const DS_CommandParm::Word &word) const
    {
        return word.textFlag && DSisBacktickRun(word.text.c_str()) &&
               !(myRManFlag && hasBracket(word.text));
    }

    std::vector<DS_CommandParm> myParms;
    std::unordered_set<std::string_view> myOptions;
    bool myRManFlag;
};

} // namespace

void DS_Command::getCommand(KIT_String &result)
{
    const bool rman = myRManSyntax != 0;
    std::ostringstream os;
    os << quoteText(myCommandName.view(), rman);
    if (myParmList) {
        Writer(*myPage, *myParmList, rman).write(os);
    }
    result.harden(os.str().c_str());
}
