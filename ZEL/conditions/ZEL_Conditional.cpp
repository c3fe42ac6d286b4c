#include <ZEL/ZEL_Conditional.h>

#include <KIT/KIT_StringHolder.h>

#include <algorithm>

namespace
{

struct TypeName
{
    const char *word;
    const char *display;
};

/// By type.
constexpr TypeName theTypeNames[] = {
    {"disablewhen", "Disable When"},
    {"hidewhen", "Hide When"},
    {"nocookwhen", "No-Cook When"},
};
constexpr int theTypeCount = int(sizeof(theTypeNames) / sizeof(theTypeNames[0]));
static_assert(theTypeCount == ZEL_CONDTYPE_NOCOOK + 1, "one row for each type");

} // namespace

// -------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------- //

ZEL_Conditional::ZEL_Conditional(ZEL_ConditionalType type) : myType(type) {}

ZEL_Conditional::ZEL_Conditional(const char *text, ZEL_ConditionalType type) : myType(type)
{
    KIT_StringHolder message;
    setListFromString(text, message);
}

ZEL_Conditional::ZEL_Conditional(const ZEL_Conditional &other)
    : ZEL_ConditionalBase(other), myType(other.myType)
{
    copyInfos(other);
}

ZEL_Conditional &ZEL_Conditional::operator=(const ZEL_Conditional &other)
{
    if (this != &other) {
        clear();
        copyInfos(other);
        myType = other.myType;
    }
    return *this;
}

ZEL_Conditional::~ZEL_Conditional() = default;

void ZEL_Conditional::copyInfos(const ZEL_Conditional &other)
{
    myInfos.setCapacity(other.myInfos.entries());
    for (const auto &info : other.myInfos) {
        myInfos.append(std::make_unique<ZEL_ConditionalInfo>(*info));
    }
}

ZEL_ConditionalGroupType ZEL_Conditional::groupType() const
{
    return ZEL_CONDGROUP_SINGLE;
}

ZEL_Conditional *ZEL_Conditional::instance(const KIT_ValArray<int> &instances) const
{
    auto copy = std::make_unique<ZEL_Conditional>(myType);
    copy->myInfos.setCapacity(myInfos.entries());
    for (const auto &info : myInfos) {
        copy->myInfos.emplace(info->instance(instances));
    }
    return copy.release();
}

ZEL_Conditional *ZEL_Conditional::getConditional(ZEL_ConditionalType type)
{
    return type == myType ? this : nullptr;
}

const ZEL_Conditional *ZEL_Conditional::getConditional(ZEL_ConditionalType type) const
{
    return type == myType ? this : nullptr;
}

int64_t ZEL_Conditional::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = (inclusive ? int64_t(sizeof(*this)) : 0) + myInfos.getMemoryUsage(false);
    for (const auto &info : myInfos) {
        bytes += info->getMemoryUsage(true);
    }
    return bytes;
}

bool ZEL_Conditional::hasItemNumbers() const
{
    return std::any_of(myInfos.begin(), myInfos.end(),
                       [](const auto &info) { return info->hasItemNumbers(); });
}

// -------------------------------------------------------------------- //
// Groups and names
// -------------------------------------------------------------------- //

ZEL_ConditionalInfo *ZEL_Conditional::operator()(int index)
{
    return myInfos.isValidIndex(index) ? myInfos(index).get() : nullptr;
}

const ZEL_ConditionalInfo *ZEL_Conditional::operator()(int index) const
{
    return myInfos.isValidIndex(index) ? myInfos(index).get() : nullptr;
}

ZEL_ConditionalInfo *ZEL_Conditional::createInfo()
{
    myInfos.append(std::make_unique<ZEL_ConditionalInfo>());
    return myInfos.last().get();
}

void ZEL_Conditional::clear()
{
    myInfos.clear();
}

const char *ZEL_Conditional::getName(ZEL_ConditionalType type, bool forDisplay)
{
    if (type < 0 || type >= theTypeCount) {
        return nullptr;
    }
    return forDisplay ? theTypeNames[type].display : theTypeNames[type].word;
}
