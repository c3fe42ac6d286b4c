#include <DS/format/DS_FormatGrammarPrivate.h>

#include <DS/scriptstream/DS_BlockDepthPrivate.h>
#include <KIT/KIT_String.h>
#include <TOK/TOK_TokenStream.h>
#include <ZEL/ZEL_Conditional.h>

#include <algorithm>

namespace
{

constexpr std::size_t theDeepestBlock = 1000;
constexpr std::size_t theMostTabs = 40;

/// What a word means to the parsers.
void readWord(const DS_FormatPiece &piece, std::string &text)
{
    std::string_view inner = piece.text;
    if (piece.kind == TOK_SourceTokens::QUOTED) {
        inner = inner.substr(1, inner.size() - 2);
    }
    text = inner;
    if (text.find('\\') != std::string::npos) {
        KIT_String whole;
        whole.harden(inner.data(), inner.size());
        whole.expandControlSequences(0);
        text = whole.view();
    }
}

bool isNumber(const std::string &text)
{
    const KIT_String word(text.c_str());
    return word.isFloat() || word.isInteger();
}

std::string_view directiveWord(std::string_view text)
{
    const std::size_t start = std::min(text.find_first_not_of(" \t", 1), text.size());
    const auto end = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(),
                                  [](char c) { return c < 'a' || c > 'z'; });
    return text.substr(start, static_cast<std::size_t>(end - text.begin()) - start);
}

/// The words of a block that are taken whatever they are, from its start.
int wordsOf(DS_FormatBlock block)
{
    return block == DS_FormatBlock::RANGE ? 2 : block == DS_FormatBlock::SINGLE ? 1 : 0;
}

} // namespace

DS_FormatGrammar::DS_FormatGrammar(std::vector<DS_FormatPiece> &pieces) : myPieces(pieces)
{
    myState.frames.push_back({DS_FormatBlock::TOP, true, false, 0, 0, 0});
}

void DS_FormatGrammar::place()
{
    for (DS_FormatPiece &piece : myPieces) {
        if (piece.kind == TOK_SourceTokens::DIRECTIVE) {
            placeDirective(piece);
        } else if (piece.isComment()) {
            placeComment(piece);
        } else {
            placeWord(piece);
        }
    }
}

unsigned char DS_FormatGrammar::depth() const
{
    return static_cast<unsigned char>(std::min(myState.frames.size() - 1, theMostTabs));
}

// ---------------------------------------------------------------------- //
// Between the words
// ---------------------------------------------------------------------- //

void DS_FormatGrammar::placeDirective(DS_FormatPiece &piece)
{
    const std::string_view word = directiveWord(piece.text);
    const bool startFlag = word == "if" || word == "ifdef" || word == "ifndef";
    if (myGroupsBeyond > 0 || (startFlag && myGroups.size() >= TOK_Limits::theConditionDepth)) {
        // None that can be read nests so deep.
        myGroupsBeyond += startFlag ? 1 : word == "endif" ? -1 : 0;
        piece.depth = depth();
        return;
    }
    if (startFlag) {
        myGroups.push_back({myState, std::nullopt});
    } else if (!myGroups.empty() && (word == "else" || word == "elif")) {
        Group &group = myGroups.back();
        if (!group.end) {
            group.end = myState;
        }
        myState = group.start;
    }
    piece.depth = depth();
    if (!myGroups.empty() && word == "endif") {
        Group &group = myGroups.back();
        if (group.end) {
            myState = std::move(*group.end);
        } else if (myState.frames.size() != group.start.frames.size()) {
            myState = group.start; // what has no other branch is whole, or skipped
        }
        piece.depth =
            static_cast<unsigned char>(std::min(group.start.frames.size() - 1, theMostTabs));
        myGroups.pop_back();
    }
}

void DS_FormatGrammar::placeComment(DS_FormatPiece &piece) const
{
    const bool awaitedFlag = myState.wait != Wait::NOTHING && myState.wait != Wait::NUMBER;
    piece.depth = static_cast<unsigned char>(depth() + (awaitedFlag ? 1 : 0));
}

// ---------------------------------------------------------------------- //
// Words
// ---------------------------------------------------------------------- //

