#include <NOD/difference/NOD_StatementRecordsPrivate.h>

#include <BAS/BAS_Character.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ScriptShapePrivate.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;
using Form = NOD_ScriptWord::Form;
using Block = NOD_ScriptShape::Block;
using Statement = NOD_ScriptShape::Statement;

bool beginsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// Names that no sibling has.
class FreeNames
{
public:
    std::string take(const std::string &name)
    {
        int &count = myCounts[name];
        const int number = ++count;
        return number == 1 ? name : take(name + " " + std::to_string(number));
    }

private:
    std::unordered_map<std::string, int> myCounts;
};

class Reader
{
public:
    Reader(std::string_view text, const NOD_ScriptTokens &tokens, const NOD_ScriptShape &shape)
        : myText(text), myTokens(tokens), myShape(shape)
    {}

    void run(NOD_Record &top)
    {
        const Block &script = blockAt(0);
        goTo(script.header, top, theBefore, "");
        finishLine(top, theAfter);
        readParts(script, {}, top);
        goTo(script.close, top, theBeforeEnd, "");
        addBlanks(top, theAfterEnd, myText.substr(myAt), "\n");
    }

private:
    const Block &blockAt(int index) const { return myShape.getBlocks()[std::size_t(index)]; }
    bool isWord(int token, std::string_view word) const { return myTokens[token].is(word); }
    std::string rawText(int first, int last) const;
    void addBlanks(NOD_Record &to, const char *name, std::string_view text, std::string_view usual);
    void goTo(int token, NOD_Record &to, const char *name, std::string_view usual);
    void finishLine(NOD_Record &to, const char *name);
    NOD_Record &addWords(NOD_Record &to, Kind kind, const std::string &name, int first, int last);

    void readParts(const Block &block, const std::string &ownName, NOD_Record &to);
    NOD_Record &readDeclaration(const Statement &statement, const std::string &name,
                                NOD_Record &to);
    void readWords(const Statement &statement, const NOD_ScriptWord *word, NOD_Record &to);
    void readEntries(int first, int end, bool menuFlag, NOD_Record &to);
    bool arePairs(int first, int end) const;
    std::string nameOf(const Statement &statement, const NOD_ScriptWord *word) const;
    std::string nameOf(const Block &block) const;
    bool takeOwnName(const Statement &statement, const std::string &ownName, NOD_Record &to);

    std::string_view myText;
    const NOD_ScriptTokens &myTokens;
    const NOD_ScriptShape &myShape;
    std::size_t myAt = 0; ///< up to which all bytes have their record
    int myNext = 0;       ///< the first token after it
};

// ---------------------------------------------------------------------- //
// Bytes
// ---------------------------------------------------------------------- //

std::string Reader::rawText(int first, int last) const
{
    const std::size_t begin = myTokens[first].begin;
    return std::string(myText.substr(begin, std::max(myTokens[last].end, begin) - begin));
}

void Reader::addBlanks(NOD_Record &to, const char *name, std::string_view text,
                       std::string_view usual)
{
    if (text != usual) {
        to.add(NOD_Blanks(text).commentFlag ? Kind::COMMENT : Kind::BLANKS, name,
               std::string(text));
    }
}

/// Tokens of one macro have one place: what comes of that is seen when the records are written.
void Reader::goTo(int token, NOD_Record &to, const char *name, std::string_view usual)
{
    const std::size_t begin = std::max(myTokens[token].begin, myAt);
    addBlanks(to, name, myText.substr(myAt, begin - myAt), usual);
    myAt = std::max(myTokens[token].end, myAt);
    myNext = token + 1;
}

void Reader::finishLine(NOD_Record &to, const char *name)
{
    const std::size_t next = myNext < myTokens.size() ? myTokens[myNext].begin : myText.size();
    const std::string_view rest = myText.substr(myAt, std::max(next, myAt) - myAt);
    const std::size_t end = NOD_Blanks(rest).lineEnd;
    addBlanks(to, name, rest.substr(0, end), "\n");
    myAt += end;
}

NOD_Record &Reader::addWords(NOD_Record &to, Kind kind, const std::string &name, int first,
                             int last)
{
    NOD_Record &made = to.add(kind, name, rawText(first, last));
    goTo(first, made, theBefore, " ");
    myAt = std::max(myTokens[last].end, myAt);
    myNext = last + 1;
    return made;
}

// ---------------------------------------------------------------------- //
// Blocks
// ---------------------------------------------------------------------- //

