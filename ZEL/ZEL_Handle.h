/// \file ZEL_Handle.h
/// What the handles of one kind of value share: a component of a list, found once by its name.
///
///     ZEL_FloatHandle density(list, "density");
///     if (!density) {
///         std::puts(density.reason().c_str());    // "density" is a string, not a float
///     }
///     double value = density(time);
///     density.set(2.5);
///     density.key(1.0, 3.0);
///     density.expression("ch('a') * 2");
///
/// Vocabulary: *handle* = ZEL_FloatHandle, ZEL_IntHandle or ZEL_StringHandle;
///             *valid* = the list has a parameter of that name and kind, with that component.
/// Units:      a token is the first component of its parameter, `h[1]`, `h["ty"]` and a handle made
///             with a channel token or an alias any other. Time in the channel library's seconds.
///             Where none is given, it is the list's evaluation time on the calling thread.
/// Ownership:  borrows nothing: keeps a copy of the name, and a share of the list's ZEL_HandleAnchor. When
///             parameters were added or removed, the next use looks the name up again: a handle
///             outlives its parameter, is valid again with the next one of the name, and may be made
///             before there is one. It follows the parameters to a list that takes over its own
///             (ZEL_ParmList::adoptParmList), and isn't valid any more once the list is gone.
/// Threads:    reads of one handle from any number of threads at once, as those of the list, also the
///             first after a change of the list. Setting, and assigning to it, one thread at a time.
/// Errors:     one that isn't valid reads 0 or "", and refuses what is set; nothing is reported. False
///             for a change that was refused: not valid, locked, not editable, or as the operation
///             says.
/// Cost:       making one is a look-up and a copy of the name, and for the first one of a list a small
///             allocation. A read compares the anchor's count of changes, inline, and is the virtual
///             call that `ZEL_Parm::getValue` is.
#pragma once

