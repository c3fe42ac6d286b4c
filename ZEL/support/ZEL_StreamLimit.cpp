#include <ZEL/support/ZEL_StreamLimitPrivate.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <algorithm>
#include <limits>

namespace
{

struct Budget
{
    bool open = false;
    bool isDefault = false;
    bool told = false;
    std::int64_t items = 0;
};

thread_local Budget theBudget;

std::int64_t settingItems()
{
    return KIT_EnvControl::getLimit(KIT_ENV_MAX_STREAM_ITEMS);
}

void reportExcess(std::int64_t items, std::int64_t allowed, const char *token)
{
    KIT_WorkBuffer text;
    text.append(token);
    text.append(": ");
    text.appendNumber(items);
    text.append(" more, ");
    text.append(KIT_EnvControl::getVariable(KIT_ENV_MAX_STREAM_ITEMS));
    text.append(" leaves ");
    text.appendNumber(allowed);
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOO_MANY_ITEMS, text.buffer());
}

} // namespace

ZEL_StreamLimit::ZEL_StreamLimit(std::int64_t streamBytes) : myOuterFlag(!theBudget.open)
{
    if (myOuterFlag) {
        const std::int64_t items = settingItems();
        const std::int64_t most = std::numeric_limits<std::int64_t>::max() - items;
        theBudget.open = true;
        theBudget.isDefault = streamBytes == 0;
        theBudget.told = false;
        theBudget.items = items + std::clamp<std::int64_t>(streamBytes, 0, most);
    }
}

ZEL_StreamLimit::~ZEL_StreamLimit()
{
    if (myOuterFlag) {
        theBudget.open = false;
    }
}

bool ZEL_StreamLimit::isInLoad()
{
    return theBudget.open && !theBudget.isDefault;
}

bool ZEL_StreamLimit::allow(std::int64_t items, const char *token)
{
    if (items <= 0) {
        return true;
    }
    const std::int64_t allowed = theBudget.open ? theBudget.items : settingItems();
    if (items > allowed) {
        if (!theBudget.open || !theBudget.isDefault || !theBudget.told) {
            reportExcess(items, allowed, token);
        }
        theBudget.told = true;
        return false;
    }
    if (theBudget.open) {
        theBudget.items -= items;
    }
    return true;
}
