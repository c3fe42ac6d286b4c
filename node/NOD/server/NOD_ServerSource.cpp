#include <NOD/server/NOD_ServerSourcePrivate.h>

#include <algorithm>
#include <utility>

namespace
{

using Word = NOD_ScriptWord;

bool isNumber(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("+-.0123456789eE") == std::string_view::npos;
}

bool opensPage(const Word &word)
{
    return word.form == Word::PARM || word.form == Word::PAGE;
}

} // namespace

NOD_ServerSource::NOD_ServerSource(std::string_view text) : myText(text)
{
    const TOK_SourceTokens tokens(myText);
    myTokens.reserve(tokens.getTokens().size());
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        const auto begin = std::size_t(token.text.data() - myText.data());
        myTokens.push_back(
            {begin, begin + token.text.size(), token.kind, token.lines > 0 || myTokens.empty()});
    }
    myBlocks.emplace_back();
    read();
}

NOD_ServerSource::NOD_ServerSource(const NOD_ServerSource &whole, std::size_t end)
    : myText(whole.myText.substr(0, end))
{
    const auto after = std::find_if(whole.myTokens.begin(), whole.myTokens.end(),
                                    [end](const Token &token) { return token.begin >= end; });
    myTokens.assign(whole.myTokens.begin(), after);
    for (Token &token : myTokens) {
        token.statement = -1;
    }
    myCutFlag = !myTokens.empty() && myTokens.back().end > end;
    if (myCutFlag) {
        myTokens.back().end = end;
    }
    myBlocks.emplace_back();
    read();
}

std::string_view NOD_ServerSource::raw(int number) const
{
    const Token &at = token(number);
    return myText.substr(at.begin, at.end - at.begin);
}

std::string_view NOD_ServerSource::text(int number) const
{
    std::string_view text = raw(number);
    if (token(number).kind == TOK_SourceTokens::QUOTED) {
        text.remove_prefix(1);
        text.remove_suffix(!text.empty() && text.back() == '"' ? 1 : 0);
    }
    return text;
}

std::size_t NOD_ServerSource::textBegin(int number) const
{
    const Token &at = token(number);
    return at.begin + (at.kind == TOK_SourceTokens::QUOTED ? 1 : 0);
}

bool NOD_ServerSource::isCode(int number) const
{
    const TOK_SourceTokens::Kind kind = token(number).kind;
    return kind == TOK_SourceTokens::WORD || kind == TOK_SourceTokens::QUOTED;
}

int NOD_ServerSource::findToken(std::size_t offset) const
{
    const auto after =
        std::upper_bound(myTokens.begin(), myTokens.end(), offset,
                         [](std::size_t at, const Token &token) { return at < token.begin; });
    const int found = int(after - myTokens.begin()) - 1;
    if (found < 0 || token(found).end < offset) {
        return -1;
    }
    return found;
}

int NOD_ServerSource::firstValue(int number) const
{
    const Statement &at = statement(number);
    for (int i = at.keyword + 1; i < at.end; ++i) {
        if (isCode(i)) {
            return i;
        }
    }
    return -1;
}

int NOD_ServerSource::findStatement(int number, std::string_view keyword) const
{
    const std::vector<int> &all = block(number).statements;
    const auto found = std::find_if(all.begin(), all.end(), [&](int one) {
        return statement(one).word && word(statement(one)) == keyword;
    });
    return found == all.end() ? -1 : *found;
}

int NOD_ServerSource::findName(int number) const
{
    const int name = findStatement(number, "name");
    return name < 0 ? -1 : firstValue(name);
}

std::size_t NOD_ServerSource::blockBegin(int number) const
{
    const Block &at = block(number);
    return at.statement >= 0 ? token(statement(at.statement).keyword).begin
           : at.open >= 0    ? token(at.open).begin
                             : 0;
}

std::size_t NOD_ServerSource::blockEnd(int number) const
{
    const Block &at = block(number);
    if (at.close >= 0) {
        return token(at.close).end;
    }
    const int end = at.statement >= 0 ? statement(at.statement).end : int(myTokens.size());
    return end > 0 ? token(end - 1).end : 0;
}

// ---------------------------------------------------------------------- //
// The walk
// ---------------------------------------------------------------------- //

void NOD_ServerSource::read()
{
    const int first = nextCode(-1);
    if (isAt(first, "{")) {
        myBlocks[0].open = first;
    }
    for (int i = 0; i < int(myTokens.size()); ++i) {
        if (isCode(i) && i != myBlocks[0].open) {
            take(i);
        }
    }
    // What is open reaches to the end.
    for (int block = myExpected.block; block > 0; block = this->block(block).parent) {
        myStatements[std::size_t(this->block(block).statement)].end = int(myTokens.size());
    }
    if (myExpected.statement >= 0) {
        myStatements[std::size_t(myExpected.statement)].end = int(myTokens.size());
    }
}

int NOD_ServerSource::nextCode(int token) const
{
    do {
        ++token;
    } while (token < int(myTokens.size()) && !isCode(token));
    return token;
}

/// Whether a word begins a line as a keyword of the block.
bool NOD_ServerSource::startsKeyword(int number) const
{
    const Token &at = token(number);
    return at.firstFlag && at.kind == TOK_SourceTokens::WORD &&
           NODfindScriptWord(raw(number), inParm());
}

/// Whether a word begins a line as a parameter or folder.
bool NOD_ServerSource::startsBlock(int number) const
{
    const Token &at = token(number);
    const Word *const word = at.firstFlag && at.kind == TOK_SourceTokens::WORD
                                 ? NODfindScriptWord(raw(number), false)
                                 : nullptr;
    return word && opensPage(*word) && isAt(nextCode(number), "{");
}

