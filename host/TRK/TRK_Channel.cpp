#include <TRK/TRK_Channel.h>

#include <EVL/EVL.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_StringArray.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

constexpr double theForever = std::numeric_limits<double>::infinity();

double tolerance()
{
    return TRK_Manager::getContext().getTimeTolerance();
}

bool sameTime(double a, double b)
{
    return std::fabs(a - b) <= tolerance();
}

/// Whether the text is one quoted text, in quotes of either kind, and nothing else.
bool isQuotedLiteral(const char *text)
{
    const char quote = *text;
    if (quote != '"' && quote != '\'') {
        return false;
    }
    for (++text; *text != '\0' && *text != quote; ++text) {
        text += *text == '\\' && text[1] != '\0' ? 1 : 0;
    }
    return text[0] == quote && text[1] == '\0';
}

bool isSameExpression(const TRK_Segment &segment, const char *text, TRK_ExprLanguage language)
{
    return segment.getExprLanguage() == language && KIT_String(text) == segment.getExpression();
}

} // namespace

// ---------------------------------------------------------------- //
// Life, names, marks
// ---------------------------------------------------------------- //

TRK_Channel::TRK_Channel(TRK_Collection *collection, const KIT_StringHolder &name)
    : myName(name), myDefaultExpression(nullptr, 0.0, theForever), myCollection(collection)
{}

TRK_Channel::~TRK_Channel()
{
    if (myCollection != nullptr) { // else it has been announced, or never been in one
        TRKgetEventManager().channelDestroyed(this);
    }
}

bool TRK_Channel::match(const char *globPatterns) const
{
    if (globPatterns == nullptr) {
        return false;
    }
    KIT_StringArray patterns;
    KIT_String(globPatterns).tokenize(patterns, " \t\r\n");
    const KIT_String name(myName.c_str());
    for (int64_t i = 0; i < patterns.entries(); ++i) {
        if (name.match(patterns[i].c_str())) {
            return true;
        }
    }
    return false;
}

void TRK_Channel::setChanged(bool changed, int)
{
    myChangedFlag = changed;
    if (changed && myCollection != nullptr) {
        TRKgetEventManager().channelChanged(this);
    }
}

void TRK_Channel::tellTextsChanged() const
{
    if (myCollection != nullptr) {
        myCollection->tellTextsChanged();
    }
}

void TRK_Channel::notifyIf(bool notify)
{
    if (notify) {
        setChanged(true, 0);
    }
}

int64_t TRK_Channel::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += static_cast<int64_t>(myTimes.capacity() * sizeof(double));
    bytes += static_cast<int64_t>(mySegments.capacity() * sizeof(TRK_Segment));
    for (const TRK_Segment &segment : mySegments) {
        bytes += segment.getMemoryUsage(false);
    }
    return bytes + myName.getMemoryUsage(false) + myAlias.getMemoryUsage(false) +
           myDefaultString.getMemoryUsage(false) + myDefaultExpression.getMemoryUsage(false);
}

// ---------------------------------------------------------------- //
// Pending value and default slot
// ---------------------------------------------------------------- //

bool TRK_Channel::isPending(double time) const
{
    return myPendingFlag && sameTime(time, myPendingTime);
}

void TRK_Channel::clearPending()
{
    myPendingFlag = false;
}

void TRK_Channel::setPending(double time)
{
    myPendingFlag = true;
    myPendingTime = time;
}

void TRK_Channel::setDefaultString(const char *text, TRK_ExprLanguage language)
{
    myDefaultString = text != nullptr ? text : "";
    myDefaultExpression.changeExpression(text, language);
    if (!myDefaultString.isEmpty()) {
        tellTextsChanged();
    }
}

// ---------------------------------------------------------------- //
// Keys
// ---------------------------------------------------------------- //

/// The segment that contains a time; the first one for a time before it. Needs at least one.
size_t TRK_Channel::findSegment(double time) const
{
    // No branch depends on the times, so a search costs the same for all of them.
    const double *base = myTimes.data();
    size_t left = myTimes.size();
    while (left > 1) {
        const size_t half = left / 2;
        base = base[half] <= time ? base + half : base;
        left -= half;
    }
    return static_cast<size_t>(base - myTimes.data());
}