void DS_FormatGrammar::placeWord(DS_FormatPiece &piece)
{
    readWord(piece, myText);
    piece.depth = depth();
    if (placeAwaited(piece)) {
        return;
    }
    switch (frame().block) {
    case DS_FormatBlock::TOP:
    case DS_FormatBlock::PAGE:
    case DS_FormatBlock::PARM: placeStatement(piece); break;
    case DS_FormatBlock::MENU: placeInMenu(piece); break;
    case DS_FormatBlock::CONDITIONS:
        // Any word but a brace ends them.
        if (is("{")) {
            open(piece, DS_FormatBlock::COMPARISONS);
            piece.where = DS_FormatPiece::LINE;
        } else {
            close(piece, DS_FormatPiece::LINE);
        }
        break;
    case DS_FormatBlock::COMPARISONS: placeInComparisons(piece); break;
    case DS_FormatBlock::TEXTS:
    case DS_FormatBlock::RAW: placeInTexts(piece); break;
    case DS_FormatBlock::OTHER: placeInOther(piece); break;
    default: placeInList(piece); break;
    }
}

/// The words and the block that belong to the last keyword; false if this one doesn't.
bool DS_FormatGrammar::placeAwaited(DS_FormatPiece &piece)
{
    const bool skippedFlag = myState.keyword && myState.keyword->skipped;
    const DS_FormatPiece::Break joined = skippedFlag ? DS_FormatPiece::JOIN : DS_FormatPiece::VALUE;
    const Wait wait = myState.wait;
    myState.wait = Wait::NOTHING;
    if (wait == Wait::NOTHING || (wait == Wait::NUMBER && !isNumber(myText))) {
        return false;
    }
    piece.statement = true;
    const bool blockFlag = myState.keyword && myState.keyword->block != DS_FormatBlock::NONE;
    if (wait == Wait::VALUES) {
        piece.where = joined;
        if (--myState.values > 0) {
            myState.wait = Wait::VALUES;
        } else if (blockFlag) {
            myState.wait = Wait::BLOCK;
        }
    } else if (wait == Wait::NUMBER) {
        piece.where = DS_FormatPiece::JOIN;
    } else if (is("{")) {
        piece.where = DSisFormatList(myState.keyword->block) ? joined : DS_FormatPiece::JOIN;
        open(piece, myState.keyword->block);
    } else if (wait == Wait::VALUE_OR_BLOCK) {
        piece.where = joined;
    } else if (is("usetokenvalue")) {
        piece.where = DS_FormatPiece::JOIN;
        myState.wait = Wait::BLOCK;
    } else {
        piece.statement = false;
        return false;
    }
    return true;
}

void DS_FormatGrammar::placeStatement(DS_FormatPiece &piece)
{
    const DS_FormatBlock block = frame().block;
    if (block != DS_FormatBlock::TOP && is("}")) {
        close(piece, DS_FormatPiece::LINE);
        return;
    }
    if (block == DS_FormatBlock::TOP && is("{")) {
        open(piece, DS_FormatBlock::PAGE);
        piece.where = DS_FormatPiece::LINE;
        return;
    }
    const DS_FormatKeyword *const keyword =
        DSfindFormatKeyword(myText, block == DS_FormatBlock::PARM);
    if (!keyword) {
        placeUnknown(piece);
        return;
    }
    frame().first = false;
    piece.keyword = keyword;
    piece.where = DS_FormatPiece::LINE;
    myState.keyword = keyword;
    myState.values = keyword->values;
    const bool blockFlag = keyword->block != DS_FormatBlock::NONE;
    myState.wait = keyword->values > 0 ? Wait::VALUES
                   : keyword->optional ? blockFlag ? Wait::VALUE_OR_BLOCK : Wait::NUMBER
                   : blockFlag         ? Wait::BLOCK
                                       : Wait::NOTHING;
}

/// A macro's word, or what is skipped: in a line as it is written.
void DS_FormatGrammar::placeUnknown(DS_FormatPiece &piece)
{
    piece.where = frame().first && frame().block != DS_FormatBlock::TOP ? DS_FormatPiece::LINE
                                                                        : DS_FormatPiece::KEEP;
    frame().first = false;
    if (is("{")) {
        open(piece, DS_FormatBlock::OTHER);
    }
}

