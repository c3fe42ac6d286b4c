#include <TRK/TRK_ValueSource.h>

TRK_ValueSource::~TRK_ValueSource() = default;

TRK_PathResolver::~TRK_PathResolver() = default;

TRK_LanguageEvaluator::~TRK_LanguageEvaluator() = default;
