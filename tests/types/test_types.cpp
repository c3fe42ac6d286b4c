// Parameter types: the published constants, the queries that a change could break quietly, the text
// dump and the binary record.
#include <ZEL/ZEL_Type.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <KIT/KIT_IStream.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>

namespace
{

std::string dump(const ZEL_Type &type)
{
    std::ostringstream os;
    type.saveASCII(os);
    return os.str();
}

/// The nine words in hexadecimal.
std::string words(const ZEL_Type &type)
{
    std::ostringstream os;
    os << std::hex << type.getBasicType() << ' ' << type.getFloatType() << ' '
       << type.getOrdinalType() << ' ' << type.getStringType() << ' ' << type.getDataType() << ' '
       << type.getPathType() << ' ' << type.getChannelType() << ' ' << type.getInterfaceType()
       << ' ' << type.getBehaviorType();
    return os.str();
}

std::map<std::string, std::string> goldenConstants()
{
    std::map<std::string, std::string> rows;
    std::ifstream file(ZEL_TESTS_DIR "/golden/type_constants.txt");
    std::string name;
    std::string rest;
    while (file >> name && std::getline(file, rest)) {
        rows[name] = rest.substr(1);
    }
    return rows;
}

ZEL_Type countingWords()
{
    return ZEL_Type(ZEL_Type::ZEL_BasicType(1), ZEL_Type::ZEL_FloatType(2),
                    ZEL_Type::ZEL_OrdinalType(3), ZEL_Type::ZEL_StringType(4),
                    ZEL_Type::ZEL_DataType(5), ZEL_Type::ZEL_PathType(6),
                    ZEL_Type::ZEL_ChannelType(7), ZEL_Type::ZEL_InterfaceType(8),
                    ZEL_Type::ZEL_BehaviorType(0x80000009u));
}

} // namespace

TEST(Types, EveryConstantHasItsPublishedWords)
{
    const std::map<std::string, std::string> golden = goldenConstants();
    ASSERT_FALSE(golden.empty());
    int count = 0;
    const ZEL_TypeConstant *constants = ZELgetTypeConstants(count);
    std::map<std::string, std::string> published;
    for (int i = 0; i < count; i++) {
        published[constants[i].name] = words(*constants[i].type);
    }
    EXPECT_EQ(published.size(), static_cast<size_t>(count)) << "a name stands twice";
    for (const auto &row : golden) {
        EXPECT_EQ(published[row.first], row.second) << row.first;
    }
    EXPECT_EQ(published.size(), golden.size());
}

TEST(Types, ConstantsAreFoundByNameAndByType)
{
    EXPECT_EQ(ZELfindTypeConstant("ZEL_UVW_J"), &ZEL_UVW_J);
    EXPECT_EQ(ZELfindTypeConstant("ZEL_TYPE_JOIN_EXT"), nullptr) << "the library's own";
    EXPECT_EQ(ZELfindTypeConstant(nullptr), nullptr);
    EXPECT_STREQ(ZELgetTypeConstantName(ZEL_FLT_J), "ZEL_FLT");
    EXPECT_STREQ(ZELgetTypeConstantName(ZEL_RGBA), "ZEL_RGB");
    EXPECT_STREQ(ZELgetTypeConstantName(ZEL_Type()), "ZEL_LIST_TERMINATOR");
    EXPECT_EQ(ZELgetTypeConstantName(countingWords()), nullptr);
}

TEST(Types, DumpNamesTheFlagsOfTheKind)
{
    ZEL_Type pathWithoutPathFlag = ZEL_STRING | ZEL_TYPE_PIC;
    ZEL_Type twoKinds = ZEL_TYPE_FLOAT | ZEL_TYPE_ORDINAL;
    ZEL_Type floatWithHighBasicBit = ZEL_FLT;
    floatWithHighBasicBit |= ZEL_Type(ZEL_Type::ZEL_BasicType(0x10));
    ZEL_Type foreignFlag = ZEL_STRING | ZEL_TYPE_INTEGER | ZEL_TYPE_GEOMETRY;
    ZEL_Type shown = ZEL_TYPE_INVISIBLE | ZEL_TYPE_EXCLUSIVE | ZEL_TYPE_JOIN_NEXT |
                     ZEL_TYPE_LABEL_NONE | ZEL_TYPE_PLAIN | ZEL_TYPE_CHANNEL | ZEL_JOINED_TOGGLE;
    const std::tuple<ZEL_Type, const char *> rows[] = {
        {ZEL_Type(), "ZEL_BASIC_NONE"},
        {ZEL_TYPE_BASIC_TYPE, ""},
        {ZEL_FLT, "ZEL_BASIC_FLOAT"},
        {ZEL_PAINTFILE_E, "ZEL_BASIC_STRING|ZEL_STR_PATH|ZEL_PATH_PAINT|ZEL_PATH_PAINT"},
        {ZEL_ICONFILE, "ZEL_BASIC_STRING|ZEL_STR_PATH|ZEL_PATH_ICON"},
        {ZEL_JOINED_TOGGLE, "ZEL_BASIC_ORDINAL|ZEL_ORD_TOGGLE|ZEL_INTERFACE_JOIN_EXT"},
        {ZEL_GEODELTA, "ZEL_BASIC_DATA"},
        {ZEL_GEOMETRY, "ZEL_BASIC_DATA|ZEL_DATA_GEOMETRY"},
        {ZEL_TYPE_FLOAT | ZEL_TYPE_SLIDERFRACTION, "ZEL_BASIC_FLOAT|ZEL_FLOAT_SLIDERFRAC"},
        {pathWithoutPathFlag, "ZEL_BASIC_STRING"},
        {foreignFlag, "ZEL_BASIC_STRING"},
        {twoKinds, ""},
        {twoKinds | ZEL_TYPE_NAMEUVW, "|ZEL_CHAN_NAMEUVW"},
        {floatWithHighBasicBit, "ZEL_BASIC_FLOAT"},
        {ZEL_SWITCHER, "ZEL_BASIC_ORDINAL|ZEL_ORD_SWITCHERLIST|ZEL_BEHAVIOR_NOREFRESH"},
        {shown, "ZEL_BASIC_ORDINAL|ZEL_ORD_TOGGLE|ZEL_INTERFACE_INVISIBLE|ZEL_INTERFACE_EXCLUSIVE"
                "|ZEL_INTERFACE_JOIN_EXT|ZEL_INTERFACE_JOIN_NEXT|ZEL_INTERFACE_LABEL_NONE"
                "|ZEL_INTERFACE_PLAIN"},
        {ZEL_INT_MINMAX | ZEL_TYPE_LOGARITHMIC | ZEL_TYPE_BASEPARM | ZEL_TYPE_NORESIM,
         "ZEL_BASIC_FLOAT|ZEL_FLOAT_INTEGER|ZEL_FLOAT_LOGARITHMIC|ZEL_CHAN_NAMEMINMAX"
         "|ZEL_BEHAVIOR_NORESIM|ZEL_BEHAVIOR_BASEPARM"},
    };
    for (const auto &[type, text] : rows) {
        EXPECT_EQ(dump(type), text) << words(type);
    }
}

