#include <ZEL/list/ZEL_KindPrivate.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Data.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Ordinal.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_String.h>
#include <ZEL/ZEL_Template.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <typeinfo>

namespace
{

using Item = std::shared_ptr<const ZEL_DataItem>;

template <class T>
T readValue(const ZEL_Parm &parm, double time, int index, int thread)
{
    T value = T();
    if constexpr (std::is_same_v<T, KIT_String>) {
        constexpr bool expand = true;
        parm.getValue(time, value, index, expand, thread);
    } else {
        parm.getValue(time, value, index, thread);
    }
    return value;
}

static_assert(sizeof(void *) != 8 || (sizeof(ZEL_Parm) == 16 && sizeof(ZEL_Float) == 48 &&
                                      sizeof(ZEL_Ordinal) == 64 && sizeof(ZEL_String) == 64),
              "a parameter and its number are a cache line; a text or menu is 16 bytes more");
static_assert(sizeof(void *) != 8 || (sizeof(ZEL_Data) == 96 && sizeof(ZEL_Multi) == 176),
              "as ARCHITECTURE.md says");

template <class T>
void copyPlain(const ZEL_ComponentCopy &copy)
{
    const T value = readValue<T>(copy.source, copy.time, copy.sourceIndex, copy.thread);
    copy.target.setValue(copy.time, value, copy.replaceExpression, copy.index, copy.addKey,
                         copy.keySet);
}

void setText(const ZEL_ComponentCopy &copy, const char *text, TRK_StringMeaning meaning)
{
    copy.target.setValue(copy.time, text, meaning, copy.replaceExpression, copy.index, copy.addKey,
                         copy.keySet);
}

void assignText(const ZEL_ComponentCopy &copy)
{
    constexpr bool expand = false;
    KIT_String text;
    copy.source.getValue(copy.time, text, copy.sourceIndex, expand, copy.thread);
    const TRK_StringMeaning meaning = copy.source.getStringMeaning(copy.time, copy.sourceIndex);
    setText(copy, text.nonNullStr(), meaning);
}

void copyText(const ZEL_ComponentCopy &copy)
{
    const TRK_StringMeaning meaning = copy.source.getStringMeaning(copy.time, copy.sourceIndex);
    KIT_String text;
    if (meaning == TRK_MEANING_LITERAL) {
        // Expanded as an expression, a literal would get quotes, which would then be stored.
        constexpr bool expand = false;
        copy.source.getValue(copy.time, text, copy.sourceIndex, expand, copy.thread);
    } else {
        copy.source.getExpressionOrValue(copy.time, text, copy.sourceIndex, copy.thread);
    }
    setText(copy, text, meaning);
}

template <class T>
bool equal(const ZEL_ComponentPair &pair)
{
    return readValue<T>(pair.first, pair.time, pair.firstIndex, pair.thread) ==
           readValue<T>(pair.second, pair.time, pair.secondIndex, pair.thread);
}

bool equalItems(const ZEL_ComponentPair &pair)
{
    // A parameter of another kind reads as a null item, but isn't equal to one.
    const bool sameKind = pair.first.getType().isDataType() == pair.second.getType().isDataType();
    return equal<Item>(pair) && sameKind;
}

template <class T>
void evaluate(const ZEL_Parm &parm, double time, int index, int thread)
{
    readValue<T>(parm, time, index, thread);
}

void evaluateNothing(const ZEL_Parm &, double, int, int) {}

bool hasItem(const ZEL_Parm &parm, double time, int index, int thread)
{
    return bool(readValue<Item>(parm, time, index, thread));
}

const char *openNumberReference(const ZEL_Parm &, TRK_ExprLanguage)
{
    return "ch(\"";
}

const char *openTextReference(const ZEL_Parm &parm, TRK_ExprLanguage language)
{
    const ZEL_TypeExtended extended = parm.getTypeExtended();
    const bool namesNodes = extended == ZEL_TYPEX_NODE_PATH || extended == ZEL_TYPEX_NODE_PATHS ||
                            parm.getType().hasStringType(ZEL_Type::ZEL_STR_OP_REF_LIST);
    if (namesNodes) {
        return "chsop(\"";
    }
    return language == TRK_LANGUAGE_NATIVE ? "chs(\"" : openNumberReference(parm, language);
}

} // namespace

/// How instances of a class are made.
template <class T>
struct ZEL_Kind::Maker
{
    static constexpr bool hasRoom = std::is_same_v<T, ZEL_Float> || std::is_same_v<T, ZEL_Ordinal>;
    using Number = std::conditional_t<std::is_same_v<T, ZEL_Float>, double, std::int64_t>;

