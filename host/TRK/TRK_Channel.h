/// \file TRK_Channel.h
/// One animated value: keys in time with segments between them, each an interpolated curve or an
/// expression.
///
/// Vocabulary: *key* = a time at which a segment starts. Three keys at 0, 1 and 3 seconds make
///             three segments: 0 to 1, 1 to 3, and 3 onward. Before the first key its start value
///             applies. *pending* = a value set for one time and not made a key yet; it is kept in
///             the *default slot* and is the channel's value at that time.
/// Units:      time in seconds. Two times closer than the manager's tolerance are the same key.
/// Ownership:  owned by its collection, which alone creates and destroys channels. Segment pointers
///             are valid until keys are added or removed.
/// Threads:    evaluation and const calls from any number of threads at once. Changes from one
///             thread, while no thread evaluates.
/// Errors:     operations without effect return false, or 1 for the setKey forms. Evaluation errors
///             are stored in EVL::theErrNo of the given thread; the first one is kept.
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
    /// True if the name matches one of the blank-separated patterns.
    bool match(const char *globPatterns) const;

    // ---------------------------------------------------------------- //
    /// \name Pending value and default slot
    // ---------------------------------------------------------------- //
    bool getPendingFlag() const { return myPendingFlag; }
    bool isPending(double time) const;
    double getPendingTime() const { return myPendingTime; }
    void clearPending();
    double getDefault() const { return myDefault; }
    /// The default slot. It holds the pending value, and is the value of a channel without keys.
    void setDefault(double value) { myDefault = value; }
    /// The default slot of texts: an expression, such as "abc" with its quotes.
    const KIT_String &getDefaultString() const { return myDefaultString; }
    TRK_ExprLanguage getDefaultLanguage() const { return myDefaultExpression.getExprLanguage(); }
    void setDefaultString(const char *text, TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE);
    /// Its compiled form, in a segment of no keys.
    const TRK_Segment &getDefaultSegment() const { return myDefaultExpression; }

    // ---------------------------------------------------------------- //
    /// \name Keys
    // ---------------------------------------------------------------- //
    /// Sets the value at a time. Without \p commit it becomes pending: returns 1. With \p commit, a
    /// key whose segment is interpolated takes the value on both sides: 0. Without such a key, and
    /// unless \p keyOnly, a key is inserted into an interpolated segment: 0. Otherwise the value
    /// becomes pending, unless \p keyOnly finds a key that an expression drives: 1.
    int setKeyValue(double value, double time, bool notify, bool commit, bool keyOnly);
    /// The same for texts: \p text is an expression in the language of the segment there. A segment
    /// accepts it if it is interpolated or holds one literal text.
    int setKeyString(const char *text, double time, bool notify, bool commit, bool keyOnly);
    /// The same with a language: the text is meant as an expression, and with \p commit the segment
    /// accepts it whatever it holds. A segment driven by an expression takes it as a whole, without
    /// a key at the time.
    int setKeyString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                     bool commit, bool keyOnly);
    /// Makes a key with the present value; its segment copies the split one's expression. False if
    /// there is a key already. In both cases the key takes a value that is pending there, which is
    /// then no longer pending: an expression of the key's segment is replaced by the text, or by
    /// "constant()".
    bool insertKeyFrame(double time, bool notify);
    bool isAtKey(double time) const { return findKey(time) >= 0; }
    /// True at a key that was set explicitly; every key of this library is.
    bool isAtHardKey(double time) const { return findKey(time) >= 0; }
    /// Index of the key at a time, -1 if there is none.
    int findKey(double time) const;
    int getNKeys() const { return static_cast<int>(myTimes.size()); }
    double getKeyTime(int index) const { return myTimes[static_cast<size_t>(index)]; }
    /// The nearest key after or before; the time itself if there is none.
    double findNextKey(double time) const;
    double findPrevKey(double time) const;
    /// Removes a key; the segment before extends over its segment. False if there is none.
    bool removeKey(double time);
    /// Fills in the key there. False without a key: filled in with the present value on both sides.
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
    /// The segment that contains a time; null only for a channel without keys.
    TRK_Segment *getExpressionSegment(double time);
    const TRK_Segment *getExpressionSegment(double time) const;
    /// Changes the expression of that segment. In a channel without keys it makes the first key, at
    /// 0.
    bool changeExpression(double time, const char *text, TRK_ExprLanguage language, bool notify);
    void getExpression(double time, KIT_String &text) const;
    TRK_ExprLanguage getExprLanguageAtTime(double time) const;
    /// Literal for an interpolated segment, otherwise by the segment's language.
    TRK_StringMeaning getStringMeaning(double time) const;
    /// True if any segment's expression has been compiled.
    bool hasCompiledExpression() const;
    void dirtyExprCache();
    /// Resets to one segment, at time 0, that holds the default slot. A null text means "bezier()".
    void initializeFirstSegment(const char *text, TRK_ExprLanguage language);
    /// Copies keys, default slots and pending state of another channel, but no names or flags.
    void copyContents(const TRK_Channel &source);
    /// Replaces a text in all expressions; returns the number of replacements.
    int changeString(const char *from, const char *to, bool wholeWord);
    /// As KIT_String::findString, in any expression.
    bool findString(const char *text, bool wholeWord, bool pattern) const;

    // ---------------------------------------------------------------- //
    /// \name Holders   (a note for those who hold pointers; the channel itself doesn't look at it)
    // ---------------------------------------------------------------- //
    enum class Holders : uint8_t
    {
        UNKNOWN, ///< any number
        NEW,     ///< none yet
        ONE,     ///< at most one
        NONE     ///< that one has let it go
    };
    Holders getHolders() const { return myHolders; }
    void setHolders(Holders holders) { myHolders = holders; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (any thread; references are resolved in \p collection)
    // ---------------------------------------------------------------- //
    /// The value at a time. \p timeDependent is set, never cleared, if anything read depends on
    /// time.
    double evaluate(const TRK_Collection *collection, double time, int thread,
                    bool &timeDependent) const;
    bool evaluateString(const TRK_Collection *collection, double time, int thread, KIT_String &out,
                        bool &timeDependent) const;
    /// Cheap: more than one key, a time variable in an expression, or a flag that the last
    /// evaluation left because a reference was time dependent.
    bool isTimeDependent() const { return myTimeFlag || BASload(myTimeMark) != 0; }
    /// Evaluates at the thread's evaluation time and follows references. Leaves no error number.
    bool isTimeDependentSlow(int thread) const;
    bool isStringTimeDependentSlow(int thread) const;
    /// True if an expression, or a default text in use, reads other channels or parameters. One in
    /// Python counts, as what it reads isn't known.
    bool isDataDependent() const;

    // ---------------------------------------------------------------- //
    /// \name Marks
    // ---------------------------------------------------------------- //
    bool getLocked() const { return myLockFlag; }
    void setLocked(bool locked) { myLockFlag = locked; }
    bool getScope() const { return myScopeFlag; }
    void setScope(bool scope) { myScopeFlag = scope; }
    bool getChanged() const { return myChangedFlag; }
    /// True flags the channel as changed and raises a change event; false clears the flag.
    void setChanged(bool changed, int reserved);

    int64_t getMemoryUsage(bool inclusive) const;

private:
    friend class TRK_ChannelContents;
    friend class TRK_ChannelPicture;
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
    bool takePending(size_t key);
    double presentValue(double time) const;
    int putString(const char *text, double time, TRK_ExprLanguage language, bool notify,
                  bool commit, bool keyOnly);
    void setPending(double time);
    void notifyIf(bool notify);
    void updateTimeFlag();
    void tellTextsChanged() const;
    /// What is in no collection is read by others: nothing of it is written.
    void markTime(bool timeDependent) const
    {
        if (myCollection != nullptr) {
            BASstoreIfDifferent(myTimeMark, uint8_t(timeDependent ? 1 : 0));
        }
    }
    bool takesString(double time) const;
    double evaluateExpression(const TRK_Segment &segment, const TRK_Collection *collection,
                              double time, int thread, bool &timeDependent) const;
    bool evaluateSegmentString(const TRK_Segment &segment, TRK_EvalState &state,
                               KIT_String &out) const;
    static bool evaluateText(const TRK_Segment &segment, TRK_EvalState &state, KIT_String &out);
    bool evaluateDefaultString(TRK_EvalState &state, KIT_String &out) const;

    /// Start times of the segments, in an array of their own so that a search touches few cache
    /// lines.
    std::vector<double> myTimes;
    std::vector<TRK_Segment> mySegments;
    bool myPendingFlag = false;
    bool myTimeFlag = false;
    mutable uint8_t myTimeMark = 0; ///< relaxed
    bool myLockFlag = false;
    bool myScopeFlag = false;
    bool myChangedFlag = false;
    Holders myHolders = Holders::NEW;
    double myDefault = 0.0;
    double myPendingTime = 0.0;
    KIT_StringHolder myName;
    KIT_StringHolder myAlias;
    KIT_String myDefaultString;
    TRK_Segment myDefaultExpression; ///< compiled form of the text default slot
    TRK_Collection *myCollection;    ///< null once it has been deleted
    TRK_Channel *myNextDeleted = nullptr;
};
