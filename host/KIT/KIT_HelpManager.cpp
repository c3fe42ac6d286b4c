#include <KIT/KIT_HelpManager.h>

static KIT_HelpManager *theManager = nullptr;

KIT_HelpManager::~KIT_HelpManager()
{
    if (theManager == this) {
        theManager = nullptr;
    }
}

bool KIT_HelpManager::getTitle(const char *, const char *, KIT_String &)
{
    return false;
}

bool KIT_HelpManager::getUrl(const char *, const char *, KIT_String &)
{
    return false;
}

KIT_HelpManager *KIT_HelpManager::get()
{
    return theManager;
}

void KIT_HelpManager::set(KIT_HelpManager *manager)
{
    theManager = manager;
}
