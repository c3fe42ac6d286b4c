#include <ZEL/menus/ZEL_FileHistoryMenuPrivate.h>

#include <STO/STO_FileHistory.h>
#include <ZEL/ZEL_Name.h>

#include <algorithm>

namespace
{

/// The most recently used files of one type, most recent first.
template <int Type>
void generateHistory(void *, ZEL_Name *out, int max, const ZEL_SpareData *, const ZEL_Parm *)
{
    if (!out || max <= 0) {
        return;
    }
    constexpr auto type = static_cast<STO_FileHistoryType>(Type);
    const STO_FileHistoryManager &history = STO_FileHistoryManager::getInstance();
    const int count = static_cast<int>(std::min<int64_t>(history.entries(type), max - 1));
    for (int i = 0; i < count; i++) {
        out[i] = ZEL_Name(ZEL_Name::ZEL_NAME_COPY, history.getFileName(type, i),
                          history.getFormattedName(type, i));
    }
    out[count].setAsSentinel();
}

struct HistoryRow
{
    uint32_t path;
    ZEL_ChoiceList::NameGenerator generator;
};

constexpr HistoryRow theHistoryRows[] = {
    {ZEL_Type::ZEL_PATH_PIC, generateHistory<STO_HISTORY_PICTURE>},
    {ZEL_Type::ZEL_PATH_GEO, generateHistory<STO_HISTORY_GEOMETRY>},
    {ZEL_Type::ZEL_PATH_RAMP, generateHistory<STO_HISTORY_RAMP>},
    {ZEL_Type::ZEL_PATH_CAPT, generateHistory<STO_HISTORY_CAPTURE>},
    {ZEL_Type::ZEL_PATH_CLIP, generateHistory<STO_HISTORY_CLIP>},
    {ZEL_Type::ZEL_PATH_PAINT, generateHistory<STO_HISTORY_PAINT>},
    {ZEL_Type::ZEL_PATH_LUT, generateHistory<STO_HISTORY_LUT>},
    {ZEL_Type::ZEL_PATH_CMDF, generateHistory<STO_HISTORY_COMMAND>},
    {ZEL_Type::ZEL_PATH_MIDI, generateHistory<STO_HISTORY_MIDI>},
    {ZEL_Type::ZEL_PATH_TXT, generateHistory<STO_HISTORY_TEXT>},
    {ZEL_Type::ZEL_PATH_I3D, generateHistory<STO_HISTORY_I3D>},
    {ZEL_Type::ZEL_PATH_CHAN, generateHistory<STO_HISTORY_CHANNEL>},
    {ZEL_Type::ZEL_PATH_SIM, generateHistory<STO_HISTORY_SIM>},
    {ZEL_Type::ZEL_PATH_SIMDATA, generateHistory<STO_HISTORY_SIM_DATA>},
    {ZEL_Type::ZEL_PATH_DIRECTORY, generateHistory<STO_HISTORY_DIRECTORY>},
};

} // namespace

ZEL_ChoiceList::NameGenerator ZELgetFileHistoryGenerator(ZEL_Type::ZEL_PathType path)
{
    for (const HistoryRow &row : theHistoryRows) {
        if (row.path == path) {
            return row.generator;
        }
    }
    return generateHistory<STO_HISTORY_ANY>;
}
