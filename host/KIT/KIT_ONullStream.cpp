#include <KIT/KIT_ONullStream.h>

KIT_ONullStream::KIT_ONullStream() : std::ostream(nullptr)
{
    rdbuf(&mySink);
}

KIT_ONullStream::~KIT_ONullStream() = default;
