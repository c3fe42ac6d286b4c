#include <ZEL/ZEL_SpareData.h>

#include <iterator>
#include <strings.h>

namespace
{

struct Filter
{
    const char *name;
    const char *key;
    const char *label;
};

constexpr Filter theFilters[] = {
    {"all", "", "Any Operator"},
    {"nods", "!!NODS!!", "Any Object"},
    {"object", "!!NODS!!", "Any Object"},
    {"gemn", "!!GEMN!!", "Any GEMN"},
    {"dynn", "!!DYNN!!", "Any DYNN"},
    {"prtn", "!!PRTN!!", "Any PRTN"},
    {"wavn", "!!WAVN!!", "Any WAVN"},
    {"pixn", "!!PIXN!!", "Any PIXN"},
    {"codn", "!!CODN!!", "Any CODN"},
    {"stgn", "!!STGN!!", "Any STGN"},
    {"tskn", "!!TSKN!!", "Any TSKN"},
    {"matn", "!!MATN!!", "Any MATN"},
    {"outn", "!!OUTN!!", "Any OUTN"},
    {"out", "!!OUTN!!", "Any OUTN"},
    {"nods/geo", "!!NODS/GEOMETRY!!", "Object: Geometry Only"},
    {"nods/null", "!!NODS/NULL!!", "Object: Null Only"},
    {"nods/light", "!!NODS/LIGHT!!", "Object: Light Only"},
    {"nods/camera", "!!NODS/CAMERA!!", "Object: Camera Only"},
    {"nods/fog", "!!NODS/FOG!!", "Object: Fog Only"},
    {"nods/bone", "!!NODS/BONE!!", "Object: Bone Only"},
    {"nods/muscle", "!!NODS/MUSCLE!!", "Object: Muscle Only"},
    {"nods/null", "!!NODS/Null!!", "Object: Null Only"}, // kept: a spelling that scenes hold
    {"custom/material", "!!CUSTOM/MATERIAL!!", "Any Material"},
    {"matn/material", "!!MATN/MATERIAL!!", "MATN: Material Only"},
    {"matn/properties", "!!MATN/PROPERTIES!!", "MATN: Properties Only"},
    {"matn/surface", "!!MATN/SURFACE!!", "MATN: Surface Only"},
    {"matn/surface_shadow", "!!MATN/SURFACE_SHADOW!!", "MATN: Surface Shadow Only"},
    {"matn/displace", "!!MATN/DISPLACEMENT!!", "MATN: Displacement Only"},
    {"matn/geo", "!!MATN/GEOMETRY!!", "MATN: Geometry Only"},
    {"matn/interior", "!!MATN/INTERIOR!!", "MATN: Interior Only"},
    {"matn/light", "!!MATN/LIGHT!!", "MATN: Light Only"},
    {"matn/shadow", "!!MATN/LIGHT_SHADOW!!", "MATN: Shadow Only"},
    {"matn/fog", "!!MATN/ATMOSPHERE!!", "MATN: Fog Only"},
    {"matn/lens", "!!MATN/LENS!!", "MATN: Lens Only"},
    {"matn/output", "!!MATN/OUTPUT!!", "MATN: Output Only"},
    {"matn/background", "!!MATN/BACKGROUND!!", "MATN: Background Only"},
    {"matn/photon", "!!MATN/PHOTON!!", "MATN: Photon Only"},
    {"matn/emitter", "!!MATN/EMITTER!!", "MATN: Emitter Only"},
    {"matn/photonvolume", "!!MATN/PHOTONVOLUME!!", "MATN: Photon Volume Only"},
    {"matn/environment", "!!MATN/ENVIRONMENT!!", "MATN: Environment Only"},
    {"matn/image3d", "!!MATN/IMAGE3D!!", "MATN: Image 3D Only"},
    {"matn/cksl", "!!MATN/CKSL!!", "MATN: CKSL Only"},
    {"matn/coshader", "!!MATN/COSHADER!!", "MATN: Co-Shader Only"},
    {"tskn/scheduler", "!!TSKN/SCHEDULER!!", "TSKN: Schedulers Only"},
    {"tskn/processor", "!!TSKN/PROCESSOR!!", "TSKN: Processors Only"},
    {"tskn/partitioners", "!!TSKN/PARTITIONER!!", "TSKN: Partitioners Only"},
    {"tskn/mappers", "!!TSKN/MAPPER!!", "TSKN: Mappers Only"},
};
static_assert(std::size(theFilters) == 47, "a filter was added or lost");

using Column = const char *Filter::*;

/// The row's other column; the text itself when no row has it.
const char *convert(const char *text, Column from, Column to)
{
    if (!text || !*text) {
        return nullptr;
    }
    for (const Filter &filter : theFilters) {
        if (!strcasecmp(filter.*from, text)) {
            return *(filter.*to) ? filter.*to : nullptr;
        }
    }
    return text;
}

} // namespace

const char *ZEL_SpareData::getOpFilterKeyFromName(const char *name)
{
    return convert(name, &Filter::name, &Filter::key);
}

const char *ZEL_SpareData::getOpFilterNameFromKey(const char *key)
{
    return convert(key, &Filter::key, &Filter::name);
}

const char *ZEL_SpareData::getOpFilterKeyFromLabel(const char *label)
{
    return convert(label, &Filter::label, &Filter::key);
}

const char *ZEL_SpareData::getOpFilterLabelFromKey(const char *key)
{
    return convert(key, &Filter::key, &Filter::label);
}
