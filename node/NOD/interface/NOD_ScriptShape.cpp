#include <NOD/interface/NOD_ScriptShapePrivate.h>

#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptTypes.h>

#include <algorithm>

namespace
{

using Form = NOD_ScriptWord::Form;

constexpr int theMostValues = 1000; // so that no keyword looks at the whole rest

bool isNested(const NOD_ScriptWord *word)
{
    return word && (word->form == Form::PARM || word->form == Form::PAGE);
}

bool isItemBlock(const std::string &keyword)
{
    return keyword == "dynamic" || keyword.compare(0, 5, "multi") == 0;
}

/// What looks like a directive, which has no indentation.
bool isHash(const NOD_ScriptToken &token)
{
    return token.firstFlag && !token.quotedFlag && token.text[0] == '#';
}

std::string quoted(const std::string &word)
{
    return "'" + word + "'";
}

} // namespace

NOD_ScriptShape::NOD_ScriptShape(const NOD_ScriptTokens &tokens, Doubt doubt)
    : myTokens(tokens), myDoubt(doubt)
{
    for (int i = 0; i < tokens.size(); ++i) {
        if (tokens[i].openFlag) {
            myOpenTexts.emplace(i, myFaults.size());
            Fault &fault = addFault(-1, i, NOD_SCRIPT_OPEN_TEXT,
                                    "the text is not closed: its second quote is missing");
            fault.expected = "\"";
        }
    }
    readDirectives();
    if (atEnd() || !at().is("{")) {
        return;
    }
    addBlock(-1, myAt, "script");
    ++myAt;
    readBlock(0);
    if (!atEnd()) {
        addFault(-1, myAt, NOD_SCRIPT_REST, theNODScriptRest);
    }
    if (tokens.isEndMissing()) { // the brace is where nothing is read
        const auto end = std::remove_if(myFaults.begin(), myFaults.end(), [this](const Fault &one) {
            return one.afterFlag && one.token + 1 == myTokens.size();
        });
        myFaults.erase(end, myFaults.end());
    }
    std::stable_sort(myFaults.begin(), myFaults.end(),
                     [](const Fault &a, const Fault &b) { return a.token < b.token; });
    for (Fault &fault : myFaults) {
        fault.block = fault.block < 0 ? findBlock(fault.token) : fault.block;
    }
}

int NOD_ScriptShape::findBlock(int token) const
{
    const auto after =
        std::upper_bound(myBlocks.begin(), myBlocks.end(), token,
                         [](int at, const Block &block) { return at < block.header; });
    int found = int(after - myBlocks.begin()) - 1;
    while (found >= 0 && token >= myBlocks[std::size_t(found)].end) {
        found = myBlocks[std::size_t(found)].parent;
    }
    return found;
}

std::string NOD_ScriptShape::nameOf(int block) const
{
    return block < 0 ? std::string() : myBlocks[std::size_t(block)].name;
}

const NOD_ScriptToken *NOD_ScriptShape::peek(int ahead) const
{
    return myAt + ahead < myTokens.size() ? &myTokens[myAt + ahead] : nullptr;
}

const NOD_ScriptToken *NOD_ScriptShape::nextLine(int token)
{
    if (token < myLineBegin || token >= myLineEnd) {
        myLineBegin = token;
        myLineEnd = token + 1;
        while (myLineEnd < myTokens.size() && !myTokens[myLineEnd].firstFlag) {
            ++myLineEnd;
        }
    }
    return myLineEnd < myTokens.size() ? &myTokens[myLineEnd] : nullptr;
}

NOD_ScriptShape::Fault &NOD_ScriptShape::addFault(int block, int token, NOD_ScriptCode code,
                                                  const std::string &text)
{
    if (myFaults.size() >= theMostFaults) {
        mySurplus = Fault();
        return mySurplus;
    }
    Fault &fault = myFaults.emplace_back();
    fault.token = fault.last = token;
    fault.block = block;
    fault.code = code;
    fault.text = text;
    return fault;
}

const NOD_ScriptWord *NOD_ScriptShape::findNearest(const std::string &word, bool inParm)
{
    const auto [found, newFlag] = myNearest[inParm ? 1 : 0].try_emplace(word, nullptr);
    constexpr std::size_t theMost = 4000; // words that are compared
    if (newFlag && myNearest[inParm ? 1 : 0].size() <= theMost) {
        const std::string *const nearest = KITnearestWord(word, NODgetScriptWords(inParm));
        found->second = nearest ? NODfindScriptWord(*nearest, inParm) : nullptr;
    }
    return found->second;
}

