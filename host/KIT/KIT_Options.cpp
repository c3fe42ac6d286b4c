#include <KIT/KIT_Options.h>

KIT_Options::KIT_Options() = default;
KIT_Options::KIT_Options(const KIT_Options &) = default;
KIT_Options &KIT_Options::operator=(const KIT_Options &) = default;
KIT_Options::~KIT_Options() = default;

void KIT_Options::setOptionB(const KIT_StringRef &name, bool value)
{
    if (!name.isEmpty()) {
        mySwitches[KIT_StringHolder(name)] = value;
    }
}

bool KIT_Options::getOptionB(const KIT_StringRef &name, bool fallback) const
{
    const auto at = mySwitches.find(KIT_StringHolder(name));
    return at == mySwitches.end() ? fallback : at->second;
}

bool KIT_Options::hasOption(const KIT_StringRef &name) const
{
    return mySwitches.count(KIT_StringHolder(name)) != 0;
}
