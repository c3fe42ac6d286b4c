// Every shared object by its name, as a program outside of the library uses it: all of them must be
// exported and distinct.
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_DialogScript.h>
#include <ZEL/ZEL_ImageNames.h>
#include <ZEL/ZEL_MenuBuilders.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_SharedDefaults.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SharedNames.h>
#include <ZEL/ZEL_SharedRanges.h>
#include <cstddef>
#include <cstdio>
#include <set>

static ZEL_Name *const theNames[] = {
    ZELinputLabelNames,
#define ZEL_SHARED_NAME(symbol, ...) &symbol,
#include <ZEL/ZEL_SharedNames.def>
};

static ZEL_Default *const theDefaults[] = {
#define ZEL_DEFAULT_FILL(symbol, ...) symbol,
#define ZEL_DEFAULT_ARRAY(symbol, ...) symbol,
#define ZEL_DEFAULT(symbol, ...) &symbol,
#include <ZEL/ZEL_SharedDefaults.def>
};

static ZEL_Range *const theRanges[] = {
#define ZEL_SHARED_RANGE(symbol, ...) &symbol,
#include <ZEL/ZEL_SharedRanges.def>
};

static ZEL_ChoiceList *const theMenus[] = {
    &ZELopFilterTypeMenu,
#define ZEL_SHARED_MENU(symbol, ...) &symbol,
#include <ZEL/ZEL_SharedMenus.def>
};

static const ZEL_ChoiceList::NameGenerator theBuilders[] = {
    ZELbuildImageMenu,    ZELbuildResolutionMenu,  ZELbuildPixelFormatMenu,
    ZELbuildRiDeviceMenu, ZELbuildRiFilterMenu,    ZELbuildRiHiderMenu,
    ZELbuildFilterMenu,   ZELbuildImageDeviceMenu, ZELbuildTakeMenu};

template <class T, size_t Count>
static void tell(const char *what, T *const (&table)[Count])
{
    std::printf("%zu %s\n", std::set<const T *>(table, table + Count).size(), what);
}

int main()
{
    tell("names", theNames);
    tell("defaults", theDefaults);
    tell("ranges", theRanges);
    tell("menus", theMenus);
    int rows = 0;
    for (const ZEL_ChoiceList *menu : theMenus) {
        rows += menu->getSize(nullptr);
    }
    std::printf("%d rows\n", rows);

    // An array of three names: two rows and the sentinel, from every builder.
    for (const ZEL_ChoiceList::NameGenerator builder : theBuilders) {
        ZEL_Name names[3];
        builder(nullptr, names, 3, nullptr, nullptr);
        ZELsortMenu(names, 2);
        std::printf("%d", !names[0].isSentinel() + !names[1].isSentinel() + !names[2].isSentinel());
    }
    const bool gotFlag = ZELgetImageName(0) && ZELgetResolutionName(0) &&
                         ZELgetPixelFormatName(0) && ZELgetFilterName(0);
    std::printf(" %s\n", gotFlag ? "rows kept" : "no rows");

    KIT_String format("pic"), options("depth int8"), name("a.pic");
    std::printf("%d %d", ZELchangeImageFilename("a.pic", "a.png", format, options),
                ZELchangeImageFormat("pic", "png", name, options));
    std::printf(" %s %s %s\n", format.c_str(), name.c_str(),
                ZELlookupDialogScript(ZELlookupDialogScript("KSLlight")));
    return 0;
}
