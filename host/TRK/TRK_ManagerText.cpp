#include <TRK/TRK_Manager.h>

#include <BAS/BAS_Character.h>
#include <CON/CON_Manager.h>
#include <EVL/EVL.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace
{

constexpr const char *theBlanks = " \t\r\n";

/// Two searches that use wide registers are faster than one for a set.
bool isExpandable(const char *text)
{
    return std::strchr(text, '$') != nullptr || std::strchr(text, '`') != nullptr;
}

/// A variable's name at a "$"; returns the length of the whole, 0 if there is none.
size_t scanVariable(const char *text, std::string_view &name)
{
    const bool braceFlag = text[1] == '{';
    const char *start = text + (braceFlag ? 2 : 1);
    if (!BASisNameStart(*start)) {
        return 0;
    }
    const char *end = start;
    while (BASisWordChar(*end)) {
        ++end;
    }
    if (braceFlag && *end != '}') {
        return 0;
    }
    name = std::string_view(start, static_cast<size_t>(end - start));
    return static_cast<size_t>(end - text) + (braceFlag ? 1 : 0);
}

/// The backtick that ends an expression, ignoring quoted ones. Null if there is none.
const char *findClosingBacktick(const char *text)
{
    char quote = '\0';
    for (; *text != '\0'; ++text) {
        if (*text == '\\' && text[1] != '\0') {
            ++text;
        } else if (quote != '\0') {
            quote = *text == quote ? '\0' : quote;
        } else if (*text == '"' || *text == '\'') {
            quote = *text;
        } else if (*text == '`') {
            return text;
        }
    }
    return nullptr;
}

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
        if (!wholeFlag || !CON_Manager::getContext().getEnv("HOME", home)) {
            return 0;
        }
        myOut.append(home.nonNullStr());
        myMask |= TRK_EXPAND_CHANGED;
        return 1;
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
        const size_t length = has(TRK_EXPAND_VARIABLES) ? scanVariable(text, name) : 0;
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
        const char *end = findClosingBacktick(text + 1);
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

/// Calls \p call for each expression in the backticks of a literal text.
template <class F>
void forEachBacktick(const char *text, F call)
{
    while (text != nullptr && *text != '\0') {
        if (*text == '\\' && text[1] != '\0') {
            text += 2;
            continue;
        }
        const char *end = *text == '`' ? findClosingBacktick(text + 1) : nullptr;
        if (end == nullptr) {
            ++text;
            continue;
        }
        call(text + 1, end);
        text = end + 1;
    }
}

/// Calls \p call for each word between blanks that contains a "/".
template <class F>
void forEachPathWord(const char *text, F call)
{
    while (*text != '\0') {
        const char *begin = text + std::strspn(text, theBlanks);
        text = begin + std::strcspn(begin, theBlanks);
        if (std::memchr(begin, '/', static_cast<size_t>(text - begin)) != nullptr) {
            call(begin, text);
        }
    }
}

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

/// Calls \p call with start and length of each literal argument of ch, chs and the like in one expression.
/// It may replace the argument, and returns the length of what is there afterwards.
template <class F>
void forEachArgument(const std::string &expression, F call)
{
    size_t at = 0;
    while ((at = expression.find("ch", at)) != std::string::npos) {
        const bool wordFlag = at == 0 || !BASisWordChar(expression[at - 1]);
        size_t open = at + 2;
        while (open < expression.size() && BASisWordChar(expression[open])) {
            ++open;
        }
        at = open;
        open = expression.find_first_not_of(theBlanks, open);
        if (!wordFlag || open == std::string::npos || expression[open] != '(') {
            continue;
        }
        const size_t quote = expression.find_first_not_of(theBlanks, open + 1);
        if (quote == std::string::npos || (expression[quote] != '"' && expression[quote] != '\'')) {
            continue;
        }
        const size_t end = expression.find(expression[quote], quote + 1);
        if (end != std::string::npos) {
            at = quote + 1 + call(quote + 1, end - quote - 1);
        }
    }
}

/// Rewrites the literal arguments in one expression.
int changePaths(std::string &expression, const PathChange &change)
{
    int count = 0;
    forEachArgument(expression, [&](size_t start, size_t length) {
        const std::string path = expression.substr(start, length);
        if (!change.concerns(path)) {
            return length;
        }
        const std::string changed = change.changed(path);
        expression.replace(start, length, changed);
        ++count;
        return changed.size();
    });
    return count;
}

/// Rewrites the expressions in the backticks of a literal text.
int changeBackticks(std::string &text, const PathChange &change)
{
    std::string result;
    int count = 0;
    const char *copied = text.c_str();
    forEachBacktick(text.c_str(), [&](const char *begin, const char *end) {
        std::string expression(begin, end);
        count += changePaths(expression, change);
        result.append(copied, begin);
        result += expression;
        copied = end;
    });
    result += copied;
    text = result;
    return count;
}

/// Rewrites the words of a literal text that are paths.
int changeWords(std::string &text, const PathChange &change)
{
    std::string result;
    int count = 0;
    const char *copied = text.c_str();
    forEachPathWord(text.c_str(), [&](const char *begin, const char *end) {
        const std::string_view word(begin, static_cast<size_t>(end - begin));
        if (change.concerns(word)) {
            result.append(copied, begin);
            result += change.changed(word);
            copied = end;
            ++count;
        }
    });
    result += copied;
    text = result;
    return count;
}

bool hasBacktick(const char *text)
{
    return std::strchr(text, '`') != nullptr;
}

} // namespace