int TRK_Channel::findKey(double time) const
{
    if (myTimes.empty()) {
        return -1;
    }
    const size_t index = findSegment(time);
    if (sameTime(myTimes[index], time)) {
        return static_cast<int>(index);
    }
    const bool nextFlag = index + 1 < myTimes.size() && sameTime(myTimes[index + 1], time);
    return nextFlag ? static_cast<int>(index + 1) : -1;
}

double TRK_Channel::findNextKey(double time) const
{
    const double least = time + tolerance();
    const auto next = std::upper_bound(myTimes.begin(), myTimes.end(), least);
    return next != myTimes.end() ? *next : time;
}

double TRK_Channel::findPrevKey(double time) const
{
    const double most = time - tolerance();
    const auto next = std::lower_bound(myTimes.begin(), myTimes.end(), most);
    return next != myTimes.begin() ? *(next - 1) : time;
}

/// Sets the value of a key on both sides.
void TRK_Channel::setKeySides(size_t index, double value)
{
    mySegments[index].myInValue = value;
    if (index > 0) {
        mySegments[index - 1].myOutValue = value;
    }
}

/// Makes a key where there is none. Its segment copies the split one's expression. Returns the
/// index.
size_t TRK_Channel::splitSegment(double time, double value)
{
    const auto place = std::upper_bound(myTimes.begin(), myTimes.end(), time);
    const size_t index = static_cast<size_t>(place - myTimes.begin());
    TRK_Segment made(this, time, theForever);
    if (!mySegments.empty()) {
        made = mySegments[index > 0 ? index - 1 : 0];
    }
    made.myStart = time;
    made.myEnd = index < myTimes.size() ? myTimes[index] : theForever;
    made.myInValue = value;
    made.myInSlope = 0.0;
    made.myInAccel = 0.0;
    if (index == 0 && !mySegments.empty()) {
        // Before all keys: the far end is the former first key.
        made.myOutValue = mySegments[0].myInValue;
        made.myOutSlope = mySegments[0].myInSlope;
        made.myOutAccel = mySegments[0].myInAccel;
    }
    myTimes.insert(place, time);
    mySegments.insert(mySegments.begin() + static_cast<std::ptrdiff_t>(index),
                      static_cast<TRK_Segment &&>(made));
    if (index > 0) {
        TRK_Segment &before = mySegments[index - 1];
        before.myEnd = time;
        before.myOutValue = value;
        before.myOutSlope = 0.0;
        before.myOutAccel = 0.0;
    }
    updateTimeFlag();
    return index;
}

int TRK_Channel::setKeyValue(double value, double time, bool notify, bool commit, bool keyOnly)
{
    if (commit && !mySegments.empty() && std::isfinite(time)) {
        const int key = findKey(time);
        if (key >= 0 && mySegments[static_cast<size_t>(key)].isInterpolated()) {
            setKeySides(static_cast<size_t>(key), value);
            clearPending();
            notifyIf(notify);
            return 0;
        }
        if (key >= 0 && keyOnly) {
            return 1;
        }
        if (key < 0 && !keyOnly && mySegments[findSegment(time)].isInterpolated()) {
            splitSegment(time, value);
            clearPending();
            notifyIf(notify);
            return 0;
        }
    }
    myDefault = value;
    setPending(time);
    notifyIf(notify);
    return 1;
}

/// True if a new text may replace the segment there: it is a curve, or one literal text.
bool TRK_Channel::takesString(double time) const
{
    const TRK_Segment *segment = getExpressionSegment(time);
    if (segment == nullptr || segment->isInterpolated()) {
        return segment != nullptr;
    }
    if (segment->getExprLanguage() == TRK_LANGUAGE_PYTHON) {
        return isQuotedLiteral(segment->getExpression());
    }
    const TRK_Expression *compiled = segment->getCompiledExpression();
    return compiled != nullptr && compiled->isStringLiteral();
}

int TRK_Channel::setKeyString(const char *text, double time, bool notify, bool commit, bool keyOnly)
{
    // A text that is pending already has its own language.
    const bool pendingFlag = isPending(time) && myDefaultString == text;
    const TRK_ExprLanguage language =
        pendingFlag ? getDefaultLanguage() : getExprLanguageAtTime(time);
    return putString(text, time, language, notify, commit && takesString(time), keyOnly);
}

