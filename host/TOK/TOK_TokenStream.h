/// \file TOK_TokenStream.h
/// The tokens of a script, read through a small preprocessor.
///
/// Vocabulary: *blank* = white space, a NUL byte, or a backslash at the end of a line. *quoted
///             token* = the text between two double quotes that begin a token, which may contain
///             line ends; a backslash keeps the byte after it from closing the token, and a
///             backslash at the end of a line joins the lines. *bracket* = one of `{ } [ ]`; a
///             token of its own when it begins a token, and at the end of a word when it has no
///             counterpart in that word. *word* = any other run of bytes that aren't blanks.
///             *manager* = the object that returns the position.
/// Units:      lines from 1.
/// Ownership:  owns the text: a KIT_IStream is read to its limit on opening and not used
///             afterwards.
/// Threads:    one thread at a time.
/// Errors:     messages are reported through cppWarning() and cppError() as `file(line): text`, or
///             as `line N: text` if there is no name, and reading continues, unless a limit of the
///             whole text was reached; then the tokens end there.
/// Cost:       a token is one scan of its bytes and one copy into the caller's string.
///
/// For example, `{min 0}` is `{`, `min`, `0`, `}`; `help{` is `help`, `{`; `a}b` and `x[0]` are one
/// word each; `x[0]]` is `x[0]`, `]`. A word with a double quote in it is never split: `a"}` is
/// one word.
///
/// Comments are `//` to the end of the line and `/*` to `*/`. They begin where a token could, so
/// that `/obj/*` and `a//b` are words.
///
/// A line whose first byte other than a blank is `#` is a directive if one of these words follows,
/// and ordinary text otherwise:
///
///     #include "file" | <file>    the file's tokens; "file" is searched beside the including file
///                                 first, then, as <file>, in the folders of the search path
///     #define NAME text           from here on the word NAME is replaced by the text; never in
///                                 quotes, inside a longer word, or in its own text. No arguments.
///     #undef NAME
///     #if, #elif EXPRESSION       integers, names (a macro's value, else 0), defined(NAME),
///                                 ! + - * / % < <= > >= == != && || and parentheses
///     #ifdef, #ifndef NAME        #else                        #endif
///
/// Options, given as a list of words; unknown ones are ignored:
///
///     -h    #include may search beside the including file
///     -H    #include may search the search path
///     -x    a line with # that is no directive is accepted without a warning
///     -P    no line marks: positions are those of the files read, which is always so
///     -DNAME, -DNAME=text, -UNAME     #define (the text is 1 without one), #undef
///     -Ifolder                        one more folder of the search path; allows -H
///
/// Until a list is given, -h, -H and -x are set.
///
/// *Confined* includes are those of files in or below the folder of the first file, or a folder of the
/// search path, after all symbolic links are followed. Any other one is an error, and isn't opened.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <TOK/TOK_Manager.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

class KIT_IStream;
class TOK_Preprocessor;

/// Limits of one text. Exceeding one is an error that names it.
struct TOK_Limits
{
    static constexpr int theIncludeDepth = 64;                 ///< nested files
    static constexpr int theIncludes = 10000;                  ///< files read in all; ends the text
    static constexpr size_t theIncludeBytes = size_t{1} << 28; ///< of those; ends the text
    /// The part of them that is read again: it costs its script no bytes. Ends the text.
    static constexpr size_t theRepeatedBytes = size_t{1} << 22;
    static constexpr int theMacroDepth = 64;                 ///< nested macros
    static constexpr size_t theMacroBytes = size_t{1} << 24; ///< macro text read; ends the text
    static constexpr size_t theConditionDepth = 256;         ///< nested #if; ends the text
    static constexpr int theExpressionDepth = 64;            ///< nesting of an #if expression
    static constexpr int theExpressionSteps = 10000;         ///< its names, numbers, operators
};

/// The bytes of a file that a token was read from, with its quotes.
struct TOK_Span
{
    std::size_t begin = 0;
    std::size_t end = 0;
    bool macroFlag = false; ///< the token is of a macro's text; the bytes are the macro's name
    std::size_t number = 0; ///< how many tokens come before it, in all files
};

