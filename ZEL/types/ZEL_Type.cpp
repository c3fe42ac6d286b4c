#include <ZEL/ZEL_Type.h>

#include <KIT/KIT_Format.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Write.h>

#include <ostream>
#include <sstream>

namespace
{

/// A bit of a flag word and its name in the dump.
struct DumpFlag
{
    uint32_t bit;
    const char *word;
    int dumps;
};

#define ZEL_FLOAT_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theFloatFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_ORDINAL_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theOrdinalFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_STRING_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theStringFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_DATA_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theDataFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_PATH_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag thePathFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_CHANNEL_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theChannelFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_INTERFACE_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theInterfaceFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

#define ZEL_BEHAVIOR_FLAG(enumerator, value, dumps, constant) {value, #enumerator, dumps},
constexpr DumpFlag theBehaviorFlags[] = {
#include <ZEL/ZEL_TypeConstants.def>
};

template <size_t N>
void dumpFlags(std::ostream &os, uint32_t word, const DumpFlag (&flags)[N])
{
    for (const DumpFlag &flag : flags) {
        for (int i = 0; (word & flag.bit) != 0 && i < flag.dumps; i++) {
            os << '|' << flag.word;
        }
    }
}

template <class Word>
bool loadWord(KIT_IStream &is, Word &word)
{
    uint32_t value = 0;
    if (!is.read(value)) {
        return false;
    }
    word = Word(value);
    return true;
}

} // namespace

// -------------------------------------------------------------------- //
// Persistence
// -------------------------------------------------------------------- //

void ZEL_Type::saveBinary(std::ostream &os) const
{
    const uint32_t words[] = {myBasic, myFloat,   myOrdinal,   myString,  myData,
                              myPath,  myChannel, myInterface, myBehavior};
    for (const uint32_t word : words) {
        KITwrite(os, word);
    }
}

bool ZEL_Type::loadBinary(KIT_IStream &is)
{
    return loadWord(is, myBasic) && loadWord(is, myFloat) && loadWord(is, myOrdinal) &&
           loadWord(is, myString) && loadWord(is, myData) && loadWord(is, myPath) &&
           loadWord(is, myChannel) && loadWord(is, myInterface) && loadWord(is, myBehavior);
}

// -------------------------------------------------------------------- //
// Text
// -------------------------------------------------------------------- //

void ZEL_Type::saveASCII(std::ostream &os) const
{
    switch (myBasic & 0xFu) {
    case ZEL_BASIC_NONE: os << "ZEL_BASIC_NONE"; break;
    case ZEL_BASIC_ORDINAL:
        os << "ZEL_BASIC_ORDINAL";
        dumpFlags(os, myOrdinal, theOrdinalFlags);
        break;
    case ZEL_BASIC_FLOAT:
        os << "ZEL_BASIC_FLOAT";
        dumpFlags(os, myFloat, theFloatFlags);
        break;
    case ZEL_BASIC_STRING:
        os << "ZEL_BASIC_STRING";
        dumpFlags(os, myString, theStringFlags);
        if (hasStringType(ZEL_STR_PATH)) {
            dumpFlags(os, myPath, thePathFlags);
        }
        break;
    case ZEL_BASIC_DATA:
        os << "ZEL_BASIC_DATA";
        dumpFlags(os, myData, theDataFlags);
        break;
    default: break;
    }
    dumpFlags(os, myChannel, theChannelFlags);
    dumpFlags(os, myInterface, theInterfaceFlags);
    dumpFlags(os, myBehavior, theBehaviorFlags);
}

size_t format(char *buffer, size_t size, const ZEL_Type &type)
{
    std::ostringstream dump;
    type.saveASCII(dump);
    return KITformat(buffer, size, "{0}", dump.str());
}
