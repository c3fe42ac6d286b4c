/// \file TRK_Manager.h
/// The process-wide state of channels: the current time, settings, variables, and the expansion of
/// texts.
///
/// Units:      time in seconds; frame 1 is time 0; 24 frames a second unless set.
/// Ownership:  one for the process. Borrows the interpreter set by setPythonEvaluator.
/// Threads:    settings are atomic values, read by evaluation threads and set by the main thread.
///             Everything else as documented.
/// Errors:     evaluationError reports to the calling thread's error manager; expandString sets
///             EVL::theErrNo of the given thread.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_ValueSource.h>

#include <atomic>
#include <functional>
#include <string_view>

class TRK_Channel;
class TRK_ChannelRef;
class TRK_Collection;

/// What expandString does; a mask.
enum TRK_ExpandFlags : int
{
    TRK_EXPAND_VARIABLES = 1,   ///< $NAME and ${NAME}
    TRK_EXPAND_EXPRESSIONS = 2, ///< expressions in backticks
    TRK_EXPAND_HOME = 4,        ///< "~" alone or before a "/" at the start
    TRK_EXPAND_CODE = 8 | 16    ///< the text is program code; makes no difference
};

/// Set in the result of expandString if the text depends on time.
inline constexpr int TRK_EXPAND_TIME_DEPENDENT = 1 << 15;
/// Set in the result of expandString if anything was replaced.
inline constexpr int TRK_EXPAND_CHANGED = 1;

class KIT_API TRK_Manager
{
public:
    static TRK_Manager &getContext();

    // ---------------------------------------------------------------- //
    /// \name Time   (any thread)
    // ---------------------------------------------------------------- //
    /// The time of the thread's innermost TRK_EvalContext::Scope, else the current time.
    double getEvaluateTime(int thread) const;
    double getCurrentTime() const { return myTime.load(std::memory_order_relaxed); }
    void setCurrentTime(double time) { myTime.store(time, std::memory_order_relaxed); }
    /// The distance below which two times are the same key.
    double getTimeTolerance() const { return 1e-5; }
    double getFPS() const { return myFPS.load(std::memory_order_relaxed); }
    /// Frames a second; a value that is not above 0 is ignored.
    void setFPS(double fps);
    double timeToFrame(double time) const { return time * getFPS() + 1.0; }
    double frameToTime(double frame) const { return (frame - 1.0) / getFPS(); }
    /// The rate that expressions and texts of the calling thread see: that of its innermost
    /// TRK_EvalContext::FrameRate, else the process's.
    double getEvaluateFPS() const;
    double evaluateFrame(double time) const { return time * getEvaluateFPS() + 1.0; }

    // ---------------------------------------------------------------- //
    /// \name Settings
    // ---------------------------------------------------------------- //
    /// True, the default: a value set on a channel becomes a key at once.
    bool getCommitPreference() const { return myCommitFlag.load(std::memory_order_relaxed); }
    void setCommitPreference(bool commit) { myCommitFlag.store(commit, std::memory_order_relaxed); }
    /// True: a key on one component keys the whole tuple. Initially false.
    bool getTupleKeying() const { return myTupleFlag.load(std::memory_order_relaxed); }
    void setTupleKeying(bool tuple) { myTupleFlag.store(tuple, std::memory_order_relaxed); }

    // ---------------------------------------------------------------- //
    /// \name Variables   (any thread)
    // ---------------------------------------------------------------- //
    /// The variables of CON_Manager, without the process's environment.
    bool getGlobalVariable(const KIT_StringRef &name, KIT_String &value) const;
    /// A null value removes the variable.
    void setGlobalVariable(const KIT_StringRef &name, const char *value);
    /// $F $FF $T $FPS $PI $E $OS, then the collection's resolver, then the global variables, then
    /// the process's environment. A flag is set for those that depend on time.
    bool getVariable(const KIT_StringRef &name, double time, const TRK_Collection *collection,
                     KIT_String &value, bool &timeDependent) const;

