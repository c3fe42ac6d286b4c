// Scripts with mistakes that a program makes in good ones, each in a line of its own.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptFormat.h>
#include <ZEL/ZEL_ScriptTypes.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

inline bool isScriptKeyword(const std::string &word)
{
    static const std::set<std::string> theWords = {
#define ZEL_PARM_KEYWORD(word, ...) word,
#define ZEL_PAGE_KEYWORD(word, ...) word,
#define ZEL_PARM_SKIPPED(word, ...) word,
#define ZEL_PAGE_SKIPPED(word, ...) word,
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    };
    return theWords.count(word) != 0;
}

/// How a script is laid out, beside its words.
enum class ScriptLayout
{
    AS_IS,
    FORMATTED, ///< by zel format
    CRLF,
    PAIRS, ///< two keywords a line
    FLAT   ///< no indentation
};

struct ScriptMistake
{
    int line = 0; ///< of the laid out text, from 1
    int made = 0; ///< of the lines, from 0
    std::string kind;
};

class ScriptMistakes
{
public:
    ScriptMistakes(const std::string &file, unsigned seed, ScriptLayout layout)
        : myFile(file), myRandom(seed), myLayout(layout)
    {
        std::ifstream is(file);
        std::string text(std::istreambuf_iterator<char>(is), {});
        if (layout == ScriptLayout::FORMATTED) {
            NOD_Report report;
            NODformatScript(text, file, {}, text, report);
        }
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            myLines.push_back(line);
        }
        pair();
    }

    /// Makes up to that many mistakes, at least four lines apart, each of which is one for the reader by
    /// itself.
    void make(int count);

    std::string getText() const { return textOf(myLines); }
    const std::string &getFile() const { return myFile; }
    const std::vector<ScriptMistake> &getMade() const { return myMade; }
    const std::string &getLine(const ScriptMistake &one) const
    {
        return myLines[std::size_t(one.made)];
    }

