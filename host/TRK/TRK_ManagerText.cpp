#include <TRK/TRK_Manager.h>

#include <CON/CON_Manager.h>
#include <EVL/EVL.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_NodePaths.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace
{

constexpr const char *theBlanks = " \t\r\n";

/// Raises the error of an evaluation that isn't within its limits.
bool within(bool limits, int thread)
{
    if (!limits) {
        TRK_EvalState::raise(EVL::EVL_DEPTH, thread);
    }
    return limits;
}

/// Expands one text from left to right. Its first expression makes it an evaluation, or a part of
/// the one in progress.
class Expander
{
public:
    Expander(double time, TRK_Collection *collection, int thread, int flags, const void *subject)
        : myTime(time), myCollection(collection), mySubject(subject), myThread(thread),
          myFlags(flags)
    {}

    /// False: the evaluation ended at a limit or in a cycle; the error has been raised.
    bool expand(const char *text)
    {
        if (*text == '~' && has(TRK_EXPAND_HOME)) {
            text += takeHome(text);
        }
        while (*text != '\0' && !myEndFlag) {
            const size_t plain = std::strcspn(text, "\\$`");
            myOut.append(text, plain);
            text += plain;
            if (*text == '\\') {
                text += takeBackslashes(text);
            } else if (*text == '$') {
                text += takeVariable(text);
            } else if (*text == '`') {
                text += takeExpression(text);
            }
        }
        return !myEndFlag;
    }

    const KIT_WorkBuffer &result() const { return myOut; }
    int mask() const { return myMask; }

private:
    bool has(int flag) const { return (myFlags & flag) != 0; }

    /// Appends what a variable or expression stands for.
    void appendValue(const KIT_String &value, bool timeDependent)
    {
        TRK_EvalThread &self = theTRKEvalThread;
        const size_t length = value.length();
        myGained += length;
        if (myGained > TRK_Limits::theStringLength ||
            (self.innermost != nullptr && !self.countMaking(length))) {
            myEndFlag = !within(false, myThread);
            return;
        }
        myOut.append(value.nonNullStr(), length);
        myMask |= TRK_EXPAND_CHANGED | (timeDependent ? TRK_EXPAND_TIME_DEPENDENT : 0);
    }

    size_t takeHome(const char *text)
    {
        KIT_String home;
        const bool wholeFlag = text[1] == '\0' || text[1] == '/';
        if (!wholeFlag || !takeEnvironment("HOME", home)) {
            return 0;
        }
        myOut.append(home.nonNullStr());
        myMask |= TRK_EXPAND_CHANGED;
        return 1;
    }

    bool takeEnvironment(const char *name, KIT_String &value) const
    {
        TRK_PathResolver *resolver =
            myCollection != nullptr ? myCollection->getPathResolver() : nullptr;
        return resolver != nullptr ? resolver->getEnvironment(name, value)
                                   : CON_Manager::getContext().getEnv(name, value);
    }

    size_t takeBackslashes(const char *text)
    {
        const size_t count = std::strspn(text, "\\");
        const char next = text[count];
        const bool protectFlag = (next == '$' && has(TRK_EXPAND_VARIABLES)) ||
                                 (next == '`' && has(TRK_EXPAND_EXPRESSIONS));
        if (!protectFlag) {
            myOut.appendRepeated('\\', int64_t(count));
            return count;
        }
        myMask |= TRK_EXPAND_CHANGED;
        myOut.appendRepeated('\\', int64_t(count / 2));
        if (count % 2 == 0) {
            return count;
        }
        myOut.append(next);
        return count + 1;
    }

    size_t takeVariable(const char *text)
    {
        std::string_view name;
        const size_t length = has(TRK_EXPAND_VARIABLES) ? TRKscanVariable(text, name) : 0;
        if (length == 0) {
            myOut.append('$');
            return 1;
        }
        KIT_WorkBuffer word;
        word.append(name);
        KIT_String value;
        bool timeDependent = false;
        if (TRK_Manager::getContext().getVariable(KIT_StringRef(word.buffer(), word.length()),
                                                  myTime, myCollection, value, timeDependent)) {
            appendValue(value, timeDependent);
        } else {
            myOut.append(text, length);
        }
        return length;
    }

    size_t takeExpression(const char *text)
    {
        if (!has(TRK_EXPAND_EXPRESSIONS)) {
            myOut.append('`');
            return 1;
        }
        const char *end = TRKfindClosingBacktick(text + 1);
        if (end == nullptr) {
            TRK_EvalState::raise(EVL::EVL_SYNTAX, myThread);
            myOut.append('`');
            return 1;
        }
        if (!myGuard) {
            myGuard.emplace(mySubject, myThread);
            myEndFlag = !myGuard->mayRun();
        }
        if (myEndFlag) {
            return 1;
        }
        KIT_WorkBuffer expression;
        expression.append(text + 1, static_cast<size_t>(end - text) - 1);
        KIT_String value;
        TRK_EvalState state{myCollection, nullptr, myTime, myThread, false};
        const bool goodFlag = TRK_Expression::evaluateRecentText(expression.buffer(), state, value);
        const int error = goodFlag ? EVL::EVL_OK : theTRKEvalThread.lastError;
        myEndFlag = error == EVL::EVL_DEPTH || error == EVL::EVL_CYCLE;
        if (!myEndFlag) {
            appendValue(value, state.timeDependent);
        }
        return static_cast<size_t>(end - text) + 1;
    }

    double myTime;
    TRK_Collection *myCollection;
    const void *mySubject;
    int myThread;
    int myFlags;
    int myMask = 0;
    size_t myGained = 0; ///< bytes of values
    bool myEndFlag = false;
    std::optional<TRK_EvalGuard> myGuard;
    KIT_WorkBuffer myOut;
};

/// Which references get a new path.
struct PathChange
{
    const char *from;
    const char *to;
    const char *name; ///< only references that end in it; null: all

    bool isUsable() const { return from != nullptr && *from != '\0' && to != nullptr; }
    bool concerns(std::string_view path) const
    {
        const std::string_view prefix(from);
        const bool startFlag =
            path.substr(0, prefix.size()) == prefix &&
            (path.size() == prefix.size() || path[prefix.size()] == '/' || prefix.back() == '/');
        return startFlag &&
               (name == nullptr || path.substr(path.rfind('/') + 1) == std::string_view(name));
    }
    /// The new path.
    std::string changed(std::string_view path) const
    {
        return std::string(to).append(path.substr(std::strlen(from)));
    }
};

/// Rewrites the paths in a text.
int changePaths(KIT_String &text, TRK_NodePaths::Form form, const TRK_Collection *collection,
                const PathChange &change)
{
    std::string changed = text.toStdString();
    const bool blankFlag = std::strpbrk(change.from, theBlanks) != nullptr;
    const auto rewrite = [&](std::string &path) {
        const bool wholeFlag = blankFlag || path.find_first_of(theBlanks) == std::string::npos ||
                               form != TRK_NodePaths::Form::TEXT;
        const bool concernsFlag = wholeFlag && change.concerns(path);
        path = concernsFlag ? change.changed(path) : path;
        return concernsFlag;
    };
    const int count =
        TRK_NodePaths::forEach(changed, form, collection, rewrite, TRK_NodePaths::Part::ALL)
            .changed;
    if (count > 0) {
        text = changed;
    }
    return count;
}

} // namespace

