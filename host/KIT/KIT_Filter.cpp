#include <KIT/KIT_Filter.h>

#include <cstring>
#include <iterator>

namespace
{

struct Row
{
    const char *name;
    const char *label;
};

constexpr Row theFilters[] = {
    {"point", "Point"},
    {"box", "Box"},
    {"triangle", "Triangle"},
    {"quadratic", "Quadratic"},
    {"bspline", "B-Spline"},
    {"gaussian", "Gaussian"},
    {"catmull-rom", "Catmull-Rom"},
    {"mitchell", "Mitchell"},
    {"sinc", "Windowed Sinc"},
};
constexpr int theCount = static_cast<int>(std::size(theFilters));

const Row *findRow(int filter)
{
    return filter >= 0 && filter < theCount ? &theFilters[filter] : nullptr;
}

} // namespace

int KIT_Filter::getNFilters()
{
    return theCount;
}

const char *KIT_Filter::getFilterName(int filter)
{
    const Row *row = findRow(filter);
    return row ? row->name : nullptr;
}

const char *KIT_Filter::getFilterLabel(int filter)
{
    const Row *row = findRow(filter);
    return row ? row->label : nullptr;
}

int KIT_Filter::findFilter(const char *name)
{
    for (int i = 0; name && i < theCount; ++i) {
        if (!std::strcmp(theFilters[i].name, name)) {
            return i;
        }
    }
    return -1;
}