/// The brace that is missing in front of the present token. Of a block that lacks both of its braces one is told.
void NOD_ScriptShape::addOpen(int block, int header, const std::string &keyword)
{
    if (block >= 0 && myBlocks[std::size_t(block)].header == header &&
        myBlocks[std::size_t(block)].bareFlag) {
        return;
    }
    Fault &fault =
        addFault(block, myAt - 1, NOD_SCRIPT_OPEN_BLOCK,
                 "the block of " + quoted(keyword) + " is not closed: its \"}\" is missing");
    fault.afterFlag = true;
    fault.related = header;
    fault.relatedText = "it begins here";
    fault.expected = "}";
}

// ---------------------------------------------------------------------- //
// Blocks
// ---------------------------------------------------------------------- //

/// Lines in front of the script that look like directives, which are words for the reader.
void NOD_ScriptShape::readDirectives()
{
    while (!atEnd() && isHash(at())) {
        Fault &fault =
            addFault(-1, myAt, NOD_SCRIPT_NO_DIRECTIVE, quoted(at().text) + " is no directive");
        for (++myAt; !atEnd() && !at().firstFlag; ++myAt) {
        }
        fault.last = myAt - 1;
    }
}

int NOD_ScriptShape::addBlock(int parent, int header, const std::string &keyword)
{
    Block block;
    block.parent = parent;
    block.header = header;
    block.keyword = keyword;
    block.parmFlag = keyword == "parm";
    block.depth = parent < 0 ? 0 : myBlocks[std::size_t(parent)].depth + isItemBlock(keyword);
    myBlocks.push_back(std::move(block));
    return int(myBlocks.size()) - 1;
}

void NOD_ScriptShape::readBlock(int block)
{
    while (!atEnd()) {
        if (at().is("}")) {
            if (readClose(block)) {
                return;
            }
        } else if (endsHere(block)) {
            break;
        } else if (at().is("{")) {
            Fault &fault = addFault(block, myAt, NOD_SCRIPT_OPENING_BRACE,
                                    "an opening brace without a keyword");
            fault.fixText = "remove the brace";
            ++myAt;
        } else {
            readStatement(block);
        }
    }
    Block &own = myBlocks[std::size_t(block)];
    own.end = myAt;
    // At the end of the text the innermost block tells it for those around it.
    const bool toldFlag = atEnd() && !myFaults.empty() &&
                          myFaults.back().token == myTokens.size() - 1 && myFaults.back().afterFlag;
    if (toldFlag || myAt == 0) {
        return;
    }
    addOpen(block, own.header, own.keyword);
}

/// Reads a brace. False if it doesn't close the block: it is too many, or closes one around it.
bool NOD_ScriptShape::readClose(int block)
{
    Fault *const last = myFaults.empty() ? nullptr : &myFaults.back();
    if (last && last->last == myAt - 1 && last->code == NOD_SCRIPT_CLOSING_BRACE &&
        myTokens[last->token].line == at().line && isSurplusClose(block)) {
        last->last = myAt++; // the same mistake
        return false;
    }
    if (isSurplusClose(block)) {
        Fault &fault = addFault(block, myAt, NOD_SCRIPT_CLOSING_BRACE, "a closing brace too many");
        fault.fixText = "remove the brace";
        ++myAt;
        return false;
    }
    Block &own = myBlocks[std::size_t(block)];
    if (own.bareFlag && countCloses() <= myBraced) {
        own.end = myAt; // it lacks both braces
        return true;
    }
    if (endsHere(block)) {
        own.end = myAt;
        addOpen(block, own.header, own.keyword);
        return true;
    }
    own.close = myAt++;
    own.end = myAt;
    return true;
}

/// How many more blocks are closed than opened from the present token to the end.
int NOD_ScriptShape::countCloses()
{
    if (myCloses.empty()) {
        myCloses.resize(std::size_t(myTokens.size()) + 1);
        for (int i = myTokens.size() - 1; i >= 0; --i) {
            const int change = myTokens[i].is("}") ? 1 : myTokens[i].is("{") ? -1 : 0;
            myCloses[std::size_t(i)] = myCloses[std::size_t(i) + 1] + change;
        }
    }
    return myCloses[std::size_t(myAt)];
}

