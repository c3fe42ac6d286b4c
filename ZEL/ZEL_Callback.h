/// \file ZEL_Callback.h
/// What an application attaches to a template to be notified of a change: a function and its data.
///
/// Vocabulary: *empty* = no function; calling it does nothing.
/// Ownership:  a value of three machine words that is copied whole; the data pointer is the
///             application's and must live as long as any template that carries the callback.
/// Threads:    a value. The function runs on the thread that makes the change.
/// Errors:     the function returns 1 when it has done something, 0 otherwise; an empty callback
///             returns 0.
#pragma once

#include <cstdint>

class ZEL_Template;

class ZEL_Callback
{
public:
    /// `owner` = the parameter's owner, `component` = the changed one or -1, `time` in seconds,
    /// `data` and `tag` = what the callback was made with.
    using Function = int (*)(void *owner, int component, double time,
                             const ZEL_Template *templatePtr, void *data, intptr_t tag);

    /// Empty.
    constexpr ZEL_Callback() noexcept {}
    /// `data` and `tag` are passed to each call; the library doesn't interpret them.
    constexpr ZEL_Callback(Function function, void *data = nullptr, intptr_t tag = 0) noexcept
        : myFunction(function), myData(data), myTag(tag)
    {}

    constexpr bool isSet() const { return myFunction != nullptr; }
    constexpr Function getFunction() const { return myFunction; }
    constexpr void *getData() const { return myData; }
    constexpr intptr_t getTag() const { return myTag; }

    /// Calls the function. Empty: does nothing and returns 0.
    int call(void *owner, int component, double time, const ZEL_Template *templatePtr) const
    {
        return myFunction ? myFunction(owner, component, time, templatePtr, myData, myTag) : 0;
    }

    constexpr bool operator==(const ZEL_Callback &other) const
    {
        return myFunction == other.myFunction && myData == other.myData && myTag == other.myTag;
    }
    constexpr bool operator!=(const ZEL_Callback &other) const { return !(*this == other); }

private:
    Function myFunction = nullptr;
    void *myData = nullptr;
    intptr_t myTag = 0;
};

static_assert(sizeof(ZEL_Callback) == 3 * sizeof(void *), "a callback is three machine words");
