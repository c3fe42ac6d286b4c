// Writes a dialog command's settings as a line.

#include <DS/DS_Command.h>

#include <BAS/BAS_Character.h>
#include <DS/commands/DS_CommandParmPrivate.h>
#include <DS/commands/DS_PagePrivate.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <algorithm>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// Bytes without a special meaning in any shell.
bool isPlainByte(char c)
{
    return BASisWordChar(c) || c < 0 ||
           (c && std::string_view("./:+,=@%^-").find(c) != std::string_view::npos);
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

/// Escapes brackets, which are dropped from a line before it is read.
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

/// A text as it is written on a line.
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
        }
    }

    void write(std::ostream &os) const
    {
        for (const DS_CommandParm &parm : myParms) {
            if (parm.isOn()) {
                writeParm(os, parm);
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
            os << writtenWord(word);
        }
        if (bracketFlag) {
            os << (placeFlag ? " ]" : "]");
        }
    }

    std::string writtenWord(const DS_CommandParm::Word &word) const
    {
        if (word.expressionFlag) {
            const std::string run = '`' + escapeBackticks(word.text) + '`';
            return myRManFlag ? hideBrackets(run) : run;
        }
        const bool quoteFlag = word.textFlag && !isRunInLine(word);
        return quoteFlag ? quoteText(word.text, myRManFlag) : word.text;
    }

    /// Whether the text can be written unchanged, being a single run in backticks.
    bool isRunInLine(const DS_CommandParm::Word &word) const
    {
        return word.textFlag && DSisBacktickRun(word.text.c_str()) &&
               !(myRManFlag && hasBracket(word.text));
    }

    std::vector<DS_CommandParm> myParms;
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
    if (os.bad()) {
        throw std::bad_alloc();
    }
    result.harden(os.str().c_str());
}
