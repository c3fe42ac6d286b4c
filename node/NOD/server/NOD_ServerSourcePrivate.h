/// \file NOD_ServerSourcePrivate.h
/// What stands where in the text of a script that is being written: its words, statements and blocks.
///
/// Vocabulary: *statement* = a keyword with its values; *block* = the script itself, or what stands
///             between the braces of a parameter or page; *expectation* = what could follow at the end.
/// Units:      tokens, statements and blocks by number from 0, -1 for none; ends are exclusive; offsets
///             in bytes.
/// Ownership:  borrows the text.
/// Threads:    immutable once made.
/// Cost:       reads the text once; nothing is included or replaced, and no file is opened.
///
/// Any text has statements and blocks: a value or a brace that is missing ends with the line where the
/// next keyword stands, or with the next parameter or folder.
#pragma once

#include <NOD/interface/NOD_ScriptWordsPrivate.h>
#include <TOK/TOK_SourceTokens.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class NOD_ServerSource
{
public:
    struct Token
    {
        std::size_t begin; ///< with quotes
        std::size_t end;
        TOK_SourceTokens::Kind kind;
        bool firstFlag; ///< of its line
        int statement = -1;
    };
    struct Statement
    {
        int block; ///< that it is in
        int keyword;
        int end;                    ///< of its tokens, those of a block it opens included
        const NOD_ScriptWord *word; ///< null for an unknown one
        int opens = -1;
    };
    struct Block
    {
        int parent = -1;
        int statement = -1; ///< that opens it
        int open = -1;
        int close = -1;
        bool parmFlag = false;
        std::vector<int> statements;
    };
    struct Expectation
    {
        int block = 0;
        int statement = -1;      ///< that isn't complete; -1: a keyword
        bool bracesFlag = false; ///< in the braces of the statement's values
        std::vector<int> nested; ///< the tokens that opened those braces
    };

    explicit NOD_ServerSource(std::string_view text);
    /// The beginning of a source, up to an offset.
    NOD_ServerSource(const NOD_ServerSource &whole, std::size_t end);
    /// Whether that is in its last token.
    bool isCut() const { return myCutFlag; }

    std::string_view getText() const { return myText; }
    const std::vector<Token> &getTokens() const { return myTokens; }
    const std::vector<Statement> &getStatements() const { return myStatements; }
    /// The first one is the script.
    const std::vector<Block> &getBlocks() const { return myBlocks; }
    const Expectation &getExpectation() const { return myExpected; }

    const Token &token(int number) const { return myTokens[std::size_t(number)]; }
    const Statement &statement(int number) const { return myStatements[std::size_t(number)]; }
    const Block &block(int number) const { return myBlocks[std::size_t(number)]; }
    /// As it is written.
    std::string_view raw(int token) const;
    /// Without its quotes; backslashes stay.
    std::string_view text(int token) const;
    /// Where that begins.
    std::size_t textBegin(int token) const;
    bool isCode(int token) const;
    std::string_view word(const Statement &statement) const { return text(statement.keyword); }

    /// The token that an offset is in, or at the end of; -1 for none.
    int findToken(std::size_t offset) const;
    /// The first word after a statement's keyword; -1 without one.
    int firstValue(int statement) const;
    /// The first statement of that keyword in a block; -1 without one.
    int findStatement(int block, std::string_view keyword) const;
    /// The token of a block's name; -1 without one.
    int findName(int block) const;
    /// From the keyword of a block to its closing brace.
    std::size_t blockBegin(int block) const;
    std::size_t blockEnd(int block) const;

private:
    enum class State
    {
        KEYWORD,
        VALUES, ///< some more, then perhaps braces
        NUMBER, ///< a number, if there is one
        EITHER, ///< a value or braces
        BRACES, ///< braces, words in front of them are allowed
        NESTED, ///< in the braces of values
        UNKNOWN ///< the line of an unknown word
    };

    static constexpr int theMostBlocks = 200; ///< in each other; deeper ones are braces

    void read();
    void take(int token);
    bool takeValue(int token);
    void takeKeyword(int token);
    void begin(int token, const NOD_ScriptWord *word);
    void open(int token, bool parmFlag);
    void close(int token);
    void closeParm();
    void finish();
    bool startsKeyword(int token) const;
    bool startsBlock(int token) const;
    bool startsKeywordIn(int token) const;
    int nextCode(int token) const;
    bool isAt(int token, std::string_view text) const
    {
        return token >= 0 && token < int(myTokens.size()) && raw(token) == text;
    }
    bool inParm() const { return myBlocks[std::size_t(myExpected.block)].parmFlag; }

    std::string_view myText;
    std::vector<Token> myTokens;
    std::vector<Statement> myStatements;
    std::vector<Block> myBlocks;
    Expectation myExpected;
    State myState = State::KEYWORD;
    bool myCutFlag = false;
    int myDepth = 0;
    int myCount = 0; ///< of values that are still missing
};