#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_HandleAnchor.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SetOptions.h>
#include <ZEL/ZEL_Type.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class ZEL_Handle
{
public:
    // ------------------------------------------------------------------ //
    /// \name What it stands for
    // ------------------------------------------------------------------ //
    ///@{
    bool isValid() const { return instance() != nullptr; }
    explicit operator bool() const { return isValid(); }
    /// Why it isn't valid, in words with the name; "" if it is.
    std::string reason() const;

    /// Null if it isn't valid. Lasts until parameters are added or removed.
    ZEL_Parm *parm() const
    {
        const ZEL_Instance *const held = instance();
        return held ? held->getParm() : nullptr;
    }
    /// Null without one, and once it is gone.
    ZEL_ParmList *list() const { return myAnchor->getList(); }
    /// The token, channel token or alias.
    std::string_view name() const { return myName.view(); }
    /// The component's index; only for a valid one.
    int component() const { return BASload(myComponent); }
    /// How many components the parameter has; 0 if it isn't valid.
    int size() const
    {
        const ZEL_Instance *const held = instance();
        return held ? held->getVectorSize() : 0;
    }
    /// Whether the component has a channel.
    bool isAnimated() const
    {
        const ZEL_Parm *const held = parm();
        return held && held->getChannel(component());
    }
    ///@}

    /// Makes an expression drive the component, at all times: keys that it had are removed. False
    /// if there can be no channel: the list has no collection, or the name is none for a channel. A
    /// number is set as a float's value if there is no channel yet. An expression that can't be
    /// evaluated is set all the same.
    bool expression(std::string_view text, TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE,
                    ZEL_Notify notify = ZEL_Notify::YES);

protected:
    enum class Kind : std::uint8_t
    {
        FLOAT,
        INTEGER,
        STRING
    };

    explicit ZEL_Handle(Kind kind) : myKind(kind) {}
    ZEL_Handle(ZEL_ParmList &list, std::string_view name, Kind kind)
        : myAnchor(list.getHandleAnchor()), myName(name.data() ? name.data() : "", name.size()),
          myKind(kind)
    {
        find();
    }
    ZEL_Handle(const ZEL_Handle &) = default;
    ZEL_Handle &operator=(const ZEL_Handle &) = default;
    ~ZEL_Handle() = default;

    /// Turns this copy of a handle into that of another component.
    void moveTo(int index);
    void moveTo(std::string_view channel);

    /// The parameter's, which it keeps for life; null if the handle isn't valid.
    ZEL_Instance *instance() const
    {
        // Acquired before the two others are read: see find().
        if (__builtin_expect(
                __atomic_load_n(&myCount, __ATOMIC_ACQUIRE) == myAnchor->getChangeCount(), true)) {
            return BASload(myInstance);
        }
        return find();
    }

    double now() const
    {
        const ZEL_ParmList *const parms = list();
        return parms ? parms->getEvalTime(BASgetSTID()) : 0.0;
    }

    template <class T>
    T read(double time, int thread) const
    {
        T value = T();
        if (const ZEL_Instance *const held = instance()) {
            held->getValue(list(), time, value, component(), thread);
        }
        return value;
    }
    template <class T, std::size_t N>
    std::array<T, N> readArray(double time) const;
    template <class T>
    bool write(double time, T value, ZEL_SetOptions options)
    {
        ZEL_Parm *const held = parm();
        return held && held->setValue(time, value, options.replaceExpression(), component(),
                                      options.addKey(), options.propagate());
    }
    bool writeText(double time, std::string_view text, ZEL_SetOptions options)
    {
        ZEL_Parm *const held = parm();
        return held && held->setValue(time, std::string(text).c_str(), TRK_MEANING_LITERAL,
                                      options.replaceExpression(), component(), options.addKey(),
                                      options.propagate());
    }
    template <class T>
    bool writeArray(double time, const T *values, ZEL_SetOptions options)
    {
        ZEL_Parm *const held = parm();
        return held && held->setValues(time, values, options.replaceExpression(), options.addKey(),
                                       options.propagate());
    }
    /// Makes a key at the time; `set(options)` sets its value.
    template <class Set>
    bool makeKey(double time, const Set &set);

private:
    /// No index was given: the name says which component.
    static constexpr int theNamedOne = -1;
    /// There is no such component.
    static constexpr int theNoIndex = -2;

    ZEL_Parm *look(ZEL_ParmList &parms, int &index) const;
    /// Apart from the reads that it would else be copied into. Null on no list.
    __attribute__((cold)) ZEL_Instance *find() const;
    bool isOfKind(const ZEL_Type &type) const;
    static const char *wordFor(const ZEL_Type &type);
    static bool acceptsChange(const ZEL_Parm &held, double time, int index)
    {
        return !held.getLockedFlag(index) && held.isEditable(time, index);
    }
    static bool canHaveChannel(const ZEL_Parm &held, int index);
    static bool hasExpression(const ZEL_Parm &held, int index, double time);
    static void dropOtherKeys(TRK_Channel &channel, double time);

    ZEL_HandleAnchorPtr myAnchor;
    mutable ZEL_Instance *myInstance = nullptr;
    KIT_StringHolder myName;
    mutable std::uint32_t myCount = 0; ///< that of no anchor
    mutable int myComponent = 0;
    int myIndex = theNamedOne;
    Kind myKind;
};

/// The components of a handle's parameter, as handles: `for (ZEL_FloatHandle c : t.components())`.
template <class HANDLE>
class ZEL_HandleComponents
{
public:
    explicit ZEL_HandleComponents(const HANDLE &whole) : myWhole(whole), mySize(whole.size()) {}

    class Iterator
    {
    public:
        Iterator(const HANDLE &whole, int index) : myWhole(&whole), myIndex(index) {}
        HANDLE operator*() const { return (*myWhole)[myIndex]; }
        Iterator &operator++()
        {
            ++myIndex;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return myIndex != other.myIndex; }