/// Whether the first statement that begins a line of its own is further in than the block's first line.
bool NOD_ScriptShape::isIndented(int block)
{
    Block &own = myBlocks[std::size_t(block)];
    const NOD_ScriptToken &header = myTokens[own.header];
    for (; own.looked < own.statements.size(); ++own.looked) {
        const NOD_ScriptToken &first = myTokens[own.statements[own.looked].begin];
        own.indentedFlag = true; // all so far on the first line
        if (first.firstFlag && first.line != header.line) {
            own.indentedFlag = first.indent > header.indent;
            break;
        }
    }
    return own.indentedFlag;
}

/// Whether the token begins a line that is further out than the one of a keyword, or as far.
bool NOD_ScriptShape::isFurtherOut(int header, bool inclusive) const
{
    const NOD_ScriptToken &from = myTokens[header];
    return myDoubt == Doubt::GUESS && at().firstFlag && at().file == from.file &&
           at().line > from.line && !isHash(at()) &&
           (at().indent < from.indent || (inclusive && at().indent == from.indent));
}

/// Whether the token belongs to a block around this one.
bool NOD_ScriptShape::endsHere(int block)
{
    const Block &own = myBlocks[std::size_t(block)];
    if (own.parent < 0) {
        return false;
    }
    if (myTokens.isLeft(own.header, myAt)) {
        return true;
    }
    if (at().is("}")) {
        return isFurtherOut(own.header, false) && isIndented(block);
    }
    if (own.parmFlag && !at().quotedFlag && !NODfindScriptWord(at().text, true) &&
        isNested(NODfindScriptWord(at().text, false))) {
        return true;
    }
    return isFurtherOut(own.header, true) && isIndented(block);
}

/// Whether what follows a closing brace is further in than the block that it would close.
bool NOD_ScriptShape::isSurplusClose(int block)
{
    if (myDoubt == Doubt::NONE) {
        return false;
    }
    const Block &own = myBlocks[std::size_t(block)];
    const NOD_ScriptToken &header = myTokens[own.header];
    const NOD_ScriptToken *const follows = peek(1);
    if (own.parmFlag && follows && isParmsOnly(*follows)) {
        return true;
    }
    const NOD_ScriptToken *const next = nextLine(myAt);
    if (!next || next->file != at().file || at().file != header.file || !isIndented(block)) {
        return false;
    }
    const bool placedFlag = at().firstFlag && at().indent <= header.indent;
    const bool wordFlag = !next->is("}") || own.parent < 0;
    if (at().line == header.line && own.parent >= 0) {
        return false;
    }
    if (next->is("}") && own.parent >= 0 && header.firstFlag && !at().firstFlag) {
        // Its own brace follows, unless that is the one of a block which isn't further out.
        const int outer = myTokens[myBlocks[std::size_t(own.parent)].header].indent;
        return next->indent == header.indent && outer < header.indent;
    }
    return next->indent > header.indent && wordFlag && (!placedFlag || own.parent < 0);
}

/// Whether a token is a keyword that no page has.
bool NOD_ScriptShape::isParmsOnly(const NOD_ScriptToken &token) const
{
    return !token.quotedFlag && NODfindScriptWord(token.text, true) &&
           !NODfindScriptWord(token.text, false);
}

// ---------------------------------------------------------------------- //
// Statements
// ---------------------------------------------------------------------- //

void NOD_ScriptShape::readStatement(int block)
{
    const bool inParm = myBlocks[std::size_t(block)].parmFlag;
    Statement statement = {myAt, myAt + 1};
    const NOD_ScriptWord *const word = NODfindScriptWord(at().text, inParm);
    if (!word) {
        readUnknown(block, statement);
    } else if (isNested(word)) {
        ++myAt;
        readNested(block, statement, word->word);
    } else {
        statement.soundFlag = readWord(block, *word);
    }
    readJunk(block);
    statement.end = myAt;
    checkOpenTexts(statement);
    Block &own = myBlocks[std::size_t(block)];
    own.statements.push_back(statement);
    if (own.name.empty() && myTokens[statement.begin].is("name") && myAt == statement.begin + 2) {
        own.name = myTokens[statement.begin + 1].text;
    }
}