int TRK_Channel::setKeyString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                              bool commit, bool keyOnly)
{
    TRK_Segment *segment = getExpressionSegment(time);
    if (commit && !keyOnly && segment != nullptr && !segment->isInterpolated() &&
        (!takesString(time) || isSameExpression(*segment, text, language))) {
        // An expression that replaces an expression applies to the whole segment: it makes no key.
        segment->changeExpression(text, language);
        clearPending();
        notifyIf(notify);
        return 0;
    }
    return putString(text, time, language, notify, commit, keyOnly);
}

int TRK_Channel::putString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                           bool commit, bool keyOnly)
{
    if (commit && !mySegments.empty() && std::isfinite(time)) {
        int key = findKey(time);
        if (key < 0 && !keyOnly) {
            key = static_cast<int>(splitSegment(time, mySegments[findSegment(time)].getInValue()));
        }
        if (key >= 0) {
            mySegments[static_cast<size_t>(key)].changeExpression(text, language);
            clearPending();
            notifyIf(notify);
            return 0;
        }
    }
    setDefaultString(text, language);
    setPending(time);
    notifyIf(notify);
    return 1;
}

/// Moves a value that is pending at the key into the key: a text as its segment's expression; a
/// number as its value, which holds from there on if an expression drove the segment.
bool TRK_Channel::takePending(size_t key)
{
    if (!isPending(myTimes[key])) {
        return false;
    }
    TRK_Segment &segment = mySegments[key];
    if (!myDefaultString.isEmpty()) {
        segment.changeExpression(myDefaultString.c_str(), getDefaultLanguage());
    } else {
        setKeySides(key, myDefault);
        if (!segment.isInterpolated()) {
            segment.changeExpression("constant()", segment.getExprLanguage());
        }
    }
    clearPending();
    return true;
}

/// The value at a time; the thread's error number stays as it is.
double TRK_Channel::presentValue(double time) const
{
    const int thread = BASgetSTID();
    const EVL::ErrorScope errors(thread);
    bool timeDependent = false;
    return evaluate(myCollection, time, thread, timeDependent);
}

bool TRK_Channel::insertKeyFrame(double time, bool notify)
{
    const int key = findKey(time);
    if (key >= 0 || !std::isfinite(time)) {
        notifyIf(key >= 0 && takePending(static_cast<size_t>(key)) && notify);
        return false;
    }
    takePending(splitSegment(time, presentValue(time)));
    notifyIf(notify);
    return true;
}

bool TRK_Channel::removeKey(double time)
{
    const int key = findKey(time);
    if (key < 0) {
        return false;
    }
    const size_t index = static_cast<size_t>(key);
    if (mySegments.size() == 1) {
        myDefault = mySegments[0].myInValue;
    }
    if (index > 0) {
        TRK_Segment &before = mySegments[index - 1];
        const TRK_Segment &gone = mySegments[index];
        before.myEnd = gone.myEnd;
        before.myOutValue = gone.myOutValue;
        before.myOutSlope = gone.myOutSlope;
        before.myOutAccel = gone.myOutAccel;
    }
    myTimes.erase(myTimes.begin() + key);
    mySegments.erase(mySegments.begin() + key);
    updateTimeFlag();
    return true;
}

bool TRK_Channel::getFullKey(double time, TRK_FullKey &key) const
{
    key = TRK_FullKey();
    key.time = time;
    const int index = findKey(time);
    if (index < 0) {
        key.in.value = presentValue(time);
        key.out = key.in;
        const TRK_Segment *segment = getExpressionSegment(time);
        if (segment != nullptr) {
            key.expression = KIT_StringHolder(segment->getExpression());
            key.language = segment->getExprLanguage();
        }
        return false;
    }
    const TRK_Segment &after = mySegments[static_cast<size_t>(index)];
    key.time = after.myStart;
    key.out = TRK_KeySide{after.myInValue, after.myInSlope, after.myInAccel};
    key.in = key.out;
    if (index > 0) {
        const TRK_Segment &before = mySegments[static_cast<size_t>(index) - 1];
        key.in = TRK_KeySide{before.myOutValue, before.myOutSlope, before.myOutAccel};
    }
    key.expression = KIT_StringHolder(after.getExpression());
    key.language = after.getExprLanguage();
    return true;
}