/// Its name, else what people read of it.
std::string Reader::nameOf(const Block &block) const
{
    if (!block.name.empty()) {
        return block.name;
    }
    for (const Statement &statement : block.statements) {
        if (isWord(statement.begin, "label") && statement.end > statement.begin + 1) {
            return myTokens[statement.begin + 1].text;
        }
    }
    return {};
}

NOD_Record &Reader::readDeclaration(const Statement &statement, const std::string &name,
                                    NOD_Record &to)
{
    const Block &block = blockAt(statement.block);
    const std::string prefix = NODdeclarationPrefix(block.keyword);
    NOD_Record &made = to.add(Kind::DECLARATION, name);
    made.add(Kind::PROPERTY, theKindProperty, rawText(block.header, block.header));
    goTo(block.header, made, theBefore, "");
    goTo(block.header + 1, made, theBetween, " ");
    finishLine(made, theAfter);
    readParts(block, beginsWith(name, prefix) ? name.substr(prefix.size()) : "", made);
    goTo(block.close, made, theBeforeEnd, "");
    finishLine(made, theAfterEnd);
    return made;
}

void Reader::readParts(const Block &block, const std::string &ownName, NOD_Record &to)
{
    FreeNames declarations;
    FreeNames statements;
    const std::string *last = nullptr;
    bool namedFlag = ownName.empty();
    const auto add = [&](const Statement &statement) {
        const NOD_ScriptWord *const word =
            NODfindScriptWord(myTokens[statement.begin].text, block.parmFlag);
        NOD_Record &made = to.add(Kind::STATEMENT, statements.take(nameOf(statement, word)),
                                  rawText(statement.begin, statement.begin));
        goTo(statement.begin, made, theBefore, "");
        if (last) {
            made.add(Kind::BLANKS, theFollows, *last);
        }
        if (namedFlag || !takeOwnName(statement, ownName, made)) {
            readWords(statement, word, made);
        } else {
            namedFlag = true;
        }
        finishLine(made, theAfter);
    };
    for (const Statement &statement : block.statements) {
        if (statement.block < 0) {
            add(statement);
            continue;
        }
        const Block &inner = blockAt(statement.block);
        const std::string prefix = NODdeclarationPrefix(inner.keyword);
        last = &readDeclaration(statement, declarations.take(prefix + nameOf(inner)), to).getName();
        if (inner.end < statement.end) { // words after its brace
            add({inner.end, statement.end});
        }
    }
}

// ---------------------------------------------------------------------- //
// Statements
// ---------------------------------------------------------------------- //

/// Its keyword; of a tag also the name of the tag.
std::string Reader::nameOf(const Statement &statement, const NOD_ScriptWord *word) const
{
    const std::string &keyword = myTokens[statement.begin].text;
    const int first = statement.begin + 2; // after the brace
    return word && word->form == Form::PAIRS && first < statement.end
               ? keyword + " " + myTokens[first].text
               : keyword;
}

/// The word is the record's name, so that a new name is one edit.
bool Reader::takeOwnName(const Statement &statement, const std::string &ownName, NOD_Record &to)
{
    const int word = statement.begin + 1;
    if (!isWord(statement.begin, "name") || statement.end != statement.begin + 2) {
        return false;
    }
    const std::string raw = rawText(word, word);
    const std::string quote = beginsWith(raw, "\"") ? "\"" : "";
    if (raw != quote + ownName + quote) {
        return false;
    }
    NOD_Record &made = to.add(Kind::WORD, theOwnName, quote);
    goTo(word, made, theBefore, " ");
    return true;
}

void Reader::readWords(const Statement &statement, const NOD_ScriptWord *word, NOD_Record &to)
{
    const int last = statement.end - 1;
    int open = statement.begin + 1;
    while (open < statement.end && !isWord(open, theOpenBrace)) {
        ++open;
    }
    const bool blockFlag = open < last && isWord(last, theCloseBrace);
    if (open < statement.end && !blockFlag) {
        addWords(to, Kind::WORD, "0", statement.begin + 1, last);
        return;
    }
    for (int i = statement.begin + 1; i < open; ++i) {
        addWords(to, Kind::WORD, std::to_string(i - statement.begin - 1), i, i);
    }
    if (blockFlag) {
        addWords(to, Kind::WORD, theOpenBrace, open, open);
        readEntries(open + 1, last, word && word->form == Form::MENU, to);
        addWords(to, Kind::WORD, theCloseBrace, last, last);
    }
}

/// Whether there are tokens and labels, each token once.
bool Reader::arePairs(int first, int end) const
{
    std::unordered_set<std::string> names;
    bool soundFlag = first < end && (end - first) % 2 == 0;
    for (int i = first; soundFlag && i < end; ++i) {
        const NOD_ScriptToken &token = myTokens[i];
        soundFlag = !token.is("[") && !token.is("]") &&
                    ((i - first) % 2 != 0 || names.insert(token.text).second);
    }
    return soundFlag;
}