int TRK_Manager::expandString(const char *text, KIT_String &out, double time,
                              TRK_Collection *collection, int thread, int flags,
                              const void *subject) const
{
    const bool homeFlag = text != nullptr && *text == '~' && (flags & TRK_EXPAND_HOME) != 0;
    if (text == nullptr || (!homeFlag && !isExpandable(text))) {
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
        if (scanVariable(c, found) != 0 && found == name) {
            return true;
        }
    }
    return false;
}

void TRK_Manager::forEachReference(const char *expression, const ReferenceCall &call)
{
    const std::unique_ptr<TRK_Expression> compiled(TRK_Expression::compile(expression));
    for (const TRK_Expression::Reference &reference : compiled->getReferences()) {
        call(reference.path, reference.name);
    }
}

void TRK_Manager::forEachExpressionPath(const char *expression, const PathCall &call)
{
    const std::string text(expression ? expression : "");
    forEachArgument(text, [&](size_t start, size_t length) {
        const std::string_view argument(text.data() + start, length);
        const size_t slash = argument.rfind('/');
        if (slash != std::string_view::npos) {
            call(argument.substr(0, slash == 0 ? 1 : slash));
        }
        return length;
    });
}

void TRK_Manager::forEachTextPath(const char *text, const PathCall &call)
{
    if (text && hasBacktick(text)) {
        forEachBacktick(text, [&](const char *begin, const char *end) {
            forEachExpressionPath(std::string(begin, end).c_str(), call);
        });
    } else if (text) {
        forEachPathWord(text, [&](const char *begin, const char *end) {
            call(std::string_view(begin, static_cast<size_t>(end - begin)));
        });
    }
}

void TRK_Manager::buildStringOpDependencies(const char *text, const ReferenceCall &call)
{
    forEachBacktick(text, [&call](const char *begin, const char *end) {
        forEachReference(std::string(begin, end).c_str(), call);
    });
}

void TRK_Manager::buildStringOpDependencies(const char *text, const TRK_Referrer &from,
                                            const TRK_Collection *collection, int thread)
{
    TRK_PathResolver *resolver = collection != nullptr ? collection->getPathResolver() : nullptr;
    if (text == nullptr || resolver == nullptr) {
        return;
    }
    if (hasBacktick(text)) {
        buildStringOpDependencies(text, [&](const KIT_StringRef &path, const KIT_StringRef &name) {
            resolver->referenceFound(from, path, name, thread);
        });
        return;
    }
    forEachPathWord(text, [&](const char *begin, const char *end) {
        const KIT_StringHolder path(begin, static_cast<size_t>(end - begin));
        if (resolver->findCollection(path) != nullptr) {
            resolver->referenceFound(from, path, KIT_StringRef(), thread);
        }
    });
}

int TRK_Manager::changeStringOpRef(KIT_String &text, const char *from, const char *to)
{
    const PathChange change{from, to, nullptr};
    if (!change.isUsable() || text.isEmpty()) {
        return 0;
    }
    std::string changed = text.toStdString();
    const int count =
        hasBacktick(text.c_str()) ? changeBackticks(changed, change) : changePaths(changed, change);
    if (count > 0) {
        text = changed;
    }
    return count;
}

int TRK_Manager::changeStringOpRef(KIT_String &text, const char *oldFullPath,
                                   const char *newFullPath, const char *oldRelativePath,
                                   const char *newRelativePath, const char *name,
                                   const TRK_Collection *, int)
{
    if (text.isEmpty()) {
        return 0;
    }
    const PathChange changes[] = {{oldFullPath, newFullPath, name},
                                  {oldRelativePath, newRelativePath, name}};
    const bool backtickFlag = hasBacktick(text.c_str());
    std::string changed = text.toStdString();
    int count = 0;
    for (const PathChange &change : changes) {
        if (change.isUsable()) {
            count += backtickFlag ? changeBackticks(changed, change) : changeWords(changed, change);
        }
    }
    if (count > 0) {
        text = changed;
    }
    return count;
}