/// A text that isn't closed is told alone: what is read of it isn't what was meant.
void NOD_ScriptShape::checkOpenTexts(Statement &statement)
{
    if (statement.block >= 0 || myOpenTexts.empty()) {
        return;
    }
    for (int i = statement.begin; i < statement.end; ++i) {
        const auto found = myOpenTexts.find(i);
        if (found == myOpenTexts.end()) {
            continue;
        }
        statement.soundFlag = false;
        Fault &fault = found->second < myFaults.size() ? myFaults[found->second] : mySurplus;
        if (myTokens[i].text.empty() && i > statement.begin + 1) {
            fault.token = statement.begin + 1;
            fault.last = i;
            fault.code = NOD_SCRIPT_STRAY_QUOTE;
            fault.text = "a quote too many, or the first one of the text is missing";
        }
    }
}

/// What can't be read and stands after a statement in its line belongs to it: one message for both.
void NOD_ScriptShape::readJunk(int block)
{
    const bool inParm = myBlocks[std::size_t(block)].parmFlag;
    while (!atEnd() && !at().firstFlag && !at().is("}") && !at().is("{") &&
           (at().quotedFlag || (!NODfindScriptWord(at().text, inParm) &&
                                !findNearest(at().text, inParm) && !endsHere(block)))) {
        const NOD_ScriptToken *const next = peek(1);
        if (next && next->is("{") && !at().quotedFlag) {
            break; // a keyword with a block
        }
        ++myAt;
    }
}

void NOD_ScriptShape::readUnknown(int block, Statement &statement)
{
    const bool inParm = myBlocks[std::size_t(block)].parmFlag;
    const NOD_ScriptWord *const near = findNearest(at().text, inParm);
    const NOD_ScriptToken *const next = peek(1);
    const bool braceFlag = next && next->is("{");
    ++myAt;
    if (braceFlag && isNested(near)) {
        const std::string &text = myTokens[statement.begin].text;
        Fault &fault = addFault(block, statement.begin, NOD_SCRIPT_NO_PAGE_WORD,
                                "script unknown identifier " + text);
        fault.hint = "did you mean " + quoted(near->word) + "?";
        fault.expected = fault.fix = near->word;
        fault.fixText = "replace it by " + fault.fix;
        statement.soundFlag = false;
        readNested(block, statement, near->word);
    } else if (braceFlag) {
        ++myAt;
        readValues(block, statement.begin, Form::LINES);
    } else if (near && near->form == Form::WORD && next && !next->firstFlag && !next->is("}")) {
        ++myAt;
    } else if (near && near->form == Form::SKIPPED) {
        readUnknownValues(block, *near, statement.begin);
    }
}

/// What a misspelt keyword has on its line.
void NOD_ScriptShape::readUnknownValues(int block, const NOD_ScriptWord &near, int header)
{
    for (int i = 0; i < near.count && !atEnd() && !at().firstFlag && !at().is("}") && !at().is("{");
         ++i) {
        ++myAt;
    }
    if (near.blockFlag && !atEnd() && at().is("{")) {
        ++myAt;
        readValues(block, header, Form::LINES);
    }
}

/// Reads what belongs to a keyword, which is the present token. False if it has a fault.
bool NOD_ScriptShape::readWord(int block, const NOD_ScriptWord &word)
{
    const int header = myAt++;
    switch (word.form) {
    case Form::ALONE:
    case Form::PARM:
    case Form::PAGE: return true;
    case Form::NUMBER: myAt += !atEnd() && KIT_String(at().text.c_str()).isFloat(); return true;
    case Form::SKIPPED: return readSkipped(block, word, header);
    case Form::WORD:
    case Form::CONDITION:
    case Form::TEXT:
        if (isMissingValue(block, header)) {
            Fault &fault =
                addFault(block, header, NOD_SCRIPT_NO_VALUE, quoted(word.word) + " has no value");
            fault.expected = "a text";
            return false;
        }
        if (word.form != Form::WORD && at().is("{")) {
            ++myAt;
            return readValues(block, header, Form::LINES);
        }
        skipBracedText();
        ++myAt;
        return true;
    case Form::BLOCK:
    case Form::PAIRS:
    case Form::MENU:
    case Form::LINES: break;
    }
    while (word.form == Form::MENU && !atEnd() && at().is("usetokenvalue")) {
        ++myAt;
    }
    return openBlock(block, header) ? readValues(block, header, word.form) : false;
}

