/// \file TRK_Channel.h
/// One animated value: keys in time with segments between them, each an interpolated curve or an
/// expression.
///
/// Vocabulary: *key* = a time at which a segment starts. Three keys at 0, 1 and 3 seconds make
///             three segments: 0 to 1, 1 to 3, and 3 for ever. Before the first, its start holds.
///             *pending* = a value set for one time and not made a key yet; it lies in the *default
///             slot* and stands for the channel at that time.
/// Units:      time in seconds. Two times closer than the manager's tolerance are the same key.
/// Ownership:  owned by its collection, which alone makes and destroys channels. Segment pointers
///             hold until keys come or go.
/// Threads:    evaluation and const calls from any number of threads at once. Changes from one
///             thread, while nobody evaluates.
/// Errors:     operations that find nothing to do answer false, or 1 for the setKey forms.
///             Evaluation errors go to EVL::theErrNo of the given thread; the first one stays.
/// Cost:       a number between keys: a binary search over one array of times and the curve. No
///             lock, no heap, no shared write. An expression costs what TRK_Expression says.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_Relaxed.h>
#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_FullKey.h>
#include <TRK/TRK_Segment.h>
#include <TRK/TRK_Types.h>

#include <cstdint>
#include <vector>

class TRK_Collection;
class TRK_CollectionReader;

class KIT_API TRK_Channel : public KIT_SmallObject<>
{
public:
    const KIT_StringHolder &getName() const { return myName; }
    /// The second name; null if none.
    const KIT_StringHolder &getAlias() const { return myAlias; }
    TRK_Collection *getCollection() const { return myCollection; }
    /// True if the name fits one of the blank-separated patterns.
    bool match(const char *globPatterns) const;

    // ---------------------------------------------------------------- //
    /// \name Pending value and default slot
    // ---------------------------------------------------------------- //
    bool getPendingFlag() const { return myPendingFlag; }
    bool isPending(double time) const;
    double getPendingTime() const { return myPendingTime; }
    void clearPending();
    double getDefault() const { return myDefault; }
    /// The default slot. It carries the pending value, and answers for a channel without keys.
    void setDefault(double value) { myDefault = value; }
    /// The default slot of texts: an expression of language 0, such as "abc" with its quotes.
    const KIT_String &getDefaultString() const { return myDefaultString; }
    void setDefaultString(const char *text);

