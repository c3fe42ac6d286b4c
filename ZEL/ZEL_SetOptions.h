/// \file ZEL_SetOptions.h
/// How a handle sets a value, in words instead of a row of bools:
/// `density.set(2.5, {ZEL_Keys::KEY, ZEL_Notify::NO})`.
///
/// Threads:    plain values.
#pragma once

#include <ZEL/ZEL_ParmTypes.h>

#include <type_traits>

/// What becomes of a value that is set on a component with a channel. Without a channel it is stored,
/// and there is nothing to key.
enum class ZEL_Keys
{
    AS_IT_IS, ///< as the channel manager's preference says: a key, or pending until it is hardened
    KEY       ///< a key, unless the component has that value already
};

/// What becomes of an expression that drives the component at the time.
enum class ZEL_Expressions
{
    KEEP,   ///< it stays: the value is pending at its time only, or with KEY takes over from there
    REPLACE ///< the value takes its place from its key to the next
};

/// Whether the list's event handler and the graph are notified.
enum class ZEL_Notify
{
    YES,
    NO
};

/// Any of these words in any order, also a single one without braces; the first of each enumeration
/// where none is given.
class ZEL_SetOptions
{
    template <class Option>
    static constexpr bool isOption =
        std::is_same_v<Option, ZEL_Keys> || std::is_same_v<Option, ZEL_Expressions> ||
        std::is_same_v<Option, ZEL_Notify>;

public:
    constexpr ZEL_SetOptions() = default;
    template <class First, class... More,
              std::enable_if_t<isOption<First> && (isOption<More> && ...), int> = 0>
    constexpr ZEL_SetOptions(First first, More... more)
    {
        choose(first);
        (choose(more), ...);
    }

    constexpr ZEL_AddKeyType addKey() const
    {
        return myKeys == ZEL_Keys::KEY ? ZEL_ADDKEY_FORCE : ZEL_ADDKEY_PENDING;
    }
    constexpr bool replaceExpression() const { return myExpressions == ZEL_Expressions::REPLACE; }
    constexpr bool propagate() const { return myNotify == ZEL_Notify::YES; }

private:
    constexpr void choose(ZEL_Keys keys) { myKeys = keys; }
    constexpr void choose(ZEL_Expressions expressions) { myExpressions = expressions; }
    constexpr void choose(ZEL_Notify notify) { myNotify = notify; }

    ZEL_Keys myKeys = ZEL_Keys::AS_IT_IS;
    ZEL_Expressions myExpressions = ZEL_Expressions::KEEP;
    ZEL_Notify myNotify = ZEL_Notify::YES;
};