TEST(Types, KindIsComparedWholeAndCookingLooksAtTwoFlags)
{
    const ZEL_Type twoKinds = ZEL_TYPE_FLOAT | ZEL_TYPE_ORDINAL | ZEL_TYPE_SWITCHERLIST;
    EXPECT_FALSE(twoKinds.isFloatType());
    EXPECT_FALSE(twoKinds.isBasicType(ZEL_Type::ZEL_BASIC_FLOAT));
    EXPECT_FALSE(twoKinds.isSwitcher());
    EXPECT_TRUE(ZEL_SWITCHER_REFRESH.isSwitcher());

    EXPECT_TRUE(ZEL_TYPE_NORESIM.isCookable());
    EXPECT_FALSE(ZEL_TYPE_NOCOOK.isCookable());
    EXPECT_FALSE(ZEL_SWITCHER.isCookable());

    EXPECT_TRUE(ZEL_HEADING.hasAllOf(ZEL_SEPARATOR));
    EXPECT_FALSE(ZEL_STRING.hasAllOf(ZEL_SEPARATOR));
    EXPECT_TRUE(ZEL_STRING.hasAnyOf(ZEL_SEPARATOR));
}

TEST(Types, ChangesReachEveryWord)
{
    const ZEL_Type type = countingWords();
    ZEL_Type inverted = type;
    inverted.invert();
    EXPECT_EQ(words(inverted), "fffffffe fffffffd fffffffc fffffffb fffffffa fffffff9 fffffff8 "
                               "fffffff7 7ffffff6");
    EXPECT_FALSE(type & inverted);
    EXPECT_EQ(words(type | inverted),
              "ffffffff ffffffff ffffffff ffffffff ffffffff ffffffff ffffffff ffffffff ffffffff");

    ZEL_Type stripped = ZEL_FLT;
    stripped.stripUiType();
    EXPECT_EQ(stripped, ZEL_FLT_E);
    ZEL_Type onlyUi = type;
    onlyUi.stripUiType();
    EXPECT_EQ(words(onlyUi), "1 2 3 4 5 6 7 0 80000009");

    // Any single word makes two types differ.
    for (int i = 0; i < 9; i++) {
        uint32_t values[9] = {};
        values[i] = 1u << 31;
        ZEL_Type other;
        std::memcpy(static_cast<void *>(&other), values, sizeof(values));
        EXPECT_TRUE(bool(other)) << "word " << i;
        EXPECT_NE(other, ZEL_LIST_TERMINATOR) << "word " << i;
    }
}

TEST(Types, BinaryRecordIsNineLittleEndianWords)
{
    std::ostringstream os;
    countingWords().saveBinary(os);
    const std::string record = os.str();
    ASSERT_EQ(record.size(), 36u);
    EXPECT_EQ(record.substr(0, 8), std::string("\1\0\0\0\2\0\0\0", 8));
    EXPECT_EQ(record.substr(32), std::string("\x9\0\0\x80", 4));

    for (size_t length = 0; length <= record.size(); length++) {
        KIT_IStream is(record.data(), length, KIT_IStream::BINARY);
        ZEL_Type type = ZEL_Type();
        type.invert();
        EXPECT_EQ(type.loadBinary(is), length == record.size()) << length;
        uint32_t loaded[9];
        std::memcpy(loaded, &type, sizeof(loaded));
        for (uint32_t i = 0; i < 9; i++) {
            const bool readFlag = (i + 1) * 4 <= length;
            const uint32_t word = i < 8 ? i + 1 : 0x80000009u;
            EXPECT_EQ(loaded[i], readFlag ? word : ~0u) << "word " << i << " of " << length;
        }
    }

    const char text[] = "1 2 3 4 5 6 7 8 2147483657";
    KIT_IStream is(text, std::strlen(text), KIT_IStream::TEXT);
    ZEL_Type type;
    ASSERT_TRUE(type.loadBinary(is)) << "text streams are read by the same call";
    EXPECT_EQ(type, countingWords());
}

TEST(Types, FormatCutsAtTheBuffer)
{
    char buffer[12];
    EXPECT_EQ(format(buffer, sizeof(buffer), ZEL_INT), std::strlen("ZEL_BASIC_FLOAT|ZEL_FLOAT_"
                                                                   "INTEGER"));
    EXPECT_STREQ(buffer, "ZEL_BASIC_F");
}
