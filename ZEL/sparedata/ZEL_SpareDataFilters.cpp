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
#define ZEL_OP_FILTER(name, key, label) {name, key, label},
#include <ZEL/sparedata/ZEL_SpareDataFilters.def>
#undef ZEL_OP_FILTER
};

using Column = const char *Filter::*;

/// The text in the row's other column; the text itself if no row contains it.
const char *convert(const char *text, Column from, Column to)
{
    if (!text || !*text) {
        return nullptr;
    }
    for (const Filter &filter : theFilters) {
        if (!strcasecmp(filter.*from, text)) {
            return filter.*to;
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
