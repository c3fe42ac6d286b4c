// Scripts with mistakes that a program makes in good ones, each in a line of its own.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_ScriptTypes.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <set>
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

struct ScriptMistake
{
    int line = 0; ///< from 1
    std::string kind;
};

class ScriptMistakes
{
public:
    ScriptMistakes(const std::string &file, unsigned seed) : myFile(file), myRandom(seed)
    {
        std::ifstream is(file);
        for (std::string line; std::getline(is, line);) {
            myLines.push_back(line);
        }
    }

    /// Makes up to that many mistakes, at least four lines apart, each of which is one for the reader by
    /// itself.
    void make(int count);

    std::string getText() const { return textOf(myLines); }
    const std::string &getFile() const { return myFile; }
    const std::vector<ScriptMistake> &getMade() const { return myMade; }
    const std::string &getLine(int line) const { return myLines[std::size_t(line - 1)]; }

private:
    using Make = bool (ScriptMistakes::*)(std::string &line);
    struct Kind
    {
        const char *name;
        Make make;
    };
    static const Kind theKinds[];

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(myRandom); }

    static std::string textOf(const std::vector<std::string> &lines)
    {
        std::string all;
        for (const std::string &line : lines) {
            all += line + "\n";
        }
        return all;
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

    std::string myFile;
    std::mt19937 myRandom;
    std::vector<std::string> myLines;
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
};

inline void ScriptMistakes::make(int count)
{
    const std::vector<std::string> good = myLines;
    for (int tries = 0; tries < 400 && int(myMade.size()) < count; ++tries) {
        const int line = pick(int(good.size()));
        const auto near = [line](const ScriptMistake &one) {
            return std::abs(one.line - 1 - line) < 4;
        };
        if (std::any_of(myMade.begin(), myMade.end(), near)) {
            continue;
        }
        const Kind &kind = theKinds[std::size_t(pick(int(std::size(theKinds))))];
        std::string text = good[std::size_t(line)];
        if (!(this->*kind.make)(text) || text == good[std::size_t(line)]) {
            continue;
        }
        std::vector<std::string> alone = good;
        alone[std::size_t(line)] = text;
        NOD_Report report;
        NOD_Interface::fromText(textOf(alone), myFile, report);
        if (!report.isEmpty()) {
            myLines[std::size_t(line)] = text;
            myMade.push_back({line + 1, kind.name});
        }
    }
}
