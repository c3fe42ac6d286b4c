#include <KIT/KIT_EnvControl.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_String.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

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
            const char *const text = KITgetEnv(row.variable);
            if (text && KIT_String(text).isInteger(KIT_INTEGER_SKIP_BLANKS)) {
                myValues[row.setting] =
                    static_cast<int>(std::clamp<int64_t>(BASparseInteger(text), INT_MIN, INT_MAX));
            } else if (text && *text) {
                KITaddCommonWarning(KIT_COMMON_BAD_SETTING,
                                    (std::string(row.variable) + "=" + text).c_str());
            }
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

void KIT_EnvControl::readEnvironment()
{
    getSettings();
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
