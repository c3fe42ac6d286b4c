#include <KIT/KIT_EnvControl.h>

#include <BAS/BAS_Number.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>

namespace
{

struct Variable
{
    int setting;
    const char *name;
};

constexpr Variable theVariables[] = {
    {KIT_ENV_CONDENSE_PATHS, "VELMORA_CONDENSE_PATHS"},
    {KIT_ENV_EXPERIMENTAL_PARMS, "VELMORA_EXPERIMENTAL_PARMS"},
    {KIT_ENV_SORTED_SAVE, "VELMORA_SORTED_SAVE"},
    {KIT_ENV_FOLD_PATH_CASE, "VELMORA_FOLD_PATH_CASE"},
    {KIT_ENV_MAX_STREAM_ITEMS, "ZEL_MAX_STREAM_ITEMS"},
    {KIT_ENV_MAX_SCRIPT_NESTING, "ZEL_MAX_SCRIPT_NESTING"},
    {KIT_ENV_MAX_VECTOR_SIZE, "ZEL_MAX_VECTOR_SIZE"},
};

constexpr int theSettingCount = 512;

class Settings
{
public:
    Settings()
    {
        for (const Variable &variable : theVariables) {
            const int64_t value = BASparseInteger(KITgetEnv(variable.name));
            myValues[variable.setting] =
                static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
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
    for (const Variable &variable : theVariables) {
        if (variable.setting == setting) {
            return variable.name;
        }
    }
    return nullptr;
}

const char *KITgetEnv(const char *name)
{
    return name ? std::getenv(name) : nullptr;
}
