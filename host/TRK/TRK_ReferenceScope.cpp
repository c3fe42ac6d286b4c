#include <TRK/TRK_ReferenceScope.h>

#include <TRK/TRK_Evaluation.h>

TRK_ReferenceListener::~TRK_ReferenceListener() = default;

TRK_ReferenceScope::TRK_ReferenceScope(TRK_ReferenceListener &listener)
    : myOuter(theTRKEvalThread.listener)
{
    theTRKEvalThread.listener = &listener;
}

TRK_ReferenceScope::~TRK_ReferenceScope()
{
    theTRKEvalThread.listener = myOuter;
}

void TRK_ReferenceTold::tell(const TRK_Collection &collection, const KIT_StringRef &name)
{
    theTRKEvalThread.listener = nullptr;
    myListener->referenceRead(collection, name);
}
