/// \file NOD_ScriptTokensPrivate.h
/// All tokens of a script with their places, for what looks for mistakes in it.
///
/// Vocabulary: *open text* = a quoted token whose closing quote seems to be missing; it ends where it
///             seems to (TOK_TokenStream::setEndsOpenTexts). *Indentation* = the column, with a tab to
///             the next eighth, at which the first token of a line begins.
/// Units:      tokens and files by index from 0; lines from 1.
/// Ownership:  owns the texts of all files.
/// Threads:    one thread at a time.
/// Errors:     reports of the preprocessor are kept in getMessages(). A script of more tokens than
///             theMostTokens is cut, one of more than theMostBytes isn't read, and isWhole() is false.
#pragma once

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct NOD_ScriptToken
{
    std::string text; ///< as it stands there, without its quotes
    int file = 0;
    int line = 0;
    int indent = 0; ///< of its line
    std::size_t begin = 0;
    std::size_t end = 0;
    bool quotedFlag = false;
    bool firstFlag = false; ///< the first of its line
    bool openFlag = false;

    bool is(std::string_view word) const { return !quotedFlag && text == word; }
};

/// Where a byte of what a text means is in the text as it is written, without quotes: the offset behind escapes that
/// KIT_String::expandControlSequences resolves.
std::size_t NODrawOffset(std::string_view written, std::size_t offset);

class NOD_ScriptTokens
{
public:
    static constexpr int theMostTokens = 4000000;
    static constexpr std::size_t theMostBytes = std::size_t(1) << 26;

    /// Whether braces and quotes may be at fault, which is guessed by the lines that they stand on.
    enum class Doubt
    {
        GUESS,
        NONE
    };

    NOD_ScriptTokens(std::string_view text, const std::string &name,
                     NOD_Interface::Includes includes, Doubt doubt = Doubt::GUESS);
    ~NOD_ScriptTokens();
    NOD_ScriptTokens(const NOD_ScriptTokens &) = delete;
    NOD_ScriptTokens &operator=(const NOD_ScriptTokens &) = delete;

    int size() const { return int(myTokens.size()); }
    const NOD_ScriptToken &operator[](int index) const { return myTokens[std::size_t(index)]; }
    bool isWhole() const { return myWholeFlag; }
    const NOD_Report &getMessages() const { return myMessages; }
    /// Whether the preprocessor takes away what stands at the end: a comment that isn't closed, an #if.
    bool isEndMissing() const { return myLostAt == size(); }

    /// Of the file that a token is in.
    const std::string &getFileName(int token) const
    {
        return myFiles[std::size_t((*this)[token].file)].name;
    }
    /// The last token of the file that begins at or before an offset; -1 for none.
    int find(const std::string &file, std::size_t offset) const;
    /// From the beginning of one token to the end of another.
    KIT_MessagePlace getPlace(int first, int last) const;
    /// The place of no bytes after a token.
    KIT_MessagePlace getPlaceAfter(int token) const;
    /// Some bytes in a token, counted without its quote.
    KIT_MessagePlace getPlaceIn(int token, std::size_t offset, std::size_t length = 1) const;
    std::vector<KIT_MessagePlace> getIncluders(int token) const;
    /// Whether the file of the first token has been left at the second.
    bool isLeft(int inside, int token) const;

private:
    class Stream;
    struct File
    {
        std::string name;
        std::string_view text;
        std::vector<KIT_MessagePlace> includers;
        std::vector<int> tokens;
    };

    void read();
    void add(const KIT_String &token);
    int fileOf(const char *name, std::string_view text);

    std::unique_ptr<Stream> myStream;
    std::vector<File> myFiles;
    std::unordered_map<const char *, int> myFilesByText;
    std::unordered_map<std::string, int> myFilesByName; ///< the last of the name
    std::vector<NOD_ScriptToken> myTokens;
    NOD_Report myMessages;
    bool myWholeFlag = true;
    int myLostAt = -1; ///< the tokens in front of the last such mistake
};