void NOD_ServerSource::take(int token)
{
    const int statement = myExpected.statement;
    if (myState != State::KEYWORD && takeValue(token)) {
        myTokens[std::size_t(token)].statement = statement;
    } else {
        takeKeyword(token);
    }
}

/// False for what begins something new.
bool NOD_ServerSource::takeValue(int token)
{
    Statement &own = myStatements[std::size_t(myExpected.statement)];
    const bool openFlag = isAt(token, "{");
    const bool codeFlag = own.word && own.word->form == Word::SKIPPED;
    if (myState == State::NESTED) {
        if (!codeFlag && startsBlock(token)) {
            finish();
            return false;
        }
        if (openFlag || (!codeFlag && isAt(token, "["))) {
            myExpected.nested.push_back(token);
        } else if (isAt(token, "}") || (!codeFlag && isAt(token, "]"))) {
            myExpected.nested.pop_back();
        }
        if (myExpected.nested.empty()) {
            own.end = token + 1;
            finish();
        }
        return true;
    }
    const bool newLineFlag = myTokens[std::size_t(token)].firstFlag;
    if (isAt(token, "}") || (!codeFlag && startsKeyword(token)) ||
        (myState == State::UNKNOWN && newLineFlag && !openFlag) ||
        (myState == State::NUMBER && !isNumber(text(token)))) {
        finish();
        return false;
    }
    own.end = token + 1;
    if (openFlag) {
        const bool pageFlag = own.word ? opensPage(*own.word) : !inParm() && startsKeywordIn(token);
        if (pageFlag && myDepth < theMostBlocks) {
            open(token, own.word && own.word->form == Word::PARM);
        } else {
            myState = State::NESTED;
            myExpected.bracesFlag = true;
            myExpected.nested.push_back(token);
        }
        return true;
    }
    const bool doneFlag = myState == State::EITHER || myState == State::NUMBER ||
                          (myState == State::VALUES && --myCount == 0);
    if (doneFlag && codeFlag && own.word->blockFlag) {
        myState = State::BRACES;
    } else if (doneFlag) {
        finish();
    }
    return true;
}

void NOD_ServerSource::takeKeyword(int token)
{
    if (isAt(token, "}")) {
        close(token);
        return;
    }
    const Word *word = NODfindScriptWord(text(token), inParm());
    if (!word && inParm() && startsBlock(token)) {
        closeParm();
        word = NODfindScriptWord(text(token), false);
    }
    begin(token, word);
}

void NOD_ServerSource::begin(int token, const Word *word)
{
    const int number = int(myStatements.size());
    myStatements.push_back({myExpected.block, token, token + 1, word});
    myBlocks[std::size_t(myExpected.block)].statements.push_back(number);
    myTokens[std::size_t(token)].statement = number;
    myExpected.statement = number;
    if (!word) {
        myState = State::UNKNOWN;
        if (isAt(token, "{")) {
            myState = State::NESTED;
            myExpected.bracesFlag = true;
            myExpected.nested.push_back(token);
        }
        return;
    }
    myCount = word->form == Word::SKIPPED ? word->count : 1;
    switch (word->form) {
    case Word::ALONE: finish(); break;
    case Word::NUMBER: myState = State::NUMBER; break;
    case Word::WORD: myState = State::VALUES; break;
    case Word::CONDITION:
    case Word::TEXT: myState = State::EITHER; break;
    case Word::SKIPPED:
        myState = word->count > 0 ? State::VALUES : State::BRACES;
        if (word->count == 0 && !word->blockFlag) {
            finish();
        }
        break;
    default: myState = State::BRACES; break;
    }
}

/// Whether a keyword of pages is the first word after a brace: then an unknown word opens a page.
bool NOD_ServerSource::startsKeywordIn(int token) const
{
    const int first = nextCode(token);
    return first < int(myTokens.size()) && NODfindScriptWord(text(first), false);
}

void NOD_ServerSource::finish()
{
    myState = State::KEYWORD;
    myExpected.statement = -1;
    myExpected.bracesFlag = false;
    myExpected.nested.clear();
}

void NOD_ServerSource::open(int token, bool parmFlag)
{
    const int number = int(myBlocks.size());
    const int statement = myExpected.statement;
    myBlocks.push_back({myExpected.block, statement, token, -1, parmFlag, {}});
    myStatements[std::size_t(statement)].opens = number;
    finish();
    myExpected.block = number;
    ++myDepth;
}

void NOD_ServerSource::close(int token)
{
    Block &own = myBlocks[std::size_t(myExpected.block)];
    if (own.statement < 0) {
        own.close = own.open >= 0 && own.close < 0 ? token : own.close;
        return;
    }
    own.close = token;
    Statement &opener = myStatements[std::size_t(own.statement)];
    opener.end = token + 1;
    myTokens[std::size_t(token)].statement = own.statement;
    myExpected.block = own.parent;
    --myDepth;
}

/// A parameter whose brace is missing.
void NOD_ServerSource::closeParm()
{
    Block &own = myBlocks[std::size_t(myExpected.block)];
    Statement &opener = myStatements[std::size_t(own.statement)];
    const int last = own.statements.empty() ? own.open : own.statements.back();
    opener.end = own.statements.empty() ? own.open + 1 : myStatements[std::size_t(last)].end;
    myExpected.block = own.parent;
    --myDepth;
}