    // ---------------------------------------------------------------- //
    /// \name Keys
    // ---------------------------------------------------------------- //
    /// Sets the value at a time. Without \p commit it becomes pending: 1. With it, a key whose
    /// segment is interpolated takes the value on both sides: 0. Without such a key, and unless
    /// \p keyOnly, an interpolated segment is given one: 0. Otherwise (an expression drives that
    /// time) the value becomes pending: 1.
    int setKeyValue(double value, double time, bool notify, bool commit, bool keyOnly);
    /// The same for texts: \p text is an expression. A segment takes it if it is interpolated or
    /// holds one literal text.
    int setKeyString(const char *text, double time, bool notify, bool commit, bool keyOnly);
    /// The same with a language: the text is an expression that was asked for, and with \p commit
    /// the segment takes it whatever it holds. A segment that an expression drives takes it as a
    /// whole, with no key made at the time.
    int setKeyString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                     bool commit, bool keyOnly);
    /// Makes a key with the present value; its segment takes the split one's expression. A value
    /// pending there is taken and no longer pending. False if a key is there already; it takes a
    /// pending text, too.
    bool insertKeyFrame(double time, bool notify);
    bool isAtKey(double time) const { return findKey(time) >= 0; }
    /// True at a key that was set; every key of this library is one.
    bool isAtHardKey(double time) const { return findKey(time) >= 0; }
    /// Index of the key at a time, -1 if none.
    int findKey(double time) const;
    int getNKeys() const { return static_cast<int>(myTimes.size()); }
    double getKeyTime(int index) const { return myTimes[static_cast<size_t>(index)]; }
    /// The nearest key after or before; the time itself if none.
    double findNextKey(double time) const;
    double findPrevKey(double time) const;
    /// Removes a key; its segment falls to the one before. False if none is there.
    bool removeKey(double time);
    /// Fills in the key there. False without a key: then with the present value on both sides.
    bool getFullKey(double time, TRK_FullKey &key) const;
    /// Makes or replaces a key.
    void putFullKey(const TRK_FullKey &key);

    // ---------------------------------------------------------------- //
    /// \name Segments and expressions
    // ---------------------------------------------------------------- //
    int getNSegments() const { return static_cast<int>(mySegments.size()); }
    TRK_Segment *getFirstSegment() { return mySegments.empty() ? nullptr : &mySegments[0]; }
    const TRK_Segment *getFirstSegment() const
    {
        return mySegments.empty() ? nullptr : &mySegments[0];
    }
    /// Null if there is no such segment.
    TRK_Segment *getSegment(int index);
    const TRK_Segment *getSegment(int index) const;
    /// The segment that a time falls into; null only for a channel without keys.
    TRK_Segment *getExpressionSegment(double time);
    const TRK_Segment *getExpressionSegment(double time) const;
    /// Changes the expression of that segment. A channel without keys gets its first one, at 0.
    bool changeExpression(double time, const char *text, TRK_ExprLanguage language, bool notify);
    void getExpression(double time, KIT_String &text) const;
    TRK_ExprLanguage getExprLanguageAtTime(double time) const;
    /// Literal for an interpolated segment, else by its language.
    TRK_StringMeaning getStringMeaning(double time) const;
    /// True if any segment's expression has been compiled.
    bool hasCompiledExpression() const;
    void dirtyExprCache();
    /// Leaves one segment, at time 0, that holds the default slot. No text: "bezier()".
    void initializeFirstSegment(const char *text, TRK_ExprLanguage language);
    /// Takes keys, default slots and pending state of another channel, not its names or marks.
    void copyContents(const TRK_Channel &source);
    /// Replaces a text in all expressions; the number of replacements.
    int changeString(const char *from, const char *to, bool wholeWord);
    /// As KIT_String::findString, in any expression.
    bool findString(const char *text, bool wholeWord, bool pattern) const;

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (any thread; \p collection is where references are looked up)
    // ---------------------------------------------------------------- //
    /// The value at a time. \p timeDependent is set, never cleared, if what was read depends on
    /// time.
    double evaluate(const TRK_Collection *collection, double time, int thread,
                    bool &timeDependent) const;
    bool evaluateString(const TRK_Collection *collection, double time, int thread, KIT_String &out,
                        bool &timeDependent) const;
    /// Cheap: more than one key, a time variable in an expression, or a mark left by the last
    /// evaluation because a reference was time dependent.
    bool isTimeDependent() const { return myTimeFlag || BASload(myTimeMark) != 0; }
    /// Evaluates at the thread's evaluation time and follows references. No error stays behind.
    bool isTimeDependentSlow(int thread) const;
    bool isStringTimeDependentSlow(int thread) const;
    /// True if an expression reads other channels or parameters.
    bool isDataDependent() const;

    // ---------------------------------------------------------------- //
    /// \name Marks
    // ---------------------------------------------------------------- //
    bool getLocked() const { return myLockFlag; }
    void setLocked(bool locked) { myLockFlag = locked; }
    bool getScope() const { return myScopeFlag; }
    void setScope(bool scope) { myScopeFlag = scope; }
    bool getChanged() const { return myChangedFlag; }
    /// True marks the channel changed and raises a change event; false clears the mark.
    void setChanged(bool changed, int reserved);

    int64_t getMemoryUsage(bool inclusive) const;

private:
    friend class TRK_Collection;
    friend class TRK_CollectionReader;
    friend class TRK_Segment;

    TRK_Channel(TRK_Collection *collection, const KIT_StringHolder &name);
    TRK_Channel(const TRK_Channel &) = delete;
    TRK_Channel &operator=(const TRK_Channel &) = delete;
    ~TRK_Channel();

    size_t findSegment(double time) const;
    size_t splitSegment(double time, double value);
    void setKeySides(size_t index, double value);
    bool takePendingString(size_t key);
    int putString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                  bool commit, bool keyOnly);
    void setPending(double time);
    void notifyIf(bool notify);
    void updateTimeFlag();
    bool takesString(double time) const;
    double evaluateExpression(const TRK_Segment &segment, const TRK_Collection *collection,
                              double time, int thread, bool &timeDependent) const;
    bool evaluateSegmentString(const TRK_Segment &segment, TRK_EvalState &state,
                               KIT_String &out) const;
    bool evaluateDefaultString(TRK_EvalState &state, KIT_String &out) const;

    /// Start times of the segments, apart from them so that a search stays within few cache lines.
    std::vector<double> myTimes;
    std::vector<TRK_Segment> mySegments;
    double myDefault = 0.0;
    double myPendingTime = 0.0;
    bool myPendingFlag = false;
    bool myTimeFlag = false;
    mutable uint8_t myTimeMark = 0; ///< relaxed
    bool myLockFlag = false;
    bool myScopeFlag = false;
    bool myChangedFlag = false;
    KIT_StringHolder myName;
    KIT_StringHolder myAlias;
    KIT_String myDefaultString;
    TRK_Segment myDefaultExpression; ///< compiled form of the text default slot
    TRK_Collection *myCollection;
};