void DS_FormatGrammar::placeInMenu(DS_FormatPiece &piece)
{
    Frame &menu = frame();
    piece.where = DS_FormatPiece::LINE;
    if (menu.skip > 0) {
        menu.skip = 0;
        piece.where = DS_FormatPiece::LABEL;
        piece.statement = true;
    } else if (is("}")) {
        close(piece, DS_FormatPiece::LINE);
    } else if (is("[")) {
        menu.script = true;
        open(piece, DS_FormatBlock::SCRIPT);
    } else if (menu.script) {
        myState.keyword = nullptr;
        myState.values = 1;
        myState.wait = is("language") ? Wait::VALUES : Wait::NOTHING;
    } else {
        menu.skip = 1;
    }
}

void DS_FormatGrammar::placeInList(DS_FormatPiece &piece)
{
    Frame &list = frame();
    piece.where = DS_FormatPiece::JOIN;
    if (list.skip > 0) {
        list.skip--;
    } else if (is(list.block == DS_FormatBlock::SCRIPT ? "]" : "}")) {
        close(piece, DS_FormatPiece::JOIN);
    } else if (list.block == DS_FormatBlock::DEFAULTS && is("[")) {
        list.skip = 3;
    } else if (list.block == DS_FormatBlock::TAGS) {
        list.skip = 1;
    }
}

void DS_FormatGrammar::placeInComparisons(DS_FormatPiece &piece)
{
    Frame &list = frame();
    ZEL_ConditionalOperator op;
    piece.where = DS_FormatPiece::JOIN;
    if (is("}") && list.skip != 1) {
        close(piece, DS_FormatPiece::JOIN);
    } else if (list.skip == 0) {
        list.skip = 1; // a name
    } else {
        const bool operatorFlag =
            list.skip == 1 && ZEL_Conditional::getOperatorFromString(myText.c_str(), op);
        list.skip = operatorFlag ? 2 : 0;
    }
}

void DS_FormatGrammar::placeInTexts(DS_FormatPiece &piece)
{
    Frame &texts = frame();
    const bool rawFlag = texts.block == DS_FormatBlock::RAW;
    texts.braces = DSblockDepth(myText.c_str(), texts.braces);
    piece.where = rawFlag ? DS_FormatPiece::KEEP : DS_FormatPiece::LINE;
    if (texts.braces < 1) {
        close(piece, piece.where);
    }
}

void DS_FormatGrammar::placeInOther(DS_FormatPiece &piece)
{
    piece.where = frame().first ? DS_FormatPiece::LINE : DS_FormatPiece::KEEP;
    frame().first = false;
    if (is("{")) {
        if (myState.beyond > 0 || myState.frames.size() > theDeepestBlock) {
            myState.beyond++;
        } else {
            open(piece, DS_FormatBlock::OTHER);
        }
    } else if (is("}")) {
        if (myState.beyond > 0) {
            myState.beyond--;
        } else {
            close(piece, DS_FormatPiece::LINE);
        }
    }
}

// ---------------------------------------------------------------------- //
// Blocks
// ---------------------------------------------------------------------- //

void DS_FormatGrammar::open(DS_FormatPiece &piece, DS_FormatBlock block)
{
    if (myState.frames.size() > theDeepestBlock) {
        block = DS_FormatBlock::OTHER;
    }
    frame().first = false;
    piece.role = DS_FormatPiece::OPEN;
    piece.block = block;
    myState.frames.push_back({block, true, false, wordsOf(block), 1, indexOf(piece)});
}

void DS_FormatGrammar::close(DS_FormatPiece &piece, DS_FormatPiece::Break where)
{
    const Frame closed = frame();
    DS_FormatPiece &opening = myPieces[closed.opened];
    opening.match = indexOf(piece) - closed.opened;
    piece.role = DS_FormatPiece::CLOSE;
    piece.block = closed.block;
    piece.where = opening.match == 1 ? DS_FormatPiece::JOIN : where;
    myState.frames.pop_back();
    piece.depth = depth();
}