void TRK_Channel::putFullKey(const TRK_FullKey &key)
{
    if (!std::isfinite(key.time)) {
        return;
    }
    const int found = findKey(key.time);
    const size_t index =
        found >= 0 ? static_cast<size_t>(found) : splitSegment(key.time, key.out.value);
    TRK_Segment &after = mySegments[index];
    after.myInValue = key.out.value;
    after.myInSlope = key.out.slope;
    after.myInAccel = key.out.acceleration;
    if (index > 0) {
        TRK_Segment &before = mySegments[index - 1];
        before.myOutValue = key.in.value;
        before.myOutSlope = key.in.slope;
        before.myOutAccel = key.in.acceleration;
    }
    if (!key.expression.isNull()) {
        after.changeExpression(key.expression.c_str(), key.language);
    }
}

// ---------------------------------------------------------------- //
// Segments and expressions
// ---------------------------------------------------------------- //

const TRK_Segment *TRK_Channel::getSegment(int index) const
{
    const bool goodFlag = index >= 0 && static_cast<size_t>(index) < mySegments.size();
    return goodFlag ? &mySegments[static_cast<size_t>(index)] : nullptr;
}

TRK_Segment *TRK_Channel::getSegment(int index)
{
    return const_cast<TRK_Segment *>(static_cast<const TRK_Channel *>(this)->getSegment(index));
}

const TRK_Segment *TRK_Channel::getExpressionSegment(double time) const
{
    if (mySegments.empty()) {
        return nullptr;
    }
    // Within the tolerance before a key, the key's own segment is meant.
    const int key = findKey(time);
    return &mySegments[key >= 0 ? static_cast<size_t>(key) : findSegment(time)];
}

TRK_Segment *TRK_Channel::getExpressionSegment(double time)
{
    const TRK_Channel *self = this;
    return const_cast<TRK_Segment *>(self->getExpressionSegment(time));
}

bool TRK_Channel::changeExpression(double time, const char *text, TRK_ExprLanguage language,
                                   bool notify)
{
    if (mySegments.empty()) {
        initializeFirstSegment(text, language);
    } else {
        getExpressionSegment(time)->changeExpression(text, language);
    }
    notifyIf(notify);
    return true;
}

void TRK_Channel::getExpression(double time, KIT_String &text) const
{
    const TRK_Segment *segment = getExpressionSegment(time);
    text = segment != nullptr ? segment->getExpression() : "";
}

TRK_ExprLanguage TRK_Channel::getExprLanguageAtTime(double time) const
{
    const TRK_Segment *segment = getExpressionSegment(time);
    return segment != nullptr ? segment->getExprLanguage() : TRK_LANGUAGE_NATIVE;
}

TRK_StringMeaning TRK_Channel::getStringMeaning(double time) const
{
    const TRK_Segment *segment = getExpressionSegment(time);
    if (segment == nullptr || segment->isInterpolated()) {
        return TRK_MEANING_LITERAL;
    }
    return segment->getExprLanguage() == TRK_LANGUAGE_PYTHON ? TRK_MEANING_PYTHON
                                                             : TRK_MEANING_NATIVE;
}

bool TRK_Channel::hasCompiledExpression() const
{
    return std::any_of(mySegments.begin(), mySegments.end(),
                       [](const TRK_Segment &s) { return s.hasCompiledExpression(); });
}

void TRK_Channel::dirtyExprCache()
{
    for (TRK_Segment &segment : mySegments) {
        segment.dirtyExprCache();
    }
    myDefaultExpression.dirtyExprCache();
}

void TRK_Channel::initializeFirstSegment(const char *text, TRK_ExprLanguage language)
{
    mySegments.clear();
    myTimes.assign(1, 0.0);
    mySegments.emplace_back(this, 0.0, theForever);
    mySegments[0].myInValue = myDefault;
    mySegments[0].myOutValue = myDefault;
    mySegments[0].changeExpression(text, language);
}

