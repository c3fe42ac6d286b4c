#include <TRK/TRK_ReferenceScope.h>

#include <TRK/TRK_Evaluation.h>

TRK_ReferenceListener::~TRK_ReferenceListener() = default;

void TRK_ReferenceListener::referenceReadAt(const TRK_Collection &collection,
                                            const KIT_StringRef &name, double)
{
    referenceRead(collection, name);
}

void TRK_ReferenceListener::pathLost(const TRK_Collection &, const KIT_StringRef &) {}

TRK_ReferenceScope::TRK_ReferenceScope(TRK_ReferenceListener &listener)
    : myOuter(theTRKEvalThread.listener)
{
    theTRKEvalThread.listener = &listener;
}

TRK_ReferenceScope::~TRK_ReferenceScope()
{
    theTRKEvalThread.listener = myOuter;
}

void TRK_ReferenceTold::tellLost(const TRK_Collection &collection, const KIT_StringRef &path)
{
    // It may evaluate, which is not this text's reading.
    const TRK_ReferenceTold told;
    if (told.myListener != nullptr) {
        theTRKEvalThread.listener = nullptr;
        told.myListener->pathLost(collection, path);
    }
}

void TRK_ReferenceTold::tell(const TRK_Collection &collection, const KIT_StringRef &name,
                             double time)
{
    theTRKEvalThread.listener = nullptr;
    myListener->referenceReadAt(collection, name, time);
}
