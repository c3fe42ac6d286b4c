#include <ZEL/ZEL_MenuBuilders.h>

#include <KIT/KIT_Filter.h>
#include <KIT/KIT_String.h>
#include <LYR/LYR_Manager.h>
#include <PIX/PIX_Format.h>
#include <ZEL/ZEL_FileMenu.h>
#include <ZEL/ZEL_Name.h>

#include <algorithm>
#include <string>
#include <vector>

// -------------------------------------------------------------------- //
// Menus with data files
// -------------------------------------------------------------------- //

void ZELbuildImageMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *, const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::IMAGE).copyRows(names, size);
}

void ZELbuildResolutionMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *,
                            const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::RESOLUTION).copyRows(names, size);
}

void ZELbuildPixelFormatMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *,
                             const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::PIXEL_FORMAT).copyRows(names, size);
}

void ZELbuildRiDeviceMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *,
                          const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::RI_DEVICE).copyRows(names, size);
}

void ZELbuildRiFilterMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *,
                          const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::RI_FILTER).copyRows(names, size);
}

void ZELbuildRiHiderMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *, const ZEL_Parm *)
{
    ZEL_FileMenu::get(ZEL_FileMenu::RI_HIDER).copyRows(names, size);
}

const ZEL_Name *ZELgetImageName(int index)
{
    return ZEL_FileMenu::get(ZEL_FileMenu::IMAGE).getRow(index);
}

const ZEL_Name *ZELgetResolutionName(int index)
{
    return ZEL_FileMenu::get(ZEL_FileMenu::RESOLUTION).getRow(index);
}

const ZEL_Name *ZELgetPixelFormatName(int index)
{
    return ZEL_FileMenu::get(ZEL_FileMenu::PIXEL_FORMAT).getRow(index);
}

// -------------------------------------------------------------------- //
// Menus that the host supplies
// -------------------------------------------------------------------- //

namespace
{

/// Fills the caller's array from its start and keeps one entry free for the sentinel.
class Rows
{
public:
    Rows(ZEL_Name *names, int size)
        : myNext(names), myFree(size < 1 ? 0 : size - 1), myEmptyFlag(size < 1)
    {}
    ~Rows()
    {
        if (!myEmptyFlag) {
            myNext->setAsSentinel();
        }
    }
    Rows(const Rows &) = delete;
    Rows &operator=(const Rows &) = delete;

    bool isFull() const { return myFree <= 0; }
    /// The next free row; null when the array is full.
    ZEL_Name *add()
    {
        if (isFull()) {
            return nullptr;
        }
        --myFree;
        return myNext++;
    }
    void add(const char *token, const char *label)
    {
        if (ZEL_Name *name = add()) {
            *name = ZEL_Name(token, label);
            name->harden();
        }
    }

private:
    ZEL_Name *myNext;
    int myFree;
    bool myEmptyFlag;
};

std::vector<ZEL_Name> &filterRows()
{
    static std::vector<ZEL_Name> theRows;
    return theRows;
}

} // namespace

void ZELbuildFilterMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *, const ZEL_Parm *)
{
    std::vector<ZEL_Name> &filters = filterRows();
    if (filters.empty()) {
        for (int i = 0; i < KIT_Filter::getNFilters(); ++i) {
            filters.emplace_back(KIT_Filter::getFilterName(i), KIT_Filter::getFilterLabel(i));
            filters.back().harden();
        }
    }
    Rows rows(names, size);
    for (const ZEL_Name &filter : filters) {
        if (ZEL_Name *name = rows.add()) {
            *name = filter;
        }
    }
}

const ZEL_Name *ZELgetFilterName(int index)
{
    const std::vector<ZEL_Name> &filters = filterRows();
    return index >= 0 && index < static_cast<int>(filters.size())
               ? &filters[static_cast<size_t>(index)]
               : nullptr;
}

void ZELbuildImageDeviceMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *,
                             const ZEL_Parm *)
{
    Rows rows(names, size);
    rows.add("", "Infer from file name");
    if (ZEL_Name *name = rows.add()) {
        name->setAsSeparator();
    }
    for (int i = 0; i < PIX_Format::getNFormats(); ++i) {
        const PIX_Format *format = PIX_Format::getFormat(i);
        rows.add(format->getName(), format->getLabel());
    }
}

void ZELbuildTakeMenu(void *, ZEL_Name *names, int size, const ZEL_SpareData *, const ZEL_Parm *)
{
    struct Place
    {
        const LYR_Take *take;
        size_t level;
    };
    Rows rows(names, size);
    rows.add("_current_", "(Current)");
    // A stack of our own: the depth of the tree is the user's.
    std::vector<Place> waiting = {{LYR_Manager::getCurrentManager()->getMasterTake(), 0}};
    while (!waiting.empty() && !rows.isFull()) {
        const Place place = waiting.back();
        waiting.pop_back();
        const char *name = place.take->getName().nonNullStr();
        rows.add(name, (std::string(2 * place.level, ' ') + name).c_str());
        const KIT_Array<LYR_Take *> &children = place.take->getChildren();
        for (int64_t i = children.entries(); i > 0; --i) {
            waiting.push_back({children[i - 1], place.level + 1});
        }
    }
}

void ZELsortMenu(ZEL_Name *names, int count)
{
    if (!names || count < 2) {
        return;
    }
    std::sort(names, names + count, [](const ZEL_Name &a, const ZEL_Name &b) {
        return KIT_String::compareNumberedString(a.getLabel(), b.getLabel()) < 0;
    });
}