void TRK_Channel::copyContents(const TRK_Channel &source)
{
    if (this == &source) {
        return;
    }
    // Both or, without memory, neither.
    std::vector<double> times = source.myTimes;
    std::vector<TRK_Segment> segments = source.mySegments;
    for (TRK_Segment &segment : segments) {
        segment.myChannel = this;
    }
    myTimes.swap(times);
    mySegments.swap(segments);
    myDefault = source.myDefault;
    setDefaultString(source.myDefaultString.c_str(), source.getDefaultLanguage());
    myPendingTime = source.myPendingTime;
    myPendingFlag = source.myPendingFlag;
    updateTimeFlag();
    tellTextsChanged();
}

int TRK_Channel::changeString(const char *from, const char *to, bool wholeWord)
{
    int total = 0;
    for (TRK_Segment &segment : mySegments) {
        KIT_String text(segment.getExpression(), true);
        const int count = text.changeString(from, to, wholeWord);
        if (count > 0) {
            segment.changeExpression(text.c_str(), segment.getExprLanguage());
            total += count;
        }
    }
    return total;
}

bool TRK_Channel::findString(const char *text, bool wholeWord, bool pattern) const
{
    return std::any_of(mySegments.begin(), mySegments.end(), [=](const TRK_Segment &segment) {
        return KIT_String(segment.getExpression()).findString(text, wholeWord, pattern);
    });
}

void TRK_Channel::updateTimeFlag()
{
    const auto usesTime = [](const TRK_Segment &segment) {
        if (segment.isInterpolated()) {
            return false;
        }
        std::string_view name;
        const char *at = std::strchr(segment.getExpression(), '$');
        while (at && !(TRKscanVariable(at, name) > 0 && TRKisTimeVariable(name))) {
            at = std::strchr(at + 1, '$');
        }
        return at != nullptr;
    };
    myTimeFlag = mySegments.size() > 1 || (mySegments.size() == 1 && usesTime(mySegments[0]));
    BASstore(myTimeMark, uint8_t(0));
}

// ---------------------------------------------------------------- //
// Evaluation
// ---------------------------------------------------------------- //

double TRK_Channel::evaluate(const TRK_Collection *collection, double time, int thread,
                             bool &timeDependent) const
{
    if (mySegments.empty() || (myPendingFlag && isPending(time))) {
        timeDependent = timeDependent || myPendingFlag;
        return myDefault;
    }
    timeDependent = timeDependent || myTimeFlag || myPendingFlag;
    const TRK_Segment &segment = mySegments[findSegment(time)];
    if (segment.isInterpolated()) {
        return segment.interpolate(segment.myInterpolator, time);
    }
    return evaluateExpression(segment, collection, time, thread, timeDependent);
}

/// Runs an expression in Python as part of the evaluation in progress. False: an error was raised.
template <class Run>
static bool runPython(TRK_EvalState &state, const Run &run)
{
    TRK_EvalThread &self = theTRKEvalThread;
    TRK_LanguageEvaluator *python = TRK_Manager::getContext().getPythonEvaluator();
    if (python == nullptr || !self.count(TRK_Costs::thePython)) {
        state.raise(python == nullptr ? EVL::EVL_NO_LANGUAGE : EVL::EVL_DEPTH);
        return false;
    }
    const uint32_t errors = self.errors;
    if (self.scriptsOff == 0 && run(*python)) {
        return true;
    }
    // What a reference has raised is the reason.
    if (self.errors == errors) {
        state.raise(EVL::EVL_PYTHON);
    }
    return false;
}

double TRK_Channel::evaluateExpression(const TRK_Segment &segment, const TRK_Collection *collection,
                                       double time, int thread, bool &timeDependent) const
{
    const TRK_EvalGuard guard(this, thread);
    if (!guard.mayRun()) {
        return 0.0;
    }
    TRK_EvalState state{collection, &segment, time, thread, false};
    double value = 0.0;
    const TRK_Expression *compiled = segment.getCompiledExpression();
    if (compiled != nullptr) {
        value = compiled->evaluateNumber(state);
    } else {
        const bool goodFlag = runPython(state, [&](TRK_LanguageEvaluator &python) {
            return python.evaluateNumber(segment.getExpression(), time, collection, thread, value,
                                         state.timeDependent);
        });
        value = goodFlag ? value : 0.0;
    }
    markTime(state.timeDependent);
    timeDependent = timeDependent || state.timeDependent;
    return value;
}