    private:
        const HANDLE *myWhole;
        int myIndex;
    };
    Iterator begin() const { return Iterator(myWhole, 0); }
    Iterator end() const { return Iterator(myWhole, mySize); }

private:
    HANDLE myWhole;
    int mySize;
};

/// What is left for the handles themselves is reading and setting; SELF is the handle.
template <class SELF>
class ZEL_HandleOf : public ZEL_Handle
{
public:
    /// The component of that index, or channel token or alias.
    SELF operator[](int index) const
    {
        SELF other(static_cast<const SELF &>(*this));
        other.moveTo(index);
        return other;
    }
    SELF operator[](std::string_view channel) const
    {
        SELF other(static_cast<const SELF &>(*this));
        other.moveTo(channel);
        return other;
    }
    ZEL_HandleComponents<SELF> components() const
    {
        return ZEL_HandleComponents<SELF>(static_cast<const SELF &>(*this));
    }

protected:
    using ZEL_Handle::ZEL_Handle;
};

// ---------------------------------------------------------------------- //
// Inline parts
// ---------------------------------------------------------------------- //

inline ZEL_Parm *ZEL_Handle::look(ZEL_ParmList &parms, int &index) const
{
    index = myIndex == theNamedOne ? 0 : myIndex;
    ZEL_Parm *const found = parms.getParmPtr(myName);
    return found || myIndex != theNamedOne ? found : parms.getParmPtrFromChannel(myName, &index);
}

/// Threads that read may come here at once. All of them find the same, and the count is stored last,
/// so that whoever sees it sees the rest too.
inline ZEL_Instance *ZEL_Handle::find() const
{
    ZEL_ParmList *const parms = list();
    if (!parms) {
        return nullptr;
    }
    const std::uint32_t count = myAnchor->getChangeCount();
    int index = 0;
    ZEL_Parm *const found = look(*parms, index);
    ZEL_Instance *held = found ? found->getInstance() : nullptr;
    if (held && (!isOfKind(held->getType()) || !held->validIndex(index))) {
        held = nullptr;
    }
    BASstore(myComponent, index);
    BASstore(myInstance, held);
    __atomic_store_n(&myCount, count, __ATOMIC_RELEASE);
    return held;
}

inline bool ZEL_Handle::isOfKind(const ZEL_Type &type) const
{
    switch (myKind) {
    case Kind::FLOAT: return type.isFloatType();
    case Kind::INTEGER:
        return type.isOrdinalType() ||
               (type.isFloatType() && type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER));
    case Kind::STRING: break;
    }
    return type.isStringType();
}

inline const char *ZEL_Handle::wordFor(const ZEL_Type &type)
{
    return type.isFloatType()     ? "a float"
           : type.isOrdinalType() ? "an ordinal"
           : type.isStringType()  ? "a string"
           : type.isDataType()    ? "data"
                                  : "without a value";
}

inline std::string ZEL_Handle::reason() const
{
    if (isValid()) {
        return std::string();
    }
    const std::string quoted = '"' + std::string(name()) + '"';
    ZEL_ParmList *const parms = list();
    if (!parms) {
        return name().empty() ? "the handle is on no list" : "the list of " + quoted + " is gone";
    }
    int index = 0;
    const ZEL_Parm *const found = look(*parms, index);
    if (!found) {
        return "there is no parameter " + quoted;
    }
    if (!isOfKind(found->getType())) {
        const char *const wanted = myKind == Kind::FLOAT     ? "a float"
                                   : myKind == Kind::INTEGER ? "an integer"
                                                             : "a string";
        return quoted + " is " + wordFor(found->getType()) + ", not " + wanted;
    }
    return quoted + " has no such component";
}

inline void ZEL_Handle::moveTo(int index)
{
    if (const ZEL_Parm *const held = parm()) {
        myName = held->getTokenRef();
    }
    myIndex = index >= 0 ? index : theNoIndex;
    find();
}