    /// `source` is a description or an instance.
    template <class Source>
    static ZEL_Instance *construct(void *memory, const Source &source, ZEL_Parm *parm)
    {
        if constexpr (hasRoom) {
            return new (memory)
                T(source, parm, reinterpret_cast<Number *>(static_cast<T *>(memory) + 1));
        } else {
            return new (memory) T(source, parm);
        }
    }
    static ZEL_Instance *make(ZEL_Template *description, ZEL_Parm *parm)
    {
        if constexpr (hasRoom) {
            return new T(description, parm, nullptr);
        } else {
            return new T(description, parm);
        }
    }
    static ZEL_Instance *makeIn(void *memory, ZEL_Template *description, ZEL_Parm *parm)
    {
        return construct(memory, description, parm);
    }
    static ZEL_Instance *copyIn(void *memory, const ZEL_Instance &source, ZEL_Parm *parm)
    {
        return construct(memory, static_cast<const T &>(source), parm);
    }
    static bool makes(const ZEL_Instance &instance) { return typeid(instance) == typeid(T); }
    static std::size_t bytes(const ZEL_Template &description)
    {
        const int size = description.getVectorSize();
        return sizeof(T) + (hasRoom && size > 1 ? std::size_t(size) * sizeof(Number) : 0);
    }
    static constexpr Making theMaking = {make, makeIn, copyIn, makes, bytes};
};

template <>
struct ZEL_Kind::Maker<void>
{
    static ZEL_Instance *make(ZEL_Template *, ZEL_Parm *) { return nullptr; }
    static ZEL_Instance *makeIn(void *, ZEL_Template *, ZEL_Parm *) { return nullptr; }
    static ZEL_Instance *copyIn(void *, const ZEL_Instance &, ZEL_Parm *) { return nullptr; }
    static bool makes(const ZEL_Instance &) { return false; }
    static std::size_t bytes(const ZEL_Template &) { return 0; }
    static constexpr Making theMaking = {make, makeIn, copyIn, makes, bytes};
};

namespace
{

constexpr ZEL_Kind theKinds[] = {
    {ZEL_Type::ZEL_BASIC_FLOAT, 1, false, ZEL_Kind::Maker<ZEL_Float>::theMaking, copyPlain<double>,
     assignText, equal<double>, evaluate<double>, nullptr, openNumberReference},
    {ZEL_Type::ZEL_BASIC_ORDINAL, 0, true, ZEL_Kind::Maker<ZEL_Ordinal>::theMaking,
     copyPlain<std::int64_t>, assignText, equal<std::int64_t>, evaluate<std::int64_t>, nullptr,
     openNumberReference},
    {ZEL_Type::ZEL_BASIC_STRING, 2, false, ZEL_Kind::Maker<ZEL_String>::theMaking, copyText,
     assignText, equal<KIT_String>, evaluate<KIT_String>, nullptr, openTextReference},
    {ZEL_Type::ZEL_BASIC_DATA, 3, false, ZEL_Kind::Maker<ZEL_Data>::theMaking, copyPlain<Item>,
     copyPlain<Item>, equalItems, evaluate<Item>, hasItem, openNumberReference},
    {ZEL_Type::ZEL_BASIC_NONE, 1, false, ZEL_Kind::Maker<void>::theMaking, copyPlain<double>,
     assignText, equal<double>, evaluateNothing, nullptr, openNumberReference},
};

/// As a float, but for the instance.
constexpr ZEL_Kind theMulti = {ZEL_Type::ZEL_BASIC_FLOAT,
                               1,
                               false,
                               ZEL_Kind::Maker<ZEL_Multi>::theMaking,
                               copyPlain<double>,
                               assignText,
                               equal<double>,
                               evaluate<double>,
                               nullptr,
                               openNumberReference};

} // namespace

const ZEL_Kind &ZEL_Kind::find(const ZEL_Type &type)
{
    const ZEL_Kind *row = theKinds;
    const ZEL_Kind *const none = std::end(theKinds) - 1;
    while (row != none && row->word != type.getBasicType()) {
        ++row;
    }
    return *row;
}

bool ZEL_Kind::copyNumberDefaults(ZEL_Instance &instance)
{
    // An application may derive its own class, and revert otherwise.
    const std::type_info &type = typeid(instance);
    if (type == typeid(ZEL_Float)) {
        return static_cast<ZEL_Float &>(instance).copyNumberDefaults();
    }
    return type == typeid(ZEL_Ordinal) && static_cast<ZEL_Ordinal &>(instance).copyNumberDefaults();
}

// ---------------------------------------------------------------------- //
// What a parameter forwards to its kind
// ---------------------------------------------------------------------- //

bool ZEL_Parm::isStringThatCanExpand(const char *text)
{
    return ZEL_String::isStringThatCanExpand(text);
}

void ZEL_Parm::convertStringToExprLanguage(const char *text, KIT_WorkBuffer &out)
{
    ZEL_String::convertToExprLanguage(text, out);
}

void ZEL_Parm::convertStringFromExprLanguage(const char *text, KIT_String &out)
{
    ZEL_String::convertFromExprLanguage(text, out);
}

bool ZEL_Parm::isStringExpression(const char *text, TRK_StringMeaning meaning,
                                  const ZEL_Template *templatePtr)
{
    return ZEL_String::isExpression(text, meaning, templatePtr);
}

bool ZEL_Parm::isOrdinalExpression(const char *text, const ZEL_Template *templatePtr)
{
    return ZEL_Ordinal::isExpression(text, templatePtr);
}

bool ZEL_Parm::isOrdinalExpression(const ZEL_Default &record, const ZEL_Template *templatePtr)
{
    return ZEL_Ordinal::isExpression(record, templatePtr);
}

const ZEL_Kind &ZEL_Kind::findMaker(const ZEL_Template &description)
{
    return description.isMultiType() ? theMulti : find(description.getType());
}