private:
    using Make = bool (ScriptMistakes::*)(std::string &line);
    struct Kind
    {
        const char *name;
        Make make;
    };
    static const Kind theKinds[];

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(myRandom); }

    /// Finds the lines that are put behind the ones before.
    void pair()
    {
        static const std::regex theStatement(
            "^\\s*[a-z]+(\\s+(\"[^\"\\\\]*\"|[^\"/#{}\\[]*))?\\s*$");
        myBehind.resize(myLines.size());
        const auto isStatement = [this](std::size_t line) {
            return std::regex_match(myLines[line], theStatement);
        };
        for (std::size_t i = 1; i < myLines.size() && myLayout == ScriptLayout::PAIRS; ++i) {
            myBehind[i] = !myBehind[i - 1] && isStatement(i - 1) && isStatement(i);
        }
    }

    std::string textOf(const std::vector<std::string> &lines) const
    {
        const bool bareFlag = myLayout == ScriptLayout::FLAT;
        std::string all;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const std::size_t first = std::min(lines[i].find_first_not_of(" \t"), lines[i].size());
            all += bareFlag || myBehind[i] ? lines[i].substr(first) : lines[i];
            const bool joinedFlag = i + 1 < lines.size() && myBehind[i + 1];
            all += joinedFlag ? " " : myLayout == ScriptLayout::CRLF ? "\r\n" : "\n";
        }
        return all;
    }

    int lineOf(int made) const
    {
        return made + 1 - int(std::count(myBehind.begin(), myBehind.begin() + made + 1, true));
    }

    static bool isPlain(const std::string &line)
    {
        const std::size_t first = line.find_first_not_of(" \t");
        return first != std::string::npos && line[first] != '/' && line[first] != '#';
    }

    /// Another word that is as long or one letter shorter or longer.
    std::string misspelt(std::string word)
    {
        const auto at = std::size_t(pick(int(word.size()) - 1));
        switch (pick(3)) {
        case 0: std::swap(word[at], word[at + 1]); break;
        case 1: word.erase(at, 1); break;
        default: word.insert(at, 1, word[at]); break;
        }
        return word;
    }

    bool misspellKeyword(std::string &line)
    {
        std::smatch found;
        static const std::regex theKeyword("^\\s*([a-z]{4,})(\\s|$)");
        if (!std::regex_search(line, found, theKeyword)) {
            return false;
        }
        const std::string word = found[1];
        if (!isScriptKeyword(word)) {
            return false;
        }
        const std::string wrong = misspelt(word);
        line.replace(std::size_t(found.position(1)), word.size(), wrong);
        return !isScriptKeyword(wrong);
    }

    bool misspellType(std::string &line)
    {
        std::smatch found;
        static const std::regex theType("^\\s*type\\s+([a-z_0-9]{4,})");
        if (!std::regex_search(line, found, theType)) {
            return false;
        }
        const std::string word = found[1];
        const std::string wrong = misspelt(word);
        line.replace(std::size_t(found.position(1)), word.size(), wrong);
        return ZELlookupScriptType(wrong.c_str()) < 0;
    }

    bool change(std::string &line, const char *pattern, const char *by)
    {
        static std::map<std::string, std::regex> theCompiled;
        const std::regex &what = theCompiled.try_emplace(pattern, pattern).first->second;
        if (!isPlain(line) || !std::regex_search(line, what)) {
            return false;
        }
        line = std::regex_replace(line, what, by);
        return true;
    }

    bool dropValue(std::string &line)
    {
        return change(line, "^(\\s*(name|label|type|option|help|callback|size|export))\\s+\\S.*$",
                      "$1");
    }
    bool dropClose(std::string &line)
    {
        return change(line, "^([^\"]*(\"[^\"]*\"[^\"]*)*)\\}\\s*$", "$1");
    }
    bool dropOpen(std::string &line) { return change(line, "^(\\s*[a-z]+\\s*)\\{", "$1"); }
    bool addClose(std::string &line)
    {
        return change(line, "^(\\s*(default|range|parmtag|type|label|\\}).*)$", "$1 }");
    }
    bool dropSecondQuote(std::string &line)
    {
        return change(line, "^(\\s*[a-z]+\\s+(\\{ )?\"[^\"]*)\"((?: \\})?)$", "$1$3");
    }
    bool dropFirstQuote(std::string &line)
    {
        return change(line, "^(\\s*[a-z]+\\s+)\"([^\" ]+ [^\"]*\")$", "$1$2");
    }
    bool dropTagValue(std::string &line)
    {
        return change(line, "^(\\s*(parmtag|attribute|grouptag) \\{ \"[^\"]*\") \"[^\"]*\"", "$1");
    }
    bool dropEntryLabel(std::string &line)
    {
        return change(line, "^(\\s*\"[^\"]*\")\\s+\"[^\"]*\"\\s*$", "$1");
    }
    bool turnRange(std::string &line)
    {
        return change(line, "^(\\s*range\\s+\\{) (\\S+) (\\S+) \\}", "$1 $3 $2 }");
    }
    bool addValues(std::string &line)
    {
        return change(line, "^(\\s*default\\s+\\{[^\"{}]*)\\}", "$1 7 7 7 7 7 }");
    }
    bool addWord(std::string &line)
    {
        return change(line, "^(\\s*(label|type|help|export)\\s+\\S.*)$", "$1 qqqqqqqqq");
    }
    bool wrongExport(std::string &line)
    {
        return change(line, "^(\\s*export\\s+)\\S+", "$1wibble");
    }
    bool breakCondition(std::string &line)
    {
        return change(line, "^(\\s*(hidewhen|disablewhen|nocookwhen)\\s+\"\\{.*) \\}\"", "$1\"");
    }

    /// Whether the words say where it is, where there is no indentation: the block of a brace may go on to the
    /// end, and any brace may be the one too many.
    bool isDecided(const std::vector<std::string> &lines, std::size_t line,
                   const std::string &kind) const
    {
        static const std::regex theParmsOnly("^\\s*(type|size|menu|joinnext|export|callback)\\b.*");
        if (myLayout != ScriptLayout::FLAT) {
            return true;
        }
        const bool bareFlag = lines[line].find_first_not_of(" \t}") == std::string::npos;
        const std::string &next = line + 1 < lines.size() ? lines[line + 1] : "";
        return kind == "no closing brace" ? !bareFlag
               : kind == "surplus brace"  ? std::regex_match(next, theParmsOnly)
                                          : true;
    }

    /// A directive in the place of a comment or of nothing.
    bool addDirective(std::string &line, const char *directive)
    {
        const std::size_t first = line.find_first_not_of(" \t");
        const bool freeFlag = first == std::string::npos || line.compare(first, 2, "//") == 0;
        line = freeFlag ? directive : line;
        return freeFlag;
    }
    bool includeNothing(std::string &line) { return addDirective(line, "#include \"none.dsh\""); }
    bool misspellInclude(std::string &line)
    {
        return addDirective(line, "#inlcude \"common.dsh\"");
    }
    bool openIf(std::string &line) { return addDirective(line, "#if 1"); }
    bool addEndif(std::string &line) { return addDirective(line, "#endif"); }
    bool addElse(std::string &line) { return addDirective(line, "#else"); }
    bool defineNothing(std::string &line) { return addDirective(line, "#define"); }

    std::string myFile;
    std::mt19937 myRandom;
    ScriptLayout myLayout;
    std::vector<std::string> myLines;
    std::vector<bool> myBehind;
    std::vector<ScriptMistake> myMade;
};

