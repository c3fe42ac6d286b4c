// A data file of a menu, as one with two fields in a line and as one with four. Every row has a token
// and a label, none is longer than the data, and an array gets the rows that fit and a sentinel.

#include "FuzzMemory.h"

#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_FileMenu.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void readAs(ZEL_FileMenu::Kind kind, const char *data, std::size_t size)
{
    ZEL_FileMenu menu(kind);
    KIT_IStream is(data, size, KIT_IStream::TEXT);
    menu.readRows(is);
    require(static_cast<std::size_t>(menu.getNumRows()) <= size);
    for (int i = 0; i < menu.getNumRows(); ++i) {
        const ZEL_Name &row = *menu.getRow(i);
        require(row.getToken() && row.getLabel());
        const bool separatorFlag = !std::strcmp(row.getToken(), "_separator_");
        require(separatorFlag || row.getTokenRef().length() + row.getLabelRef().length() <= size);
    }
    if (menu.getNumRows() > 0) {
        ZEL_Name names[4];
        menu.copyRows(names, 4);
        int count = 0;
        while (!names[count].isSentinel()) {
            require(names[count].getTokenRef() == menu.getRow(count)->getTokenRef());
            ++count;
        }
        require(count == (menu.getNumRows() < 3 ? menu.getNumRows() : 3));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    const char *const text = reinterpret_cast<const char *>(data);
    readAs(ZEL_FileMenu::RESOLUTION, text, size);
    readAs(ZEL_FileMenu::PIXEL_FORMAT, text, size);
    return 0;
}