bool TRK_Channel::evaluateString(const TRK_Collection *collection, double time, int thread,
                                 KIT_String &out, bool &timeDependent) const
{
    TRK_EvalState state{collection, nullptr, time, thread, false};
    const TRK_EvalGuard guard(this, thread);
    out = "";
    if (!guard.mayRun()) {
        return false;
    }
    if (mySegments.empty() || (myPendingFlag && isPending(time))) {
        const bool goodFlag = evaluateDefaultString(state, out);
        if (mySegments.empty()) {
            markTime(state.timeDependent);
        }
        timeDependent = timeDependent || myPendingFlag || state.timeDependent;
        return goodFlag;
    }
    const TRK_Segment &segment = mySegments[findSegment(time)];
    state.segment = &segment;
    const bool goodFlag = evaluateSegmentString(segment, state, out);
    markTime(state.timeDependent);
    timeDependent = timeDependent || myTimeFlag || myPendingFlag || state.timeDependent;
    return goodFlag;
}

bool TRK_Channel::evaluateSegmentString(const TRK_Segment &segment, TRK_EvalState &state,
                                        KIT_String &out) const
{
    if (segment.isInterpolated()) {
        if (!myDefaultString.isEmpty()) {
            return evaluateDefaultString(state, out);
        }
        out = KIT_Digits(segment.interpolate(segment.myInterpolator, state.time)).buffer();
        return true;
    }
    return evaluateText(segment, state, out);
}

/// The text of an expression in either language.
bool TRK_Channel::evaluateText(const TRK_Segment &segment, TRK_EvalState &state, KIT_String &out)
{
    const TRK_Expression *compiled = segment.getCompiledExpression();
    if (compiled != nullptr) {
        return compiled->evaluateString(state, out);
    }
    const bool goodFlag = runPython(state, [&](TRK_LanguageEvaluator &python) {
        return python.evaluateString(segment.getExpression(), state.time, state.collection,
                                     state.thread, out, state.timeDependent);
    });
    if (!goodFlag) {
        out = "";
    }
    return goodFlag;
}

/// The default slot of texts as an expression; if it is empty, the text of the number slot.
bool TRK_Channel::evaluateDefaultString(TRK_EvalState &state, KIT_String &out) const
{
    if (!myDefaultString.isEmpty() && !myDefaultExpression.isInterpolated()) {
        return evaluateText(myDefaultExpression, state, out);
    }
    out = KIT_Digits(myDefault).buffer();
    return true;
}

bool TRK_Channel::isTimeDependentSlow(int thread) const
{
    const EVL::ErrorScope errors(thread);
    bool timeDependent = myTimeFlag;
    if (!timeDependent) {
        evaluate(myCollection, TRK_Manager::getContext().getEvaluateTime(thread), thread,
                 timeDependent);
    }
    return timeDependent;
}

bool TRK_Channel::isStringTimeDependentSlow(int thread) const
{
    const EVL::ErrorScope errors(thread);
    bool timeDependent = myTimeFlag;
    if (!timeDependent) {
        KIT_String text;
        evaluateString(myCollection, TRK_Manager::getContext().getEvaluateTime(thread), thread,
                       text, timeDependent);
    }
    return timeDependent;
}

bool TRK_Channel::isDataDependent() const
{
    const auto readsOthers = [](const TRK_Segment &segment) {
        const TRK_Expression *compiled = segment.getCompiledExpression();
        return compiled != nullptr ? compiled->hasReferences() : !segment.isInterpolated();
    };
    // What a curve, no key or a pending text evaluates.
    const bool defaultFlag =
        !myDefaultString.isEmpty() &&
        (mySegments.empty() || myPendingFlag ||
         std::any_of(mySegments.begin(), mySegments.end(),
                     [](const TRK_Segment &segment) { return segment.isInterpolated(); }));
    return (defaultFlag && readsOthers(myDefaultExpression)) ||
           std::any_of(mySegments.begin(), mySegments.end(), readsOthers);
}
