#include <TRK/TRK_ValueSource.h>

#include <CON/CON_Manager.h>

TRK_ValueSource::~TRK_ValueSource() = default;

void TRK_ValueSource::channelDeleted(const TRK_Channel *) {}
void TRK_ValueSource::collectionDestroyed() {}

TRK_PathResolver::~TRK_PathResolver() = default;

void TRK_PathResolver::referenceFound(const TRK_Referrer &, const KIT_StringRef &,
                                      const KIT_StringRef &, int)
{}

void TRK_PathResolver::textsChanged() {}

bool TRK_PathResolver::getEnvironment(const KIT_StringRef &name, KIT_String &value)
{
    return CON_Manager::getContext().getEnv(name, value);
}

TRK_LanguageEvaluator::~TRK_LanguageEvaluator() = default;
