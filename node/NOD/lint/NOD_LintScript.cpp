#include <NOD/lint/NOD_LintScriptPrivate.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

using Shape = ZEL_ScriptShape;
using Keyword = ZEL_ScriptKeywordShape;

/// Null for an unknown one.
const Keyword *findKeyword(std::string_view word, bool parmFlag)
{
    const auto first = parmFlag ? std::begin(theZELParmShapes) : std::begin(theZELPageShapes);
    const auto last = parmFlag ? std::end(theZELParmShapes) : std::end(theZELPageShapes);
    const auto found =
        std::find_if(first, last, [word](const Keyword &row) { return row.word == word; });
    return found == last ? nullptr : found;
}

} // namespace

const NOD_LintScript::Entry *NOD_LintScript::Block::find(std::string_view word) const
{
    const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                    [word](const Entry &entry) { return entry.word == word; });
    return found == entries.rend() ? nullptr : &*found;
}

/// Follows the grammar over the tokens of a script that could be read: faults need no message here.
class NOD_LintWalk
{
public:
    explicit NOD_LintWalk(NOD_LintScript &script) : myScript(script), myTokens(script.myTokens) {}

    void run()
    {
        if (is(0, "{")) {
            constexpr int theNone = -1;
            myAt = 0;
            readBlock(NOD_LintScript::Kind::DIALOG, theNone, 0);
            myScript.myEnd = myScript.myBlocks.front().close;
        }
    }

private:
    using Kind = NOD_LintScript::Kind;

    bool atEnd() const { return myAt >= myTokens.size(); }
    bool is(int token, std::string_view word) const
    {
        return token < myTokens.size() && myTokens.text(token) == word;
    }

    void readBlock(Kind kind, int keyword, int depth);
    void readEntry(int block, bool parmFlag);
    void skipValues(const Keyword &keyword, int block);
    void skipTextBlock();
    void skipWords(int group);
    void skipDefaults();
    void skipMenu();
    void skipCondition();

    NOD_LintScript &myScript;
    const NOD_LintTokens &myTokens;
    int myAt = 0;
};

void NOD_LintWalk::readBlock(Kind kind, int keyword, int depth)
{
    std::vector<NOD_LintScript::Block> &blocks = myScript.myBlocks;
    const int block = int(blocks.size());
    blocks.emplace_back();
    blocks.back().kind = kind;
    blocks.back().keyword = keyword;
    blocks.back().open = myAt++;
    blocks.back().depth = depth;
    while (!atEnd() && !is(myAt, "}")) {
        readEntry(block, kind == Kind::PARM);
    }
    blocks[std::size_t(block)].close = atEnd() ? -1 : myAt++;
}

void NOD_LintWalk::readEntry(int block, bool parmFlag)
{
    const int keyword = myAt++;
    const Keyword *const row = findKeyword(myTokens.text(keyword), parmFlag);
    if (!row) {
        myAt = myTokens.size(); // the script can't be read
        return;
    }
    const int first = myAt;
    skipValues(*row, block);
    myAt = std::min(myAt, myTokens.size());
    NOD_LintScript::Block &own = myScript.myBlocks[std::size_t(block)];
    own.entries.push_back({keyword, first, myAt, row->word, row->shape});
    if (row->word == "name") {
        own.name = myAt == first + 1 ? first : -1;
    }
}

void NOD_LintWalk::skipValues(const Keyword &keyword, int block)
{
    const int depth = myScript.myBlocks[std::size_t(block)].depth;
    const int word = myAt - 1;
    switch (keyword.shape) {
    case Shape::UNKNOWN:
    case Shape::WORDS: myAt += keyword.count; break;
    case Shape::TEXTS:
    case Shape::RAW:
        myAt += keyword.count;
        skipTextBlock();
        break;
    case Shape::NUMBER:
        if (!atEnd()) {
            const KIT_String next(std::string(myTokens.text(myAt)));
            myAt += next.isFloat() || next.isInteger();
        }
        break;
    case Shape::VALUE: myAt += is(myAt, "{") ? 3 : 1; break;
    case Shape::TAGS: skipWords(2); break;
    case Shape::RANGE: skipWords(1); break;
    case Shape::DEFAULTS: skipDefaults(); break;
    case Shape::MENU: skipMenu(); break;
    case Shape::CONDITION: skipCondition(); break;
    case Shape::GROUP: readBlock(Kind::FOLDER, word, depth); break;
    case Shape::ITEMS: readBlock(Kind::ITEMS, word, depth + 1); break;
    case Shape::IMPORT: readBlock(Kind::IMPORT, word, depth); break;
    case Shape::PARM: readBlock(Kind::PARM, word, depth); break;
    }
}

