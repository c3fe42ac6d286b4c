#include <ZEL/ZEL_ParmIOToken.h>

#include <cstring>

namespace
{
struct TokenRecord
{
    const char *word;
    std::size_t length;
    int binaryId;
};

constexpr TokenRecord theTokens[] = {
    {"\t", 1, -1}, // ZEL_IO_TAB
    {" ", 1, -1},  // ZEL_IO_BLANK
    {"[", 1, -1},  // ZEL_IO_OPEN
    {"]", 1, -1},  // ZEL_IO_CLOSE
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row) {word, sizeof(word) - 1, packet},
#include <ZEL/ZEL_InstanceOptions.def>
#undef ZEL_INSTANCE_OPTION
};
static_assert(sizeof(theTokens) / sizeof(theTokens[0]) == ZEL_IO_TOKEN_COUNT,
              "one record for each token");

constexpr TokenRecord theNoToken = {"", 0, -1};

const TokenRecord &recordOf(ZEL_ParmIOToken token)
{
    return unsigned(token) < unsigned(ZEL_IO_TOKEN_COUNT) ? theTokens[token] : theNoToken;
}
} // namespace

const char *getPacketIOToken(ZEL_ParmIOToken token)
{
    return recordOf(token).word;
}

std::size_t getPacketIOTokenLen(ZEL_ParmIOToken token)
{
    return recordOf(token).length;
}

int getPacketIOBinaryId(ZEL_ParmIOToken token)
{
    return recordOf(token).binaryId;
}

bool comparePacketIOToken(ZEL_ParmIOToken token, const char *text, std::size_t length)
{
    const TokenRecord &record = recordOf(token);
    return record.length == length && std::memcmp(record.word, text, length) == 0;
}
