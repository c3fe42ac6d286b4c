/// \file TOK_PreprocessorPrivate.h
/// Runs directives, included files and macros, and returns the remaining tokens.
///
/// Vocabulary: *source* = a text that is being read: a file, or the text of a macro. *group* = the
///             text between #if and #endif; it belongs to one file.
/// Ownership:  owns the texts and the file names.
/// Threads:    one thread at a time.
/// Errors:     reported with the position through the token stream. Some limits end the text.

#pragma once

#include <TOK/TOK_ConditionPrivate.h>
#include <TOK/TOK_LexerPrivate.h>

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class TOK_TokenStream;
struct TOK_Place;
struct TOK_Span;

class TOK_Preprocessor
{
public:
    explicit TOK_Preprocessor(TOK_TokenStream &owner);
    ~TOK_Preprocessor();

    /// Starts with a text, whose name may be empty, or with a file.
    void openText(std::string &&text, const char *name, bool readable);
    void openFile(const char *fileName);
    bool isReadable() const { return myReadableFlag; }
    void setIncludeDepth(int depth) { myIncludeDepth = depth; }

    /// False at the end. `quoted` returns whether the token was quoted.
    bool next(std::string_view &token, bool &quoted);
    /// The file and line of the last token, or of the use of the macro that it comes from.
    const char *getFileName() const { return myFile->fileName; }
    int getLine() const { return myLine; }
    /// Where that is in the file.
    TOK_Span getSpan() const;

    void setKeepsTexts(bool keep) { myKeepFlag = keep; }
    void setEndsOpenTexts(bool ends);
    bool getPlace(TOK_Place &place) const;
    bool getIncluder(int level, TOK_Place &place) const;
    std::string_view getText() const { return mySources.front()->text; }

    void setOptions(const char *const *options);
    void setPath(const char *folders);
    void setConfined(bool confined) { myConfinedFlag = confined; }

private:
    struct Source
    {
        std::string text; // of a file
        TOK_Lexer lexer{std::string_view(), true};
        const char *fileName = "";
        std::string identity;             // of a file: the same for each path to it
        TOK_Macro *macro = nullptr;       // null: a file
        size_t outerGroups = 0;           // open groups of the files around it
        const Source *includer = nullptr; // of an included file
        int includeLine = 0;
        const char *includeAt = nullptr; // the directive, in the includer's text
    };
    struct Group
    {
        int line;
        const char *begin; // of its directive, in its file's text
        bool activeFlag;   // its tokens are returned
        bool pendingFlag;  // no branch was taken yet, and one still can be
        bool elseFlag;     // #else was read
    };
    struct Directive
    {
        const char *word;
        bool groupFlag; // also run inside a skipped group
        void (TOK_Preprocessor::*run)(std::string_view rest);
    };
    static const Directive theDirectives[];

    void pushFile(std::string &&text, const std::string &name);
    bool popSource();
    bool isSkipping() const { return !myGroups.empty() && !myGroups.back().activeFlag; }

    void runDirective(std::string_view line);
    void runInclude(std::string_view rest);
    void runDefine(std::string_view rest);
    void runUndef(std::string_view rest);
    void runIf(std::string_view rest);
    void runIfdef(std::string_view rest);
    void runIfndef(std::string_view rest);
    void runElif(std::string_view rest);
    void runElse(std::string_view rest);
    void runEndif(std::string_view rest);

    void testDefined(std::string_view rest, bool wanted);
    bool evaluate(std::string_view text);
    void openGroup(bool value);
    Group *currentGroup(const char *word);

    std::string findInclude(const std::string &path, bool beside) const;
    const std::string &identityOf(const std::string &path);
    bool mayInclude(const std::string &path);
    void includeFile(const std::string &path);
    bool isBeingRead(const std::string &path);
    bool expandMacro(std::string_view word);

    static void describe(const Source &source, const char *begin, int line, TOK_Place &place);
    void checkFault();
    /// What is about the text from `begin` on; null: the position isn't known.
    void error(const std::string &text, int line, const char *begin);
    void error(const std::string &text) { error(text, myLine, myFile->lexer.getBegin()); }
    void warning(const std::string &text, int line, const char *begin);
    std::string placed(const std::string &text, int line) const;
    void stop(const std::string &text);

    TOK_TokenStream &myOwner;
    std::deque<std::string> myNames; // of files, kept as long as positions may be queried
    std::vector<std::unique_ptr<Source>> mySources;
    std::vector<Group> myGroups;
    TOK_MacroMap myMacros;
    std::vector<std::string> myFolders; // of -I
    std::vector<std::string> myPath;
    Source *myFile = nullptr;            // the innermost file
    const Source *myTokenFile = nullptr; // of the last token; null: it is gone
    int myTokenLine = 0;
    int myReportLine = 0;                        // above 0: something is being reported
    const char *myReportBegin = nullptr;         // where it begins
    std::vector<std::unique_ptr<Source>> myKept; // files that were read to their end
    int myLine = 0;
    bool myMacroFlag = false; // the last token comes from a macro
    size_t myTokens = 0;      // returned so far
    int myIncludeDepth;
    int myFileDepth = 0;
    int myMacroDepth = 0;
    int myIncludes = 0;
    size_t myIncludeBytes = 0;
    size_t myRepeatedBytes = 0;
    std::unordered_map<std::string, std::string> myIdentities; // of paths
    std::unordered_set<std::string> myIncluded;                // identities
    size_t myMacroBytes = 0;
    bool myBesideFlag = true;
    bool mySearchFlag = true;
    bool myPlainHashFlag = true;
    bool myStoppedFlag = false;
    bool myReadableFlag = true;
    bool myConfinedFlag;
    bool myKeepFlag = false;
    bool myEndsOpenFlag = false;
};