/// Passes over what stands in braces where one text is wanted, as the reader will tell; up to the closing one.
void NOD_ScriptShape::skipBracedText()
{
    const int last = std::min(myTokens.size(), myAt + theMostValues);
    for (int i = myAt + 1; at().is("{") && i < last && !myTokens[i].is("{"); ++i) {
        if (myTokens[i].is("}")) {
            myAt = i;
            return;
        }
        if (myTokens[i].firstFlag && !myTokens[i].quotedFlag &&
            NODfindScriptWord(myTokens[i].text, true)) {
            return;
        }
    }
}

/// Whether what follows a keyword is no value of it but the next statement, or the end.
bool NOD_ScriptShape::isMissingValue(int block, int header) const
{
    const bool inParm = myBlocks[std::size_t(block)].parmFlag;
    if (atEnd() || at().is("}") || myDoubt == Doubt::NONE) {
        return atEnd() || at().is("}");
    }
    const NOD_ScriptWord *const word =
        at().quotedFlag ? nullptr : NODfindScriptWord(at().text, inParm);
    if (!word) {
        const bool pageFlag = inParm && !at().quotedFlag && at().firstFlag;
        return pageFlag && isNested(NODfindScriptWord(at().text, false));
    }
    const NOD_ScriptToken *const next = peek(1);
    if (at().line > myTokens[header].line && at().firstFlag) {
        return true;
    }
    if (!next || next->line != at().line) {
        return false;
    }
    const bool blockFlag = word->form != Form::ALONE && word->form != Form::WORD && next->is("{");
    const bool typeFlag = at().is("type") && ZELlookupScriptType(next->text.c_str()) >= 0;
    return blockFlag || typeFlag;
}

bool NOD_ScriptShape::readSkipped(int block, const NOD_ScriptWord &word, int header)
{
    for (int i = 0; i < word.count && !atEnd() && !at().is("}"); ++i) {
        ++myAt;
    }
    return !word.blockFlag || (openBlock(block, header) && readValues(block, header, Form::LINES));
}

/// Reads the brace after a keyword. False, with a fault, if it is missing; then what it would have had in it
/// is passed over.
bool NOD_ScriptShape::openBlock(int block, int header)
{
    if (!atEnd() && at().is("{")) {
        ++myAt;
        return true;
    }
    Fault &fault = addFault(block, header, NOD_SCRIPT_NO_BLOCK,
                            quoted(myTokens[header].text) + " needs a block in braces");
    fault.last = std::max(header, myAt - 1);
    fault.expected = "{";
    // The values stand in this line, or in those up to a brace that nothing else has opened.
    const bool inParm = block < 0 || myBlocks[std::size_t(block)].parmFlag;
    const int line = myTokens[header].line;
    const int end = std::min(myTokens.size(), myAt + theMostValues);
    int after = myAt;
    for (; after < end && !myTokens[after].is("}") && !myTokens[after].is("{"); ++after) {
        const NOD_ScriptToken &one = myTokens[after];
        if (one.firstFlag && !one.quotedFlag && NODfindScriptWord(one.text, inParm)) {
            break;
        }
    }
    const bool closeFlag =
        after < end && myTokens[after].is("}") &&
        (myTokens[after].line == line ||
         (myTokens[after].firstFlag && myTokens[after].indent == myTokens[header].indent));
    if (closeFlag) {
        myAt = after + 1;
        return false;
    }
    while (!atEnd() && at().line == line && !at().firstFlag && !at().is("}") && !at().is("{") &&
           !(NODfindScriptWord(at().text, inParm) && !at().quotedFlag)) {
        ++myAt;
    }
    return false;
}

void NOD_ScriptShape::readNested(int block, Statement &statement, const std::string &keyword)
{
    const int header = statement.begin;
    const bool openFlag = openNested(block, header, keyword);
    statement.soundFlag = statement.soundFlag && openFlag;
    statement.block = addBlock(block, header, keyword);
    const bool bareFlag = !myTokens[myAt - 1].is("{");
    myBlocks[std::size_t(statement.block)].bareFlag = bareFlag;
    if (bareFlag && isNothingNested(header)) {
        myBlocks[std::size_t(statement.block)].end = myAt;
        return;
    }
    myBraced += bareFlag ? 0 : 1;
    if (++myDepth > theMostBlocks) {
        readValues(block, header, Form::LINES);
        myBlocks[std::size_t(statement.block)].end = myAt;
    } else {
        readBlock(statement.block);
    }
    --myDepth;
    myBraced -= bareFlag ? 0 : 1;
}

