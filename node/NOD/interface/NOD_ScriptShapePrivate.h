/// \file NOD_ScriptShapePrivate.h
/// The blocks and statements of a script, also of one whose braces and quotes are at fault.
///
/// Vocabulary: *block* = what stands between braces after `parm`, `group` and their like; the first one
///             is the script's own. *Statement* = a keyword with all that belongs to it. *Fault* = a
///             mistake of the shape: a brace or quote too few or too many, a value that is missing.
///             *Indented* = a block whose statements begin further in than its first line does: then
///             the indentation says where it ends if its brace doesn't.
/// Units:      tokens, blocks and statements by index from 0, -1 for none; ends are exclusive.
/// Ownership:  borrows the tokens.
/// Threads:    one thread at a time.
///
/// A brace is missing where the grammar says so (`parm` inside of a parameter) or where a line begins no
/// further in than the block's first one; a brace is too many where what follows is further in than
/// the block that it would close.
#pragma once

#include <NOD/interface/NOD_MessageCodesPrivate.h>
#include <NOD/interface/NOD_ScriptTokensPrivate.h>
#include <NOD/interface/NOD_ScriptWordsPrivate.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

/// Said of what comes after the closing brace.
constexpr const char *theNODScriptRest =
    "What stands behind the closing brace of the script isn't read";

class NOD_ScriptShape
{
public:
    struct Statement
    {
        int begin; ///< the keyword
        int end;
        int block = -1;        ///< the block that it opens
        bool soundFlag = true; ///< without a fault of its own
    };
    struct Block
    {
        int parent = -1;
        int header = -1;     ///< the keyword; of the script the brace
        std::string keyword; ///< as it should be
        std::string name;    ///< "" without one
        bool parmFlag = false;
        bool bareFlag = false; ///< its opening brace is missing
        int depth = 0;         ///< blocks with items around its statements
        int close = -1;        ///< its last brace; -1 if it is missing
        int end = 0;
        std::vector<Statement> statements;
        std::size_t looked = 0;    ///< statements that were looked at for the indentation
        bool indentedFlag = false; ///< of the last one of those
    };
    struct Fault
    {
        int token;              ///< where it is
        int last;               ///< to the end of that one
        bool afterFlag = false; ///< nothing stands there: the place is after the token
        int block = -1;         ///< in which it is
        NOD_ScriptCode code;
        std::string text;
        std::string hint; ///< for one whose text is the reader's
        int related = -1;
        std::string relatedText;
        std::string expected;
        std::string fix;     ///< replaces the place, if there is a fix
        std::string fixText; ///< what it is called; "" for none
    };

    /// Further ones aren't kept.
    static constexpr std::size_t theMostFaults = 1000;

    using Doubt = NOD_ScriptTokens::Doubt;

    explicit NOD_ScriptShape(const NOD_ScriptTokens &tokens, Doubt doubt = Doubt::GUESS);

    /// In the order of their tokens.
    const std::vector<Fault> &getFaults() const { return myFaults; }
    const std::deque<Block> &getBlocks() const { return myBlocks; }
    /// The innermost block around a token.
    int findBlock(int token) const;
    /// The text of the first `name` of a block; "" without one.
    std::string nameOf(int block) const;

private:
    static constexpr int theMostBlocks = 200; ///< in each other

    const NOD_ScriptToken &at() const { return myTokens[myAt]; }
    bool atEnd() const { return myAt >= myTokens.size(); }
    const NOD_ScriptToken *peek(int ahead) const;
    /// The first token of the next line that has one; null at the end.
    const NOD_ScriptToken *nextLine(int token);

    int addBlock(int parent, int header, const std::string &keyword);
    void readBlock(int block);
    bool readClose(int block);
    int countCloses();
    bool endsHere(int block);
    bool isSurplusClose(int block);
    bool isParmsOnly(const NOD_ScriptToken &token) const;
    bool isFurtherOut(int header, bool inclusive) const;
    bool isIndented(int block);

    void readDirectives();
    void readStatement(int block);
    void checkOpenTexts(Statement &statement);
    void readUnknown(int block, Statement &statement);
    void readUnknownValues(int block, const NOD_ScriptWord &near, int header);
    void readJunk(int block);
    bool readWord(int block, const NOD_ScriptWord &word);
    bool isMissingValue(int block, int header) const;
    bool readSkipped(int block, const NOD_ScriptWord &word, int header);
    bool openBlock(int block, int header);
    void readNested(int block, Statement &statement, const std::string &keyword);
    bool openNested(int block, int header, const std::string &keyword);
    bool isNothingNested(int header) const;
    void skipBracedText();
    bool readValues(int block, int header, NOD_ScriptWord::Form form);
    bool checkValues(int block, int header, NOD_ScriptWord::Form form,
                     const std::vector<int> &values);

    /// The keyword that somebody may have meant; null if none is near.
    const NOD_ScriptWord *findNearest(const std::string &word, bool inParm);
    Fault &addFault(int block, int token, NOD_ScriptCode code, const std::string &text);
    void addOpen(int block, int header, const std::string &keyword);

    const NOD_ScriptTokens &myTokens;
    const Doubt myDoubt;
    std::deque<Block> myBlocks;
    std::vector<Fault> myFaults;
    std::unordered_map<int, std::size_t> myOpenTexts; ///< their faults, by token
    Fault mySurplus;                                  ///< one that isn't kept
    std::unordered_map<std::string, const NOD_ScriptWord *>
        myNearest[2]; ///< of a page, a parameter
    int myAt = 0;
    int myDepth = 0;
    int myBraced = 1;          ///< blocks around the present token that have an opening brace
    std::vector<int> myCloses; ///< of countCloses(), by token; made when it is asked for first
    int myLineBegin = 0;       ///< the tokens for which nextLine() was asked last
    int myLineEnd = 0;
};