/// What is in braces. A text with its language is one entry, in brackets; so is a number with its `!`.
void Reader::readEntries(int first, int end, bool menuFlag, NOD_Record &to)
{
    bool nestedFlag = false;
    for (int i = first; i < end; ++i) {
        nestedFlag = nestedFlag || isWord(i, theOpenBrace);
    }
    const bool pairsFlag = menuFlag && arePairs(first, end);
    if (first < end && (nestedFlag || (menuFlag && !pairsFlag))) {
        addWords(to, Kind::ENTRY, "0", first, end - 1);
        return;
    }
    for (int i = first, number = 0; i < end; ++number) {
        int last = pairsFlag ? i + 1 : i;
        while (!pairsFlag && isWord(i, "[") && last + 1 < end && !isWord(last, "]")) {
            ++last;
        }
        while (!pairsFlag && last + 1 < end && beginsWith(myTokens[last + 1].text, "!") &&
               !myTokens[last + 1].quotedFlag) {
            ++last;
        }
        addWords(to, pairsFlag ? Kind::MENU_ENTRY : Kind::ENTRY,
                 pairsFlag ? myTokens[i].text : std::to_string(number), i, last);
        i = last + 1;
    }
}

bool fail(const std::string &name, int line, const std::string &text, NOD_Report &report)
{
    report.add({KIT_ERROR_ABORT, name, line, {}, text, {}, 0});
    return false;
}

} // namespace

std::string NODdeclarationPrefix(std::string_view keyword)
{
    if (keyword == "parm" || keyword == "dynamic" || beginsWith(keyword, "multi")) {
        return {};
    }
    return beginsWith(keyword, "group") || keyword == "collection" ? "folder "
                                                                   : std::string(keyword) + " ";
}

NOD_Blanks::NOD_Blanks(std::string_view text)
{
    bool startFlag = false; // of a line
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool lineFlag = text.substr(i, 2) == "//" || (startFlag && text[i] == '#') ||
                              (i == 0 && text[i] == '#');
        if (lineFlag || text.substr(i, 2) == "/*") {
            const std::size_t end =
                lineFlag ? text.find('\n', i) : text.find("*/", std::min(i + 2, text.size()));
            commentFlag = true;
            openLineFlag = lineFlag && end == std::string_view::npos;
            i = end == std::string_view::npos ? text.size() - 1 : lineFlag ? end - 1 : end + 1;
            continue;
        }
        const bool feedFlag = text[i] == '\n';
        lineEnd = feedFlag && lineEnd == 0 ? i + 1 : lineEnd;
        startFlag = feedFlag || (startFlag && BASisBlank(text[i]));
        commentFlag = commentFlag || (!BASisBlank(text[i]) && text[i] != '\0');
    }
}

bool NODreadStatements(std::string_view text, const std::string &name, NOD_Record &top,
                       NOD_Report &report)
{
    constexpr auto theDoubt = NOD_ScriptTokens::Doubt::NONE; // as the reader of scripts takes them
    const NOD_ScriptTokens tokens(text, name, NOD_Interface::Includes::NONE, theDoubt);
    if (!tokens.isWhole() || tokens.size() == 0 || tokens.isEndMissing()) {
        return fail(name, 0,
                    tokens.isWhole() ? "is no dialog script as a whole"
                                     : "has more than a script may have",
                    report);
    }
    const NOD_ScriptShape shape(tokens, theDoubt);
    for (const NOD_ScriptShape::Fault &fault : shape.getFaults()) {
        if (fault.text != theNODScriptRest) {
            return fail(name, tokens[fault.token].line, fault.text, report);
        }
    }
    if (shape.getBlocks().empty() || shape.getBlocks().front().close < 0) {
        return fail(name, tokens[0].line, "begins with no brace: it is no dialog script", report);
    }
    for (const Block &block : shape.getBlocks()) {
        if (block.close < 0) { // too deep for the shape, which tells of all else
            return fail(name, tokens[block.header].line, "the blocks lie in each other too deep",
                        report);
        }
    }
    Reader(text, tokens, shape).run(top);
    if (const std::string again = NODstatementText(top); again != text) {
        const auto end = std::mismatch(text.begin(), text.end(), again.begin(), again.end()).first;
        return fail(name, 1 + int(std::count(text.begin(), end, '\n')),
                    "can't be taken apart: a macro of it has several words, or a place of its own "
                    "in the grammar",
                    report);
    }
    return true;
}