/// Two searches that use wide registers are faster than one for a set.
bool TRK_Manager::isExpandable(const char *text, int flags)
{
    return std::strchr(text, '$') != nullptr || std::strchr(text, '`') != nullptr ||
           (*text == '~' && (flags & TRK_EXPAND_HOME) != 0);
}

int TRK_Manager::expandString(const char *text, KIT_String &out, double time,
                              TRK_Collection *collection, int thread, int flags,
                              const void *subject) const
{
    if (text == nullptr || !isExpandable(text, flags)) {
        out = text != nullptr ? text : "";
        return 0;
    }
    Expander expander(time, collection, thread, flags, subject);
    if (expander.expand(text)) {
        expander.result().copyIntoString(out);
    } else {
        out = "";
    }
    return expander.mask();
}

bool TRK_Manager::countTextRead(const char *text, int thread)
{
    TRK_EvalThread &self = theTRKEvalThread;
    return self.innermost == nullptr ||
           within(self.count(TRK_Costs::theText) && self.countMaking(std::strlen(text)), thread);
}

bool TRK_Manager::countScriptRun(int thread)
{
    TRK_EvalThread &self = theTRKEvalThread;
    return self.innermost == nullptr || within(self.count(TRK_Costs::theScript), thread);
}

bool TRK_Manager::scanForVariableInString(const char *text, const char *name)
{
    if (text == nullptr || name == nullptr) {
        return false;
    }
    for (const char *c = std::strchr(text, '$'); c != nullptr; c = std::strchr(c + 1, '$')) {
        std::string_view found;
        if (TRKscanVariable(c, found) != 0 && found == name) {
            return true;
        }
    }
    return false;
}

