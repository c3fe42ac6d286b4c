#include <KIT/KIT_EnvControl.h>

#include <BAS/BAS_Number.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace
{

struct Row
{
    int setting;
    const char *variable;
    int byDefault;
    int most;
};

#define KIT_SETTING(enumerator, number, variable, byDefault, most)                                 \
    {enumerator, variable, byDefault, most},
constexpr Row theRows[] = {
#include <KIT/KIT_Settings.def>
};

const Row *findRow(int setting)
{
    const Row *const row = std::find_if(std::begin(theRows), std::end(theRows),
                                        [&](const Row &r) { return r.setting == setting; });
    return row == std::end(theRows) ? nullptr : row;
}

constexpr int theSettingCount = 512;

class Settings
{
public:
    Settings()
    {
        for (const Row &row : theRows) {
            const int64_t value = BASparseInteger(KITgetEnv(row.variable));
            myValues[row.setting] = static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
        }
    }
    std::atomic<int> &operator[](int setting) { return myValues[setting]; }

private:
    std::atomic<int> myValues[theSettingCount] = {};
};

Settings &getSettings()
{
    static Settings theSettings;
    return theSettings;
}

bool isValid(int setting)
{
    return setting >= 0 && setting < theSettingCount;
}

} // namespace

int KIT_EnvControl::getInt(int setting)
{
    return isValid(setting) ? getSettings()[setting].load(std::memory_order_relaxed) : 0;
}

int KIT_EnvControl::getLimit(int setting)
{
    const int value = getInt(setting);
    const Row *const row = findRow(setting);
    if (!row) {
        return std::max(value, 0);
    }
    return value > 0 ? std::min(value, row->most) : row->byDefault;
}

int KIT_EnvControl::getUpperBound(int setting)
{
    const Row *const row = findRow(setting);
    return row ? row->most : 0;
}

bool KIT_EnvControl::setInt(int setting, int value)
{
    if (!isValid(setting)) {
        return false;
    }
    getSettings()[setting].store(value, std::memory_order_relaxed);
    return true;
}

const char *KIT_EnvControl::getVariable(int setting)
{
    const Row *const row = findRow(setting);
    return row ? row->variable : nullptr;
}

const char *KITgetEnv(const char *name)
{
    return name ? std::getenv(name) : nullptr;
}
