#include <TRK/TRK_Manager.h>

#include <BAS/BAS_Number.h>
#include <EVL/EVL.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace
{

bool isNameStart(char c)
{
    return BASisWordChar(c) && !(c >= '0' && c <= '9');
}

/// A variable's name at a "$"; the length of the whole, 0 if none is there.
size_t scanVariable(const char *text, bool bracesOnly, std::string_view &name)
{
    const bool braceFlag = text[1] == '{';
    const char *start = text + (braceFlag ? 2 : 1);
    if (!isNameStart(*start) || (bracesOnly && !braceFlag)) {
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

/// The backtick that ends an expression; quoted ones do not count. Null if there is none.
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

/// Expands one text from left to right.
class Expander
{
public:
    Expander(double time, TRK_Collection *collection, int thread, int flags)
        : myTime(time), myCollection(collection), myThread(thread), myFlags(flags)
    {}

    void expand(const char *text)
    {
        while (*text != '\0') {
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
    }

    const std::string &result() const { return myOut; }
    int mask() const { return myMask; }

private:
    bool has(int flag) const { return (myFlags & flag) != 0; }

    size_t takeBackslashes(const char *text)
    {
        const size_t count = std::strspn(text, "\\");
        const char next = text[count];
        const bool protectFlag = (next == '$' && has(TRK_EXPAND_VARIABLES)) ||
                                 (next == '`' && has(TRK_EXPAND_EXPRESSIONS));
        if (!protectFlag || has(TRK_EXPAND_NO_ESCAPES)) {
            myOut.append(count, '\\');
            return count;
        }
        myMask |= TRK_EXPAND_CHANGED;
        myOut.append(count / 2, '\\');
        if (count % 2 == 0) {
            return count;
        }
        myOut += next;
        return count + 1;
    }

    size_t takeVariable(const char *text)
    {
        std::string_view name;
        const size_t length =
            has(TRK_EXPAND_VARIABLES) ? scanVariable(text, has(TRK_EXPAND_BRACES_ONLY), name) : 0;
        if (length == 0) {
            myOut += '$';
            return 1;
        }
        KIT_String value;
        bool timeDependent = false;
        if (TRK_Manager::getContext().getVariable(KIT_StringHolder(std::string(name)), myTime,
                                                  myCollection, value, timeDependent)) {
            myOut.append(value.nonNullStr());
            myMask |= TRK_EXPAND_CHANGED | (timeDependent ? TRK_EXPAND_TIME_DEPENDENT : 0);
        } else {
            myOut.append(text, length);
        }
        return length;
    }

    size_t takeExpression(const char *text)
    {
        if (!has(TRK_EXPAND_EXPRESSIONS)) {
            myOut += '`';
            return 1;
        }
        const char *end = findClosingBacktick(text + 1);
        if (end == nullptr) {
            TRK_EvalState::raise(EVL::EVL_SYNTAX, myThread);
            myOut += '`';
            return 1;
        }
        const std::string expression(text + 1, end);
        KIT_String value;
        bool timeDependent = false;
        TRK_Expression::evaluateTextString(expression.c_str(), myTime, myCollection, myThread,
                                           value, &timeDependent);
        myOut.append(value.nonNullStr());
        myMask |= TRK_EXPAND_CHANGED | (timeDependent ? TRK_EXPAND_TIME_DEPENDENT : 0);
        return static_cast<size_t>(end - text) + 1;
    }

    double myTime;
    TRK_Collection *myCollection;
    int myThread;
    int myFlags;
    int myMask = 0;
    std::string myOut;
};

/// Calls for each expression in the backticks of a literal text.
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

bool startsWithPath(const std::string &path, const std::string &prefix)
{
    return path.compare(0, prefix.size(), prefix) == 0 &&
           (path.size() == prefix.size() || path[prefix.size()] == '/' || prefix.back() == '/');
}

/// Rewrites the literal arguments of ch, chs and their like in one expression.
int changePaths(std::string &expression, const std::string &from, const std::string &to)
{
    int count = 0;
    size_t at = 0;
    while ((at = expression.find("ch", at)) != std::string::npos) {
        const bool wordFlag = at == 0 || !BASisWordChar(expression[at - 1]);
        size_t open = at + 2;
        while (open < expression.size() && BASisWordChar(expression[open])) {
            ++open;
        }
        at = open;
        open = expression.find_first_not_of(" \t\r\n", open);
        if (!wordFlag || open == std::string::npos || expression[open] != '(') {
            continue;
        }
        const size_t quote = expression.find_first_not_of(" \t\r\n", open + 1);
        if (quote == std::string::npos || (expression[quote] != '"' && expression[quote] != '\'')) {
            continue;
        }
        const size_t end = expression.find(expression[quote], quote + 1);
        if (end == std::string::npos) {
            continue;
        }
        const std::string path = expression.substr(quote + 1, end - quote - 1);
        if (startsWithPath(path, from)) {
            expression.replace(quote + 1, from.size(), to);
            ++count;
            at = quote + 1 + to.size();
        }
    }
    return count;
}

} // namespace

int TRK_Manager::expandString(const char *text, KIT_String &out, double time,
                              TRK_Collection *collection, int thread, int flags) const
{
    if (text == nullptr || std::strpbrk(text, "$`") == nullptr) {
        out = text != nullptr ? text : "";
        return 0;
    }
    Expander expander(time, collection, thread, flags);
    expander.expand(text);
    out = expander.result();
    return expander.mask();
}

bool TRK_Manager::scanForVariableInString(const char *text, const char *name)
{
    if (text == nullptr || name == nullptr) {
        return false;
    }
    for (const char *c = std::strchr(text, '$'); c != nullptr; c = std::strchr(c + 1, '$')) {
        std::string_view found;
        if (scanVariable(c, false, found) != 0 && found == name) {
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

void TRK_Manager::buildStringOpDependencies(const char *text, const ReferenceCall &call)
{
    forEachBacktick(text, [&call](const char *begin, const char *end) {
        forEachReference(std::string(begin, end).c_str(), call);
    });
}

int TRK_Manager::changeStringOpRef(KIT_String &text, const char *from, const char *to)
{
    if (from == nullptr || *from == '\0' || to == nullptr || text.isEmpty()) {
        return 0;
    }
    const std::string whole = text.toStdString();
    std::string changed;
    int count = 0;
    if (whole.find('`') == std::string::npos) {
        changed = whole;
        count = changePaths(changed, from, to);
    } else {
        const char *copied = whole.c_str();
        forEachBacktick(whole.c_str(), [&](const char *begin, const char *end) {
            std::string expression(begin, end);
            count += changePaths(expression, from, to);
            changed.append(copied, begin);
            changed += expression;
            copied = end;
        });
        changed += copied;
    }
    if (count > 0) {
        text = changed;
    }
    return count;
}