void TRK_Manager::forEachVariable(const char *text, const VariableCall &call)
{
    std::string_view name;
    for (const char *c = text != nullptr ? std::strchr(text, '$') : nullptr; c != nullptr;
         c = std::strchr(c + 1, '$')) {
        if (TRKscanVariable(c, name) != 0) {
            call(name);
        }
    }
}

bool TRK_Manager::isTimeVariable(std::string_view name)
{
    return TRKisTimeVariable(name);
}

bool TRK_Manager::isOwnVariable(std::string_view name)
{
    return TRKisTimeVariable(name) || name == "OS" || name == "FPS" || name == "PI" || name == "E";
}

void TRK_Manager::raiseError(int error, int thread)
{
    TRK_EvalState::raise(error, thread);
}

void TRK_Manager::forEachReference(const char *expression, const ReferenceCall &call)
{
    const std::unique_ptr<TRK_Expression> compiled(TRK_Expression::compile(expression));
    for (const TRK_Expression::Reference &reference : compiled->getReferences()) {
        call(reference.path, reference.name);
    }
}

void TRK_Manager::forEachExpression(const char *text, const ExpressionCall &call)
{
    TRKforEachBacktick(text, [&call](const char *begin, const char *end) {
        call(std::string_view(begin, std::size_t(end - begin)));
    });
}

void TRK_Manager::buildStringOpDependencies(const char *text, const ReferenceCall &call)
{
    forEachExpression(text, [&call](std::string_view expression) {
        forEachReference(std::string(expression).c_str(), call);
    });
}

void TRK_Manager::buildStringOpDependencies(const char *text, const TRK_Referrer &from,
                                            const TRK_Collection *collection, int thread)
{
    TRK_PathResolver *resolver = collection != nullptr ? collection->getPathResolver() : nullptr;
    if (text == nullptr || resolver == nullptr) {
        return;
    }
    if (TRK_NodePaths::hasExpression(text)) {
        buildStringOpDependencies(text, [&](const KIT_StringRef &path, const KIT_StringRef &name) {
            resolver->referenceFound(from, path, name, thread);
        });
        return;
    }
    std::string words(text);
    TRK_NodePaths::forEach(words, TRK_NodePaths::Form::TEXT, collection,
                           [&](const std::string &word) {
                               const KIT_StringHolder path(word);
                               const bool foundFlag = resolver->findCollection(path) != nullptr;
                               if (foundFlag) {
                                   resolver->referenceFound(from, path, KIT_StringRef(), thread);
                               }
                               return foundFlag;
                           });
}

int TRK_Manager::changeStringOpRef(KIT_String &text, const char *from, const char *to)
{
    const PathChange change{from, to, nullptr};
    if (!change.isUsable() || text.isEmpty()) {
        return 0;
    }
    const bool textFlag = TRK_NodePaths::hasExpression(text.c_str());
    return changePaths(text, textFlag ? TRK_NodePaths::Form::TEXT : TRK_NodePaths::Form::NATIVE,
                       nullptr, change);
}

int TRK_Manager::changeStringOpRef(KIT_String &text, const char *oldFullPath,
                                   const char *newFullPath, const char *oldRelativePath,
                                   const char *newRelativePath, const char *name,
                                   const TRK_Collection *collection, int)
{
    if (text.isEmpty()) {
        return 0;
    }
    const PathChange changes[] = {{oldFullPath, newFullPath, name},
                                  {oldRelativePath, newRelativePath, name}};
    int count = 0;
    for (const PathChange &change : changes) {
        if (change.isUsable()) {
            count += changePaths(text, TRK_NodePaths::Form::TEXT, collection, change);
        }
    }
    return count;
}