inline void ZEL_Handle::moveTo(std::string_view channel)
{
    const KIT_StringHolder token(channel.data() ? channel.data() : "", channel.size());
    if (const ZEL_Parm *const held = parm()) {
        moveTo(held->findSubIndex(token, true));
    } else {
        myName = token;
        myIndex = theNamedOne;
    }
}

template <class T, std::size_t N>
std::array<T, N> ZEL_Handle::readArray(double time) const
{
    std::array<T, N> values{};
    const ZEL_Instance *const held = instance();
    const int size = held ? held->getVectorSize() : 0;
    const int thread = BASgetSTID();
    if (size == int(N)) {
        held->getValues(list(), time, values.data(), thread);
    } else {
        for (int i = 0; i < size && i < int(N); ++i) {
            held->getValue(list(), time, values[std::size_t(i)], i, thread);
        }
    }
    return values;
}

inline bool ZEL_Handle::canHaveChannel(const ZEL_Parm &held, int index)
{
    const TRK_Collection *const channels = held.getChannelGroupPtr();
    const KIT_StringHolder &token = held.getChannelToken(index);
    return channels && (held.getChannel(index) || channels->getChannel(token) ||
                        TRK_Collection::isValidChannelName(token.c_str()));
}

inline bool ZEL_Handle::hasExpression(const ZEL_Parm &held, int index, double time)
{
    const TRK_Channel *const channel = held.getChannel(index);
    const TRK_Segment *const segment = channel ? channel->getExpressionSegment(time) : nullptr;
    return segment && !segment->isInterpolated();
}

inline bool ZEL_Handle::expression(std::string_view text, TRK_ExprLanguage language,
                                   ZEL_Notify notify)
{
    ZEL_Parm *const held = parm();
    const int index = component();
    if (!held || !canHaveChannel(*held, index)) {
        return false;
    }
    constexpr bool evaluate = true;
    constexpr bool deleteChannel = true;
    return held->setExpression(now(), std::string(text).c_str(), language, index, evaluate,
                               deleteChannel, notify == ZEL_Notify::YES);
}

/// A new channel has a key of its own, which nobody has asked for.
inline void ZEL_Handle::dropOtherKeys(TRK_Channel &channel, double time)
{
    while (channel.getNKeys() > 1 && channel.isAtKey(time)) {
        channel.removeKey(channel.getKeyTime(channel.findKey(time) == 0 ? 1 : 0));
    }
}

template <class Set>
bool ZEL_Handle::makeKey(double time, const Set &set)
{
    ZEL_Parm *const held = parm();
    const int index = component();
    if (!held || !held->getType().isAnimatible() || !std::isfinite(time) ||
        !acceptsChange(*held, time, index) || held->getIsOverrideActive(index) ||
        !canHaveChannel(*held, index)) {
        return false;
    }
    const bool freshFlag = !held->getChannel(index) &&
                           !held->getChannelGroupPtr()->getChannel(held->getChannelToken(index));
    held->addChannel(index);
    set(ZEL_SetOptions(ZEL_Keys::KEY, ZEL_Notify::NO));
    // No key was made where the component has that value already. A handler of channel events may
    // have deleted the channel.
    const TRK_Channel *channel = held->getChannel(index);
    const bool textFlag = myKind == Kind::STRING;
    if (channel && (!channel->isAtKey(time) || (textFlag && !hasExpression(*held, index, time)))) {
        held->hardenChanges(time, index, true, nullptr, nullptr);
    }
    if (!textFlag && hasExpression(*held, index, time)) {
        set(ZEL_SetOptions(ZEL_Keys::KEY, ZEL_Notify::NO, ZEL_Expressions::REPLACE));
    }
    if (TRK_Channel *const made = held->getChannel(index); made && freshFlag) {
        dropOtherKeys(*made, time);
    }
    constexpr bool sendEvent = true;
    constexpr bool updateMulti = true;
    held->privateValueChanged(index, sendEvent, updateMulti);
    return true;
}
