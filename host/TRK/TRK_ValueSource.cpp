#include <TRK/TRK_ValueSource.h>

TRK_ValueSource::~TRK_ValueSource() = default;

void TRK_ValueSource::channelDeleted(const TRK_Channel *) {}
void TRK_ValueSource::collectionDestroyed() {}

TRK_PathResolver::~TRK_PathResolver() = default;

void TRK_PathResolver::referenceFound(const TRK_Referrer &, const KIT_StringRef &,
                                      const KIT_StringRef &, int)
{}

void TRK_PathResolver::textsChanged() {}

TRK_LanguageEvaluator::~TRK_LanguageEvaluator() = default;