inline const ScriptMistakes::Kind ScriptMistakes::theKinds[] = {
    {"misspelt keyword", &ScriptMistakes::misspellKeyword},
    {"misspelt type", &ScriptMistakes::misspellType},
    {"no value", &ScriptMistakes::dropValue},
    {"no closing brace", &ScriptMistakes::dropClose},
    {"no opening brace", &ScriptMistakes::dropOpen},
    {"surplus brace", &ScriptMistakes::addClose},
    {"no second quote", &ScriptMistakes::dropSecondQuote},
    {"no first quote", &ScriptMistakes::dropFirstQuote},
    {"no tag value", &ScriptMistakes::dropTagValue},
    {"no entry label", &ScriptMistakes::dropEntryLabel},
    {"range turned round", &ScriptMistakes::turnRange},
    {"surplus values", &ScriptMistakes::addValues},
    {"surplus word", &ScriptMistakes::addWord},
    {"wrong export", &ScriptMistakes::wrongExport},
    {"broken condition", &ScriptMistakes::breakCondition},
    {"include of nothing", &ScriptMistakes::includeNothing},
    {"misspelt include", &ScriptMistakes::misspellInclude},
    {"#if without end", &ScriptMistakes::openIf},
    {"surplus #endif", &ScriptMistakes::addEndif},
    {"surplus #else", &ScriptMistakes::addElse},
    {"#define of nothing", &ScriptMistakes::defineNothing},
};

inline void ScriptMistakes::make(int count)
{
    const std::vector<std::string> good = myLines;
    for (int tries = 0; tries < 400 && int(myMade.size()) < count; ++tries) {
        const int line = pick(int(good.size()));
        const auto near = [line](const ScriptMistake &one) {
            return std::abs(one.made - line) < 4;
        };
        if (std::any_of(myMade.begin(), myMade.end(), near)) {
            continue;
        }
        const Kind &kind = theKinds[std::size_t(pick(int(std::size(theKinds))))];
        std::string text = good[std::size_t(line)];
        if (!(this->*kind.make)(text) || text == good[std::size_t(line)] ||
            !isDecided(good, std::size_t(line), kind.name)) {
            continue;
        }
        std::vector<std::string> alone = good;
        alone[std::size_t(line)] = text;
        NOD_Report report;
        NOD_Interface::fromText(textOf(alone), myFile, report);
        if (!report.isEmpty()) {
            myLines[std::size_t(line)] = text;
            myMade.push_back({lineOf(line), line, kind.name});
        }
    }
}
