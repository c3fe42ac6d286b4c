#include <DS/DS_ParmInfo.h>

#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <string_view>

DS_ParmInfo::DS_ParmInfo(const char *text) : name(text, true), label(text, true), type(ZEL_FLT_E) {}

DS_ParmInfo::~DS_ParmInfo()
{
    const auto destroy = [](const auto &records) {
        for (const auto *record : records) {
            delete record;
        }
    };
    destroy(menuChoices);
    destroy(attributes);
    destroy(handles);
    destroy(disableInfo);
}

bool DS_ParmInfo::isSingleNumber() const
{
    return type.isFloatType() && size == 1;
}

bool DS_ParmInfo::isLogarithmic() const
{
    return isSingleNumber() && getFlag(theLogarithmicFlag);
}

void DS_ParmInfo::setLogarithmic(bool logarithmic)
{
    if (!isSingleNumber()) {
        return;
    }
    if (logarithmic) {
        setFlag(theLogarithmicFlag);
    } else {
        clearFlag(theLogarithmicFlag);
    }
}

bool DS_ParmInfo::isInvisible() const
{
    return !type.isVisible();
}

void DS_ParmInfo::setInvisible()
{
    type |= ZEL_TYPE_INVISIBLE;
}

// -------------------------------------------------------------------- //
// The type by its keyword
// -------------------------------------------------------------------- //

namespace
{

using Info = DS_ParmInfo;
using Type = ZEL_Type;

constexpr int theRampMask = ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB;

bool hasMulti(const Info &info, ZEL_MultiType kind)
{
    return (info.multiType & theRampMask & kind) != 0;
}

/// A number with this naming of channels; integers and logarithmic numbers have their own keywords.
bool isNamed(const Info &info, Type::ZEL_ChannelType channel)
{
    return info.type.isFloatType() && info.type.isChannelType(channel);
}

bool isWhole(const Info &info)
{
    return info.type.isFloatType() && info.type.hasFloatType(Type::ZEL_FLOAT_INTEGER);
}

bool isNumber(const Info &info, Type::ZEL_FloatType look)
{
    return info.type.isFloatType() && info.type.hasFloatType(look);
}

bool isOrdinal(const Info &info, Type::ZEL_OrdinalType kind)
{
    return info.type.isOrdinalType() && info.type.hasOrdinalType(kind);
}

bool isText(const Info &info, Type::ZEL_StringType kind)
{
    return info.type.isStringType() && info.type.hasStringType(kind);
}

bool isPath(const Info &info, Type::ZEL_PathType filter)
{
    return isText(info, Type::ZEL_STR_PATH) && info.type.hasPathType(filter);
}

bool isColor(const Info &info)
{
    return isNumber(info, Type::ZEL_FLOAT_RGBA) || isNamed(info, Type::ZEL_CHAN_NAMERGB);
}

bool isPlainFloat(const Info &info)
{
    const Type::ZEL_ChannelType channel = info.type.getChannelType();
    return info.type.isFloatType() && info.type.getFloatType() == 0 &&
           channel != Type::ZEL_CHAN_NAMEXYZW && channel != Type::ZEL_CHAN_NAMEUVW &&
           channel != Type::ZEL_CHAN_NAMERGB && channel != Type::ZEL_CHAN_NAMEMINMAX;
}

bool isPlainInteger(const Info &info)
{
    const Type::ZEL_ChannelType channel = info.type.getChannelType();
    return isWhole(info) && !info.type.hasFloatType(Type::ZEL_FLOAT_LOGARITHMIC) &&
           channel != Type::ZEL_CHAN_NAMEMINMAX && channel != Type::ZEL_CHAN_NAMESTARTEND;
}

struct TypeWord
{
    const char *word;
    bool (*fits)(const Info &info);
};

// The first matching row counts.
constexpr TypeWord theTypeWords[] = {
    {"ramp_flt", [](const Info &i) { return hasMulti(i, ZEL_MULTITYPE_RAMP_FLT); }},
    {"ramp_rgb", [](const Info &i) { return hasMulti(i, ZEL_MULTITYPE_RAMP_RGB); }},
    {"integer", isPlainInteger},
    {"float", isPlainFloat},
    {"float_minmax",
     [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEMINMAX) && !isWhole(i); }},
    {"int_minmax", [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEMINMAX); }},
    {"int_startend",
     [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMESTARTEND) && isWhole(i); }},
    {"log", [](const Info &i) { return isNumber(i, Type::ZEL_FLOAT_LOGARITHMIC) && !isWhole(i); }},
    {"intlog", [](const Info &i) { return isNumber(i, Type::ZEL_FLOAT_LOGARITHMIC); }},
    {"angle", [](const Info &i) { return isNumber(i, Type::ZEL_FLOAT_ANGLEJACK); }},
    {"file",
     [](const Info &i) {
         return isText(i, Type::ZEL_STR_PATH) && !isPath(i, Type::ZEL_PATH_PIC) &&
                !isPath(i, Type::ZEL_PATH_GEO);
     }},
    {"image", [](const Info &i) { return isPath(i, Type::ZEL_PATH_PIC); }},
    {"geometry", [](const Info &i) { return isPath(i, Type::ZEL_PATH_GEO); }},
    {"toggle",
     [](const Info &i) {
         return isOrdinal(i, Type::ZEL_ORD_TOGGLE) && !i.getFlag(Info::theEmbedFlag);
     }},
    {"embed", [](const Info &i) { return isOrdinal(i, Type::ZEL_ORD_TOGGLE); }},
    {"button", [](const Info &i) { return isOrdinal(i, Type::ZEL_ORD_CALLBACK); }},
    {"direction", [](const Info &i) { return isNumber(i, Type::ZEL_FLOAT_POLAR); }},
    {"vector", [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEXYZW) && i.size != 4; }},
    {"vector4", [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEXYZW); }},
    {"uv", [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEUVW) && i.size == 2; }},
    {"uvw", [](const Info &i) { return isNamed(i, Type::ZEL_CHAN_NAMEUVW); }},
    {"oplist", [](const Info &i) { return isText(i, Type::ZEL_STR_OP_REF_LIST); }},
    {"oppath", [](const Info &i) { return isText(i, Type::ZEL_STR_OP_REF_NAME); }},
    {"label", [](const Info &i) { return isText(i, Type::ZEL_STR_LABEL); }},
    {"separator", [](const Info &i) { return isText(i, Type::ZEL_STR_SEPARATOR); }},
    {"rgbamask", [](const Info &i) { return isOrdinal(i, Type::ZEL_ORD_RGBAMASK); }},
    {"buttonstrip", [](const Info &i) { return isOrdinal(i, Type::ZEL_ORD_BUTTONSTRIP); }},
    {"iconstrip", [](const Info &i) { return isOrdinal(i, Type::ZEL_ORD_ICONSTRIP); }},
    {"geometrydata",
     [](const Info &i) {
         return i.type.isDataType() && i.type.hasDataType(Type::ZEL_DATA_GEOMETRY);
     }},
    {"keyvaluedict",
     [](const Info &i) {
         return i.type.isDataType() && i.type.hasDataType(Type::ZEL_DATA_KEY_VALUE_DICT);
     }},
    {"data", [](const Info &i) { return i.type.isDataType(); }},
    {"string", [](const Info &i) { return i.type.isStringType(); }},
    {"color", [](const Info &i) { return isColor(i) && i.size != 4; }},
    {"color4", isColor},
};

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words)
{
    for (const std::string_view other : words) {
        if (word == other) {
            return true;
        }
    }
    return false;
}

} // namespace