    // ---------------------------------------------------------------- //
    /// \name Texts   (any thread)
    // ---------------------------------------------------------------- //
    /// Expands a literal text by TRK_ExpandFlags; other bits are ignored. A backslash before a "$"
    /// or a backtick escapes it, two backslashes there mean one; elsewhere a backslash is an
    /// ordinary character. An unknown variable stays as written. An expression that fails, or an
    /// unmatched backtick, sets EVL::theErrNo; the text has nothing in its place. The text is part
    /// of the evaluation in progress, or one of its own: at a limit of it, or if \p subject, which
    /// stands for the text, is being evaluated already, the number is EVL_DEPTH or EVL_CYCLE and the
    /// result is empty. The result is a mask: TRK_EXPAND_CHANGED, TRK_EXPAND_TIME_DEPENDENT.
    int expandString(const char *text, KIT_String &out, double time, TRK_Collection *collection,
                     int thread, int flags = TRK_EXPAND_VARIABLES | TRK_EXPAND_EXPRESSIONS,
                     const void *subject = nullptr) const;
    /// Count what was done for an evaluation in progress: a text read, such as to take a number from
    /// it; a script to run. False: a limit of the evaluation is reached, and EVL_DEPTH is set.
    static bool countTextRead(const char *text, int thread);
    static bool countScriptRun(int thread);
    /// True if the text uses $NAME or ${NAME}.
    static bool scanForVariableInString(const char *text, const char *name);

    /// Whether expandString has to look at it: else it gives the text as it is.
    static bool isExpandable(const char *text, int flags);
    using VariableCall = std::function<void(std::string_view name)>;
    /// Calls \p call for each $NAME and ${NAME} of a text or an expression.
    static void forEachVariable(const char *text, const VariableCall &call);
    /// Whether the name is one that the channel library answers for itself: the time, the node's name, constants.
    static bool isOwnVariable(std::string_view name);
    /// Whether it is one of the time: "F", "T" ...
    static bool isTimeVariable(std::string_view name);
    /// Fails the evaluation in progress, for a value source that can't answer.
    static void raiseError(int error, int thread);

    using ExpressionCall = std::function<void(std::string_view expression)>;
    /// Calls \p call for each expression in the backticks of a literal text, as expanding it finds them; each
    /// is a part of \p text.
    static void forEachExpression(const char *text, const ExpressionCall &call);
    using ReferenceCall = std::function<void(const KIT_StringRef &path, const KIT_StringRef &name)>;
    /// Calls \p call for each reference by a literal name in an expression.
    static void forEachReference(const char *expression, const ReferenceCall &call);
    /// Calls \p call for each reference in the backticks of a literal text.
    static void buildStringOpDependencies(const char *text, const ReferenceCall &call);
    /// Reports to the collection's path resolver what a literal text refers to: the references in
    /// its backticks, or if there are none, all of it if that is a node's path with a "/", else each of its words
    /// that is (TRK_NodePaths).
    static void buildStringOpDependencies(const char *text, const TRK_Referrer &from,
                                          const TRK_Collection *collection, int thread);
    /// Rewrites the paths of references in an expression, or in the backticks of a literal text:
    /// the path \p from and those below it become \p to, in the spelling of their places. Returns the
    /// number of changes.
    static int changeStringOpRef(KIT_String &text, const char *from, const char *to);
    /// The same in a literal text for a node that was renamed, both by its full path and by the
    /// path relative to \p collection's node: in its backticks or, if there are none, in its words
    /// that contain a "/". With a \p name only references that end in it. Null paths change
    /// nothing; so do those that the text can't hold. \p thread has no effect.
    static int changeStringOpRef(KIT_String &text, const char *oldFullPath, const char *newFullPath,
                                 const char *oldRelativePath, const char *newRelativePath,
                                 const char *name, const TRK_Collection *collection, int thread);

    // ---------------------------------------------------------------- //
    /// \name Other services
    // ---------------------------------------------------------------- //
    /// Whether the calling thread is evaluating an expression.
    static bool isEvaluating();
    /// Fills in a reference to a channel. False for null or a channel without a collection.
    bool fillChannelRef(TRK_ChannelRef &ref, TRK_Channel *channel) const;
    /// Reports an EVL number as KITaddError("TRK", error, text). 0 is not reported.
    void evaluationError(int error, int thread, const char *text) const;
    /// Sets the evaluator of expressions of language 1; by default the host's Python, which
    /// registers when the library is loaded. Null, as in a build without Python: they give 0 and
    /// EVL::EVL_NO_LANGUAGE. Call it while no thread evaluates.
    void setPythonEvaluator(TRK_LanguageEvaluator *evaluator)
    {
        myPython.store(evaluator, std::memory_order_release);
    }
    TRK_LanguageEvaluator *getPythonEvaluator() const
    {
        return myPython.load(std::memory_order_acquire);
    }

private:
    TRK_Manager() = default;

    std::atomic<double> myTime{0.0};
    std::atomic<double> myFPS{24.0};
    std::atomic<bool> myCommitFlag{true};
    std::atomic<bool> myTupleFlag{false};
    std::atomic<TRK_LanguageEvaluator *> myPython{nullptr};
};
