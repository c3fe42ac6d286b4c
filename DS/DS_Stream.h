/// \file DS_Stream.h
/// What every parser of the dialog-script language reads through: tokens, brace blocks, messages.
///
/// Vocabulary: *token* = a text as the script means it, its backslashes resolved; TOK_TokenStream.h
///             describes how a script is split into tokens. *block* = the tokens between `{` and
///             its `}`. *reduced* = files can't be included (no -h, -H among the options).
/// Ownership:  owns its messages and the text; a KIT_IStream is read whole on opening.
/// Threads:    used by a single thread for its whole life.
/// Errors:     error(), warning() and message() print to the standard error stream, or to a sink if
///             one is set (setOwnSink, setMessageSink), and keep the text under common code 14. With
///             setDetails() they also keep the place of the token that was read last, with its columns,
///             and the includes that led to it. None of them
///             stops reading: the caller decides. Preprocessor messages go to the thread's current
///             error manager instead.
/// Cost:       a block or message below 2,000 bytes allocates nothing but the result.

#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <TOK/TOK_TokenStream.h>
#include <ZEL/ZEL_API.h>

#include <memory>

struct KIT_MessageDetail;

class ZEL_API DS_Stream : public TOK_TokenStream
{
public:
    /// Reads from an open stream; `name` is shown in messages; without a name messages have no file
    /// and line.
    DS_Stream(KIT_IStream &stream, const char *name, bool reduced);
    /// Reads a file; `mode` as in TOK_TokenStream, -1 for the usual one.
    DS_Stream(const char *fileName, int mode);
    ~DS_Stream() override;

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// Replaces `token` by the next token and returns 1; at the end returns 0 and leaves `token`
    /// alone. A token that was put back is unescaped a second time.
    int getToken(KIT_String &token);
    /// Consumes one token, whatever it is, and returns whether it is "{". Reports nothing.
    int getOpenBrace();
    /// Reads a block with the blocks inside it. Each token is followed by `separator`; an empty
    /// block gives one separator. `protect` writes tokens in double quotes with escapes. Returns 0,
    /// with an empty `result`, without an opening brace, and, after reporting an error, when the
    /// text ends first. The token that closes the block is dropped entirely, even if it holds more
    /// than the brace.
    int parseBlock(KIT_String &result, char separator, bool protect);

    // ---------------------------------------------------------------- //
    /// \name Messages
    // ---------------------------------------------------------------- //
    void error(const char *text);
    void warning(const char *text);
    void message(const char *text);

    /// Clears the messages of the thread's current error manager, then this stream's.
    void clearErrors();
    /// Replaces `out` by the messages of at least that severity, one a line; returns their number.
    int getErrorMessages(KIT_String &out, KIT_ErrorSeverity severity);
    /// The highest severity reported.
    KIT_ErrorSeverity getErrorSeverity() { return myErrors.getSeverity(); }
    /// Moves all messages of another stream to the end of this one's.
    void stealErrors(DS_Stream &other);

    /// Whether messages get a KIT_MessageDetail; false until it is called. Must be called before the
    /// first token.
    void setDetails(bool wanted);
    /// The same for all streams of the process that are made from now on.
    static void setAllDetails(bool wanted);
    /// That of the token read last, or during a report of the preprocessor of what that is about; null
    /// without setDetails(). For sinks and overrides of cppError(): that of the message they receive.
    std::shared_ptr<const KIT_MessageDetail> makeDetail() const;

    /// The stream whose message the calling thread's sink receives just now; null at any other time.
    static const DS_Stream *getReporting();
    /// Receives the messages of all streams of the process instead of the standard error stream.
    /// `file` is null and `line` 0 for a source without a name; `text` is the message without
    /// severity, file and line.
    using MessageSink = void (*)(void *data, KIT_ErrorSeverity severity, const char *file, int line,
                                 const char *text);
    /// Null, the default: the standard error stream. Set it before starting threads that read
    /// scripts.
    static void setMessageSink(MessageSink sink, void *data);
    /// Receives this stream's messages alone, instead of that one; null, the default, for none.
    void setOwnSink(MessageSink sink, void *data)
    {
        myOwnSink = sink;
        myOwnSinkData = data;
    }

private:
    void report(KIT_ErrorSeverity severity, const char *word, const char *text);

    KIT_ErrorManager myErrors;
    MessageSink myOwnSink = nullptr;
    void *myOwnSinkData = nullptr;
    bool myDetailsFlag = false;
};
