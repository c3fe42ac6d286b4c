#include <KIT/KIT_StringHolder.h>

#include <KIT/KIT_String.h>

const KIT_StringHolder KIT_StringHolder::theEmptyString("", 0, KIT_HashDetail::theEmptyHash);

KIT_StringHolder::KIT_StringHolder(const char *text)
{
    makeCounted(text, text ? std::strlen(text) : 0);
}

KIT_StringHolder::KIT_StringHolder(const char *text, size_t length)
{
    makeCounted(text, length);
}

KIT_StringHolder::KIT_StringHolder(const KIT_String &text)
{
    makeCounted(text.c_str(), text.length());
}

KIT_StringHolder::KIT_StringHolder(const std::string &text)
{
    makeCounted(text.data(), text.size());
}
