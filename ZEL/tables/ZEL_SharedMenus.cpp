#include <ZEL/ZEL_SharedMenus.h>

#include <ZEL/ZEL_Name.h>
#include <ZEL/tables/ZEL_SharedNamesPrivate.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <strings.h>

namespace
{

struct MenuRow
{
    constexpr MenuRow(const char *rowToken, const char *rowLabel = nullptr)
        : token(rowToken), label(rowLabel)
    {}
    constexpr MenuRow(const ZEL_NameRows::Row &row) : token(row.token), label(row.label) {}

    const char *token;
    const char *label;
};

/// The names of a menu, followed by the sentinel.
template <size_t Count>
struct MenuNames
{
    explicit MenuNames(const MenuRow *rows)
    {
        for (size_t i = 0; i < Count; ++i) {
            names[i] = ZEL_Name(rows[i].token, rows[i].label);
        }
    }

    ZEL_Name names[Count + 1];
};

// -------------------------------------------------------------------- //
// Node path filters
// -------------------------------------------------------------------- //

constexpr int theFilterRows = 30;

struct Filter
{
    const char *key;
    const char *label;
};

constexpr Filter theFilters[] = {
#define ZEL_OP_FILTER(name, key, label) {key, label},
#include <ZEL/sparedata/ZEL_SpareDataFilters.def>
#undef ZEL_OP_FILTER
};

/// The filters of a key. Each key appears once, ignoring case.
struct FilterNames
{
    FilterNames()
    {
        ZEL_Name *out = names;
        for (const Filter &filter : theFilters) {
            const auto sameKey = [&](const Filter &other) {
                return !strcasecmp(other.key, filter.key);
            };
            const bool firstFlag = std::none_of(std::begin(theFilters), &filter, sameKey);
            if (firstFlag && *filter.key && out != names + theFilterRows) {
                *out++ = ZEL_Name(filter.key, filter.label);
            }
        }
    }

    ZEL_Name names[theFilterRows + 1];
};

FilterNames theFilterNames;

} // namespace

ZEL_ChoiceList ZELopFilterTypeMenu(ZEL_CHOICELIST_EXCLUSIVE, theFilterNames.names);

// -------------------------------------------------------------------- //
// The menus of the table. The names must be defined first: a list counts its table on construction.
// -------------------------------------------------------------------- //

namespace
{

/// The rows of each menu under the menu's name, in a scope where the shared names are visible.
namespace MenuRows
{
using namespace ZEL_NameRows;

#define ZEL_SHARED_MENU(symbol, type, ...) constexpr MenuRow symbol[] = {__VA_ARGS__};
#include <ZEL/ZEL_SharedMenus.def>
#undef ZEL_SHARED_MENU
} // namespace MenuRows

#define ZEL_SHARED_MENU(symbol, type, ...)                                                         \
    MenuNames<std::size(MenuRows::symbol)> theNamesOf_##symbol(MenuRows::symbol);
#include <ZEL/ZEL_SharedMenus.def>
#undef ZEL_SHARED_MENU

} // namespace

#define ZEL_SHARED_MENU(symbol, type, ...)                                                         \
    ZEL_ChoiceList symbol(ZEL_CHOICELIST_##type, theNamesOf_##symbol.names);
#include <ZEL/ZEL_SharedMenus.def>
#undef ZEL_SHARED_MENU