/// Reads the brace after the keyword of a block. False, with a fault, if it is missing.
bool NOD_ScriptShape::openNested(int block, int header, const std::string &keyword)
{
    if (!atEnd() && at().is("{")) {
        ++myAt;
        return true;
    }
    Fault &fault =
        addFault(block, header, NOD_SCRIPT_NO_BLOCK, quoted(keyword) + " needs a block in braces");
    fault.expected = "{";
    // A word in front of the brace, which was meant as a name.
    const NOD_ScriptToken *const next = peek(1);
    if (!atEnd() && next && next->is("{") && !at().firstFlag && !next->firstFlag &&
        !NODfindScriptWord(at().text, keyword == "parm")) {
        fault.last = myAt;
        myAt += 2;
    }
    return false;
}

/// Whether after a keyword without a brace stands what can't be of its block: the end of the block around it, or a
/// block that isn't further in.
bool NOD_ScriptShape::isNothingNested(int header) const
{
    if (atEnd()) {
        return true;
    }
    return at().firstFlag && at().indent <= myTokens[header].indent &&
           (at().is("}") || (!at().quotedFlag && isNested(NODfindScriptWord(at().text, false))));
}

// ---------------------------------------------------------------------- //
// Values
// ---------------------------------------------------------------------- //

/// Reads up to the brace that closes the values of a keyword. False if there is a fault.
bool NOD_ScriptShape::readValues(int block, int header, NOD_ScriptWord::Form form)
{
    const bool inParm = block >= 0 && myBlocks[std::size_t(block)].parmFlag;
    const bool flatFlag = form != Form::LINES;
    std::vector<int> values;
    int depth = 1;
    bool soundFlag = true;
    for (; !atEnd(); ++myAt) {
        const bool wordFlag = !at().quotedFlag && (NODfindScriptWord(at().text, inParm) ||
                                                   NODfindScriptWord(at().text, !inParm));
        if (at().is("}")) {
            if (isFurtherOut(header, false)) {
                break;
            }
            if (--depth == 0) {
                ++myAt;
                return checkValues(block, header, form, values) && soundFlag;
            }
        } else if (myTokens.isLeft(header, myAt) || (wordFlag && isFurtherOut(header, true))) {
            break;
        } else if (at().is("{") && flatFlag) {
            const bool beginsFlag = !values.empty() && !myTokens[values.back()].quotedFlag &&
                                    NODfindScriptWord(myTokens[values.back()].text, inParm);
            if (beginsFlag) {
                --myAt; // the keyword of that block
                break;
            }
            Fault &fault =
                addFault(block, myAt, NOD_SCRIPT_SURPLUS_OPENING, "an opening brace too many");
            fault.fixText = "remove the brace";
            soundFlag = false;
        } else if (at().is("{")) {
            ++depth;
        } else {
            values.push_back(myAt);
        }
    }
    addOpen(block, header, myTokens[header].text);
    return false;
}

/// Pairs that lack their second half.
bool NOD_ScriptShape::checkValues(int block, int header, NOD_ScriptWord::Form form,
                                  const std::vector<int> &values)
{
    const bool pairsFlag = form == Form::PAIRS || (form == Form::MENU && !values.empty() &&
                                                   !myTokens[values.front()].is("["));
    if (!pairsFlag || values.size() % 2 == 0) {
        return true;
    }
    // The first line with an odd number of them.
    std::size_t odd = values.size() - 1;
    for (std::size_t i = 0, first = 0; i < values.size(); ++i) {
        const bool lastFlag =
            i + 1 == values.size() || myTokens[values[i + 1]].line != myTokens[values[i]].line;
        if (lastFlag && (i + 1 - first) % 2 != 0) {
            odd = i;
            break;
        }
        first = lastFlag ? i + 1 : first;
    }
    const int token = values[odd];
    const char *const what = form == Form::MENU ? "the menu entry " : "the tag ";
    Fault &fault = addFault(
        block, token, form == Form::MENU ? NOD_SCRIPT_NO_ENTRY_LABEL : NOD_SCRIPT_NO_TAG_VALUE,
        what + quoted(myTokens[token].text) +
            (form == Form::MENU ? " has no label" : " has no value"));
    fault.related = header;
    fault.relatedText = quoted(myTokens[header].text) + " begins here";
    fault.expected = "a text";
    return false;
}
