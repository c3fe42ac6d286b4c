#include <ZEL/ZEL_TypeConstants.h>

#include <ZEL/types/ZEL_TypePrivate.h>

#include <cstring>
#include <iterator>

// -------------------------------------------------------------------- //
// The objects. `constexpr` makes the compiler prove that no code runs to build them.
// -------------------------------------------------------------------- //

#define ZEL_TYPE_FLAG(wordEnum, enumerator, value, dumps, constant)                                \
    constexpr ZEL_Type ZEL_TYPE_##constant(ZEL_Type::enumerator);
#define ZEL_TYPE_MASK(constant, wordEnum, value)                                                   \
    constexpr ZEL_Type ZEL_TYPE_##constant{ZEL_Type::wordEnum(value)};
#include <ZEL/ZEL_TypeConstants.def>

namespace
{

/// The elementary types under the bare names that the rows use.
namespace Words
{
#define ZEL_TYPE_FLAG(wordEnum, enumerator, value, dumps, constant)                                \
    [[maybe_unused]] constexpr const ZEL_Type &constant = ZEL_TYPE_##constant;
#include <ZEL/ZEL_TypeConstants.def>

/// A row's flags, in the scope where those names are visible.
#define ZEL_TYPE_ROW(name, flags) constexpr ZEL_Type row_##name = flags;
#include <ZEL/ZEL_TypeConstants.def>
} // namespace Words

} // namespace

#define ZEL_TYPE_ROW(name, flags) constexpr ZEL_Type name = Words::row_##name;
#include <ZEL/ZEL_TypeConstants.def>

// -------------------------------------------------------------------- //
// The table
// -------------------------------------------------------------------- //

namespace
{

constexpr ZEL_TypeConstant theConstants[] = {
#define ZEL_TYPE_FLAG(wordEnum, enumerator, value, dumps, constant)                                \
    {"ZEL_TYPE_" #constant, &ZEL_TYPE_##constant},
#define ZEL_PRIVATE_PATH_FLAG(enumerator, value, dumps, constant)
#define ZEL_PRIVATE_INTERFACE_FLAG(enumerator, value, dumps, constant)
#define ZEL_TYPE_MASK(constant, wordEnum, value) {"ZEL_TYPE_" #constant, &ZEL_TYPE_##constant},
#include <ZEL/ZEL_TypeConstants.def>
#define ZEL_TYPE_ROW(name, flags) {#name, &name},
#include <ZEL/ZEL_TypeConstants.def>
};

constexpr int theConstantCount = int(std::size(theConstants));
constexpr int theElementaryCount = 81;
constexpr int theCompositeCount = 130;
static_assert(theConstantCount == theElementaryCount + theCompositeCount,
              "a published type was added or lost");
static_assert(theConstants[theElementaryCount].type == &ZEL_LIST_TERMINATOR,
              "the composites start with the terminator");

} // namespace

const ZEL_TypeConstant *ZELgetTypeConstants(int &count)
{
    count = theConstantCount;
    return theConstants;
}

const ZEL_Type *ZELfindTypeConstant(const char *name)
{
    if (!name) {
        return nullptr;
    }
    for (const ZEL_TypeConstant &constant : theConstants) {
        if (!std::strcmp(constant.name, name)) {
            return constant.type;
        }
    }
    return nullptr;
}

const char *ZELgetTypeConstantName(const ZEL_Type &type)
{
    for (int i = theElementaryCount; i < theConstantCount; i++) {
        if (*theConstants[i].type == type) {
            return theConstants[i].name;
        }
    }
    return nullptr;
}
