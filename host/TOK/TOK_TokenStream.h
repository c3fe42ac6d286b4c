/// \file TOK_TokenStream.h
/// The tokens of a script, read through a small preprocessor.
///
/// Vocabulary: *blank* = white space, a NUL byte, or a backslash at the end of a line. *quoted
///             token* = the text between two double quotes that begin a token, over line ends and
///             all; a backslash keeps the byte behind it from closing the token, and a backslash at
///             the end of a line joins the lines. *bracket* = one of `{ } [ ]`; a token of its own
///             when it begins a token, and at the end of a word when nothing in that word pairs
///             with it. *word* = any other run of bytes that aren't blanks. *manager* = what tells
///             the position.
/// Units:      lines from 1.
/// Ownership:  owns the text: a KIT_IStream is read to its limit on opening and not used again.
/// Threads:    one thread at a time.
/// Errors:     messages go through cppWarning() and cppError() as `file(line): text`, or as
///             `line N: text` where there is no name, and reading goes on, unless a limit of the
///             whole text was met; then the tokens end there.
/// Cost:       a token is one scan of its bytes and one copy into the caller's string.
///
/// So `{min 0}` is `{`, `min`, `0`, `}`; `help{` is `help`, `{`; `a}b` and `x[0]` are one word each,
/// `x[0]]` is `x[0]`, `]`. A word with a double quote in it is never split: `a"}` is one word.
///
/// Comments are `//` to the end of the line and `/*` to `*/`. They begin where a token could, so
/// that `/obj/*` and `a//b` are words.
///
/// A line whose first byte other than a blank is `#` is a directive if one of these words follows,
/// and ordinary text otherwise:
///
///     #include "file" | <file>    the file's tokens; "file" is looked for beside the including file
///                                 first, then, as <file>, in the folders of the search path
///     #define NAME text           from here on the word NAME stands for the text; never in quotes,
///                                 inside a longer word, or in its own text. No arguments.
///     #undef NAME
///     #if, #elif EXPRESSION       integers, names (a macro's value, else 0), defined(NAME),
///                                 ! + - * / % < <= > >= == != && || and parentheses
///     #ifdef, #ifndef NAME        #else                        #endif
///
/// Options, which a list gives as words; unknown ones are ignored:
///
///     -h    #include may look beside the including file
///     -H    #include may look in the search path
///     -x    a line with # that is no directive is taken without a warning
///     -P    no line marks: positions are those of the files read, which they always are
///     -DNAME, -DNAME=text, -UNAME     #define (the text is 1 without one), #undef
///     -Ifolder                        one more folder of the search path; allows -H
///
/// Until a list is given, -h, -H and -x hold.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <TOK/TOK_Manager.h>

#include <memory>
#include <vector>

class KIT_IStream;
class TOK_Preprocessor;

/// Limits of one text. One that is met gives an error that names it.
struct TOK_Limits
{
    static constexpr int theIncludeDepth = 64;                 ///< files inside of each other
    static constexpr int theIncludes = 10000;                  ///< files read in all; ends the text
    static constexpr size_t theIncludeBytes = size_t{1} << 28; ///< of these; ends the text
    static constexpr int theMacroDepth = 64;                   ///< macros inside of each other
    static constexpr size_t theMacroBytes = size_t{1} << 24;   ///< macro text read; ends the text
    static constexpr size_t theConditionDepth = 256;           ///< #if inside of #if; ends the text
    static constexpr int theExpressionDepth = 64;              ///< nesting of an #if expression
    static constexpr int theExpressionSteps = 10000;           ///< its names, numbers, operators
};

class KIT_API TOK_TokenStream
{
public:
    /// Reads an open stream from its position. Null or empty `name` is the stream's own name. Only a
    /// source with a name has a manager.
    TOK_TokenStream(KIT_IStream &stream, const char *name);
    /// Reads a file. `mode` is how deep #include may nest, at most theIncludeDepth; -1 is the most. A
    /// file that can't be read gives an error and no tokens.
    TOK_TokenStream(const char *fileName, int mode);
    virtual ~TOK_TokenStream();
    TOK_TokenStream(const TOK_TokenStream &) = delete;
    TOK_TokenStream &operator=(const TOK_TokenStream &) = delete;

    /// False if the text could not be read.
    bool isReadable() const;

    /// Replaces `token` by the next token and answers 1. At the end of the text answers 0 and leaves
    /// it alone.
    int getToken(KIT_String &token);
    /// Puts a token back, as a copy that getToken() gives before any other, the last one first. The
    /// position stays where it is.
    void ungetToken(const KIT_String &token);

    /// True leaves the backslashes of quoted tokens to the caller. False, the start value, resolves
    /// them (KIT_String::expandControlSequences).
    void setPreserveBackslashes(bool preserve) { myPreserveFlag = preserve; }
    /// Takes the words up to a null one for the options. To be called before the first token.
    void setCPPOptions(const char *const *options);
    /// The folders of the search path behind those of -I, with colons between them. The start value
    /// is the environment variable ZEL_PATH.
    void setIncludePath(const char *folders);

    /// The position of the token read last; null for a source without a name.
    const TOK_Manager *getManager() const { return myManager.get(); }

    /// Where the preprocessor reports, with the place in the text. Base: the thread's current error
    /// manager, common code 14.
    virtual void cppWarning(const char *text);
    virtual void cppError(const char *text);

protected:
    /// Null for a source without a name.
    std::unique_ptr<TOK_Manager> myManager;

private:
    std::unique_ptr<TOK_Preprocessor> myPreprocessor;
    std::vector<KIT_String> myPushedBack; // the last one comes first
    bool myPreserveFlag = false;
};