/// As DS_Stream::parseBlock: braces within words count, those between quotes don't.
void NOD_LintWalk::skipTextBlock()
{
    ++myAt;
    for (int depth = 1; depth > 0 && !atEnd(); ++myAt) {
        bool quotedFlag = false;
        const std::string_view text = myTokens.text(myAt);
        for (std::size_t i = 0; i < text.size() && depth > 0; ++i) {
            if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '"') {
                ++i;
            } else if (text[i] == '"') {
                quotedFlag = !quotedFlag;
            } else if (!quotedFlag) {
                depth += (text[i] == '{') - (text[i] == '}');
            }
        }
    }
}

/// A block of groups of that many words.
void NOD_LintWalk::skipWords(int group)
{
    for (++myAt; !atEnd() && !is(myAt, "}"); myAt += group) {
    }
    ++myAt;
}

void NOD_LintWalk::skipDefaults()
{
    constexpr int theBracketed = 4;
    for (++myAt; !atEnd() && !is(myAt, "}");) {
        myAt += is(myAt, "[") ? theBracketed : 1;
    }
    ++myAt;
}

void NOD_LintWalk::skipMenu()
{
    while (is(myAt, "usetokenvalue")) {
        ++myAt;
    }
    if (!is(myAt + 1, "[")) {
        skipWords(2);
        return;
    }
    for (++myAt; !atEnd() && !is(myAt, "}"); ++myAt) {
        while (is(myAt, "[") && !atEnd()) {
            while (!atEnd() && !is(myAt, "]")) {
                ++myAt;
            }
            ++myAt;
        }
        if (is(myAt, "}")) {
            break;
        }
    }
    ++myAt;
}

void NOD_LintWalk::skipCondition()
{
    if (!is(myAt++, "{")) {
        return;
    }
    ZEL_ConditionalOperator op;
    while (is(myAt++, "{")) {
        while (!atEnd() && !is(myAt, "}")) {
            ++myAt;
            const std::string next(atEnd() ? "" : std::string(myTokens.text(myAt)));
            if (ZEL_Conditional::getOperatorFromString(next.c_str(), op)) {
                ++myAt;
                if (is(myAt, "}")) {
                    break;
                }
            }
            ++myAt;
        }
        ++myAt;
    }
}

// ---------------------------------------------------------------------- //
// What the library made of it
// ---------------------------------------------------------------------- //

NOD_LintScript::NOD_LintScript(const NOD_Interface &script)
    : myInterface(script), myTokens(script.getText(), script.getFile(), script.getIncludes())
{
    NOD_LintWalk(*this).run();
    if (script.getPage()) {
        collect(*script.getPage());
    }
    for (std::size_t i = 0; i < myBlocks.size(); ++i) {
        const auto found = myRecords.find(std::size_t(myBlocks[i].keyword));
        if (myBlocks[i].keyword >= 0 && found != myRecords.end()) {
            myBlocks[i].record = found->second;
            myBlockOfName[&found->second->getName()] = int(i);
        }
    }
    match(script.getTemplates());
}

void NOD_LintScript::collect(const ZEL_ScriptPage &page)
{
    for (int i = 0; i < page.getParmEntries(); ++i) {
        collect(*page.getParm(i));
    }
    for (int i = 0; i < page.getObsoleteParmEntries(); ++i) {
        collect(*page.getObsoleteParm(i));
    }
}

void NOD_LintScript::collect(const ZEL_ScriptParm &parm)
{
    myRecords.emplace(parm.getTokenNumber(), &parm);
    const ZEL_ScriptGroup *const group = parm.getGroup();
    for (int i = 0; group && i < group->getPageCount(); ++i) {
        collect(*group->getPage(i));
    }
}

void NOD_LintScript::match(const ZEL_Template *templates)
{
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        const int block = findBlock(at);
        if (block >= 0) {
            myBlocks[std::size_t(block)].description = at;
        }
        const ZEL_Template *const items = at->isMultiType() ? at->getMultiParmTemplate() : nullptr;
        if (!at->isRampType()) {
            match(items);
            continue;
        }
        // The parts of its keys are the ramp's.
        for (const ZEL_Template *part = items; part && block >= 0 && !part->isTerminator();
             ++part) {
            myBlockOfName.emplace(part->getNamePtr(), block);
        }
    }
}

int NOD_LintScript::findBlock(const ZEL_Template *description) const
{
    const auto found = myBlockOfName.find(description->getNamePtr());
    return found == myBlockOfName.end() ? -1 : found->second;
}

int NOD_LintScript::nameOf(int block) const
{
    return block < 0 ? -1 : myBlocks[std::size_t(block)].name;
}