bool DS_ParmInfo::setTypeByToken(const char *word)
{
    const int index = ZELlookupScriptType(word);
    const ZEL_ScriptType *const row = ZELgetScriptType(index);
    // Records predate icon strips, and callers that fill them rely on this result.
    if (!row || index > ZELlookupScriptType("buttonstrip")) {
        return false;
    }
    const std::string_view token(word);
    if (token == "ordinal") {
        return true;
    }
    type = *row->type;
    if (isOneOf(token, {"oppath", "oplist", "object", "objectlist", "render"})) {
        type = ZEL_STRING;
    } else if (isOneOf(token, {"color", "rgb"})) {
        type = ZEL_RGB_E;
    }
    multiType = row->multiType;
    size = row->size ? row->size : size;
    if (token == "embed") {
        setFlag(theEmbedFlag);
    } else {
        clearFlag(theEmbedFlag);
    }
    return true;
}

const char *DS_ParmInfo::getTypeToken() const
{
    for (const TypeWord &row : theTypeWords) {
        if (row.fits(*this)) {
            return row.word;
        }
    }
    // A choice is written by its token, as in conditions and saved values; without a menu there is
    // only its index.
    const bool menuFlag = !menuChoices.isEmpty() || menuScript.isstring();
    return !type.isOrdinalType() ? "float" : menuFlag ? "string" : "integer";
}
