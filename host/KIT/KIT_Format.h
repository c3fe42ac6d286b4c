/// \file KIT_Format.h
/// Formatting into a char buffer with "{0}" placeholders.
///
/// Vocabulary: *placeholder* = {}, {0}, {1:>8}, {2:.3f} ...; "{{" and "}}" are plain braces.
/// Ownership:  borrows everything for the call.
/// Threads:    any.
/// Errors:     nothing throws. A format that is malformed, names an argument that doesn't exist or
///             does not fit an argument's kind writes the empty text and returns 0.
/// Cost:       a small array on the heap for the arguments; meant for messages, not for loops.

#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringRef.h>

#include <type_traits>

/// One argument, reduced to one of the few kinds that can be printed.
class KIT_FormatArg
{
public:
    enum Kind : unsigned char
    {
        BOOL,
        CHAR,
        INTEGER,
        UNSIGNED,
        FLOAT,
        TEXT,
        POINTER,
    };

    KIT_FormatArg(bool value) : myKind(BOOL) { myValue.integer = value; }
    KIT_FormatArg(char value) : myKind(CHAR) { myValue.integer = value; }

    /// Enumerators print as their numbers.
    template <class T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>, int> = 0>
    KIT_FormatArg(T value)
    {
        if constexpr (std::is_enum_v<T>) {
            setInteger(static_cast<std::underlying_type_t<T>>(value));
        } else {
            setInteger(value);
        }
    }
    template <class T, std::enable_if_t<std::is_floating_point_v<T>, short> = 0>
    KIT_FormatArg(T value) : myKind(FLOAT)
    {
        myValue.number = static_cast<double>(value);
    }

    /// A null pointer prints as nothing, like the null state.
    KIT_FormatArg(const char *value) : KIT_FormatArg(std::string_view(value ? value : "")) {}
    KIT_FormatArg(const KIT_StringRef &value) : KIT_FormatArg(value.view()) {}
    KIT_FormatArg(const KIT_String &value) : KIT_FormatArg(value.view()) {}
    KIT_FormatArg(const std::string &value) : KIT_FormatArg(std::string_view(value)) {}
    KIT_FormatArg(std::string_view value) : myKind(TEXT)
    {
        myValue.text.data = value.data();
        myValue.text.size = value.size();
    }
    KIT_FormatArg(const void *value) : myKind(POINTER) { myValue.pointer = value; }

    Kind getKind() const { return myKind; }
    int64_t getInteger() const { return myValue.integer; }
    double getFloat() const { return myValue.number; }
    const void *getPointer() const { return myValue.pointer; }
    std::string_view getText() const
    {
        return std::string_view(myValue.text.data, myValue.text.size);
    }

private:
    template <class T>
    void setInteger(T value)
    {
        myKind = std::is_signed_v<T> ? INTEGER : UNSIGNED;
        myValue.integer = static_cast<int64_t>(value);
    }

    union
    {
        int64_t integer;
        double number;
        const void *pointer;
        struct
        {
            const char *data;
            size_t size;
        } text;
    } myValue;
    Kind myKind;
};

/// The same with the arguments in an array.
KIT_API size_t KITvformat(char *buffer, size_t size, const char *format, const KIT_FormatArg *args,
                          size_t count);

/// Writes the formatted text, cut to `size` - 1 bytes and NUL terminated unless `size` is 0.
/// Returns the length of the whole text, 0 for a bad format.
template <class... Args>
size_t KITformat(char *buffer, size_t size, const char *format, const Args &...args)
{
    if constexpr (sizeof...(args) == 0) {
        return KITvformat(buffer, size, format, nullptr, 0);
    } else {
        const KIT_FormatArg array[] = {KIT_FormatArg(args)...};
        return KITvformat(buffer, size, format, array, sizeof...(args));
    }
}

/// Appends the formatted text; nothing for a bad format.
KIT_API void KITvformatAppend(KIT_WorkBuffer &out, const char *format, const KIT_FormatArg *args,
                              size_t count);

template <class... Args>
void KITformatAppend(KIT_WorkBuffer &out, const char *format, const Args &...args)
{
    if constexpr (sizeof...(args) == 0) {
        KITvformatAppend(out, format, nullptr, 0);
    } else {
        const KIT_FormatArg array[] = {KIT_FormatArg(args)...};
        KITvformatAppend(out, format, array, sizeof...(args));
    }
}