/// Where a token is in the file that has it; of a token from a macro, the use of the macro.
struct TOK_Place
{
    const char *file = ""; ///< as long as the stream lives
    std::string_view text; ///< of the whole file, for as long
    int line = 0;          ///< from 1
    std::size_t begin = 0; ///< bytes of the text, with the quotes
    std::size_t end = 0;
    bool quotedFlag = false;
    bool firstFlag = false; ///< the first token of its line
    bool openFlag = false;  ///< with setEndsOpenTexts(): the closing quote seems to be missing
    bool macroFlag = false;
    std::string_view
        macroToken; ///< of a token from a macro: itself, with the quotes, until the next one is read
};

class KIT_API TOK_TokenStream
{
public:
    /// Reads an open stream from its position. A null or empty `name` means the stream's own name.
    /// Only a source with a name has a manager.
    TOK_TokenStream(KIT_IStream &stream, const char *name);
    /// Reads a file. `mode` is the maximum nesting of #include, at most theIncludeDepth; -1 is that
    /// maximum. A file that can't be read gives an error and no tokens.
    TOK_TokenStream(const char *fileName, int mode);
    virtual ~TOK_TokenStream();
    TOK_TokenStream(const TOK_TokenStream &) = delete;
    TOK_TokenStream &operator=(const TOK_TokenStream &) = delete;

    /// False if the text could not be read.
    bool isReadable() const;

    /// Replaces `token` by the next token and returns 1. At the end of the text returns 0 and
    /// leaves it unchanged.
    int getToken(KIT_String &token);
    /// Puts back a copy of a token; getToken() returns the copies first, the last one before
    /// others. The position is unchanged.
    void ungetToken(const KIT_String &token);

    /// True leaves the backslashes of quoted tokens to the caller. False, the initial value,
    /// resolves them (KIT_String::expandControlSequences).
    void setPreserveBackslashes(bool preserve) { myPreserveFlag = preserve; }
    /// Parses the words up to a null one as options. Must be called before the first token.
    void setCPPOptions(const char *const *options);
    /// The folders of the search path after those of -I, separated by colons. The initial value is
    /// the environment variable ZEL_PATH.
    void setIncludePath(const char *folders);
    /// Whether includes are confined. The initial value is that of the process. Must be called before
    /// the first token.
    void setIncludesConfined(bool confined);
    /// The initial value for streams that are opened from now on; false until it is set. For
    /// applications that read files of unknown origin; set it before starting threads that read.
    static void setAllIncludesConfined(bool confined);
    static bool areAllIncludesConfined();

    /// The position of the token read last; null for a source without a name.
    const TOK_Manager *getManager() const { return myManager.get(); }
    /// Its bytes in its file, for tools that show or change the text.
    TOK_Span getSpan() const;

    // ---------------------------------------------------------------- //
    /// \name Places   (for messages: columns, and where an included file comes from)
    // ---------------------------------------------------------------- //
    /// Keeps the texts of included files, so that places in them are known after their end. Must be
    /// called before the first token.
    void setKeepsTexts(bool keep);
    /// For tools that look for mistakes: a quoted token whose closing quote seems to be missing ends
    /// where it seems to, at the latest with its line. Must be called before the first token.
    void setEndsOpenTexts(bool ends);
    /// The place of the token read last; during a report of the preprocessor, of what it is about.
    /// False if it isn't known.
    bool getPlace(TOK_Place &place) const;
    /// The `#include` that read that token's file, with 0; with 1 the one that read the file of that
    /// one, and so on. False for none.
    bool getIncluder(int level, TOK_Place &place) const;
    /// The whole first text, for as long as the stream lives.
    std::string_view getText() const;

    /// Receives the preprocessor's reports, with the position in the text. Base: the thread's
    /// current error manager, common code 14.
    virtual void cppWarning(const char *text);
    virtual void cppError(const char *text);
    /// Told of each file that is included, before its first token: where the directive is, and what
    /// will be read. Base: nothing.
    virtual void cppInclude(const char *fromFile, int line, const TOK_Span &directive,
                            const char *file, std::string_view text);

protected:
    /// Null for a source without a name.
    std::unique_ptr<TOK_Manager> myManager;

private:
    std::unique_ptr<TOK_Preprocessor> myPreprocessor;
    std::vector<KIT_String> myPushedBack; // the last one is returned first
    bool myPreserveFlag = false;
};
