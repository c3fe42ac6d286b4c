/// \file KIT_ErrorManager.h
/// Collects messages for people: a list of errors, one current list for each thread.
///
/// Vocabulary: *category* = which part the code belongs to ("ZEL", "TRK", "Common"); *code* = the
///             number of the sentence in the catalogue (KIT_MessageCatalogue.h); *text* = what is
///             put into the sentence; *detail* = the place of the mistake and what is known of it, where
///             the reporter was asked for it; *current manager* = the one that receives a thread's reports;
///             *scope* = a manager that is current while it exists.
/// Units:      indices from 0, in the order of reporting. Severities are ordered.
/// Ownership:  owns its errors. A scope holds its manager by value.
/// Threads:    one manager belongs to one thread.
/// Errors:     none of its own. At most theMaxErrors messages are kept; later ones are counted in
///             one last entry (common code 15), which keeps their highest severity.
/// Cost:       opening and closing a scope, and reading the severity, take no lock and no heap.

#pragma once

#include <BAS/BAS_API.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class KIT_String;
struct KIT_MessageDetail;

enum KIT_ErrorSeverity
{
    KIT_ERROR_NONE = 0,    ///< nothing happened
    KIT_ERROR_MESSAGE = 1, ///< information
    KIT_ERROR_PROMPT = 2,  ///< a question
    KIT_ERROR_WARNING = 3, ///< done, but not as wanted
    KIT_ERROR_ABORT = 4,   ///< not done; stream operations stop here
    KIT_ERROR_FATAL = 5    ///< not done, and the caller's code is wrong
};

/// The codes of the category "Common", which serve every class; KIT_Messages.def has the row of each.
enum KIT_CommonErrorCode
{
#define KIT_COMMON_MESSAGE(enumerator, number, severity, sentence) enumerator = number,
#include <KIT/KIT_Messages.def>
};

/// The name of the category of KIT_CommonErrorCode.
constexpr const char *theKITCommonCategory = "Common";

class KIT_API KIT_ErrorManager
{
public:
    struct Error
    {
        std::string category;
        int code = 0;
        std::string text;
        KIT_ErrorSeverity severity = KIT_ERROR_NONE;
        std::shared_ptr<const KIT_MessageDetail> detail; ///< null without one
    };

    /// A flag: what is reported to the manager is discarded, its severity included.
    static constexpr unsigned theDiscardFlag = 0x4;
    /// A flag: what is reported gets the place that the thread reads at (KIT_MessageSource.h). A scope
    /// has it from the manager before.
    static constexpr unsigned theDetailsFlag = 0x8;
    /// How many messages are kept besides the entry that counts the rest.
    static constexpr int64_t theMaxErrors = 1000;

    class Scope;

    KIT_ErrorManager() = default;
    KIT_ErrorManager(const KIT_ErrorManager &) = delete;
    KIT_ErrorManager &operator=(const KIT_ErrorManager &) = delete;

    int64_t entries() const { return static_cast<int64_t>(myErrors.size()); }
    /// The index must be valid.
    const Error &getError(int64_t index) const { return myErrors[static_cast<size_t>(index)]; }
    /// The highest severity in the list.
    KIT_ErrorSeverity getSeverity() const { return mySeverity; }
    void setFlags(unsigned flags) { myFlags = flags; }
    unsigned getFlags() const { return myFlags; }
    /// Whether the detail of a message that is added now would be kept.
    bool wantsDetails() const
    {
        return (myFlags & (theDetailsFlag | theDiscardFlag)) == theDetailsFlag && myDropped == 0 &&
               entries() < theMaxErrors;
    }

    /// Adds an error. Null category and text are "".
    void add(const char *category, int code, const char *text, KIT_ErrorSeverity severity);
    /// The same with a detail, which may be null; the one without asks the thread's sources for it.
    void add(const char *category, int code, const char *text, KIT_ErrorSeverity severity,
             std::shared_ptr<const KIT_MessageDetail> detail);
    /// Add with the category "Common" and the severity 4, 3 or 1.
    void commonError(int code, const char *text = nullptr);
    void commonWarning(int code, const char *text = nullptr);
    void commonMessage(int code, const char *text = nullptr);

    void clearAndDestroyErrors();
    /// Replaces `out` by one line for each error of at least that severity, and returns their
    /// number: `Warning (ZEL 2): the sentence with its text`, each with a line feed; without a
    ///         category
    /// `Warning: ...`. The severities are named Message, Prompt, Warning, Error and Fatal error.
    int getErrorMessages(KIT_String &out, KIT_ErrorSeverity minimum = KIT_ERROR_MESSAGE,
                         bool withCategory = true) const;
    /// Moves the errors `first` to `last` (inclusive; -1 means the last one) of at least that
    /// severity to the end of this list, in order. With `copy` they also stay in `from`.
    void stealErrors(KIT_ErrorManager &from, int first = 0, int last = -1,
                     KIT_ErrorSeverity minimum = KIT_ERROR_NONE, bool copy = false);

    /// The name that a severity is printed as.
    static const char *getSeverityName(KIT_ErrorSeverity severity);

private:
    void countDropped(KIT_ErrorSeverity severity, int64_t count);
    void takeError(const Error &error, int64_t dropped);
    void updateSeverity();

    std::vector<Error> myErrors;
    KIT_ErrorSeverity mySeverity = KIT_ERROR_NONE;
    unsigned myFlags = 0;
    int64_t myDropped = 0; // above 0: counted by the last entry
};

/// Makes a manager the thread's current one while it exists. Scopes nest and end in reverse order;
/// errors that were not stolen from the manager by then are discarded.
class KIT_API KIT_ErrorManager::Scope
{
public:
    /// `thread` is the calling thread's id; a scope always serves the thread that opens it.
    explicit Scope(int thread);
    ~Scope();
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

    KIT_ErrorManager &getManager() { return myManager; }
    /// The manager that was current before, and will be again.
    KIT_ErrorManager &getOuterManager();
    int getThread() const { return myThread; }
    /// The manager's flags.
    void setFlags(unsigned flags) { myManager.setFlags(flags); }
    unsigned getFlags() const { return myManager.getFlags(); }

private:
    KIT_ErrorManager myManager;
    KIT_ErrorManager *myOuter; // null: the thread's own, which may not exist yet
    int myThread;
};

/// The calling thread's current manager: that of its innermost scope, or its own.
KIT_API KIT_ErrorManager &KITgetErrorManager();
