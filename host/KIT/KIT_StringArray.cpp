#include <KIT/KIT_StringArray.h>

#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <utility>

int64_t KIT_StringArray::append(const char *text)
{
    return append(KIT_String(text, true));
}

int64_t KIT_StringArray::append(const char *text, size_t length)
{
    KIT_String copy;
    copy.harden(text, length);
    return append(std::move(copy));
}

int64_t KIT_StringArray::append(KIT_String text)
{
    text.harden();
    return KIT_Array<KIT_String>::append(std::move(text));
}

int64_t KIT_StringArray::find(const char *text, int64_t start) const
{
    for (int64_t i = std::max<int64_t>(start, 0); i < entries(); i++) {
        if ((*this)[i] == text) {
            return i;
        }
    }
    return -1;
}

void KIT_StringArray::sort(bool ascending, bool ignoreCase)
{
    std::stable_sort(begin(), end(), [=](const KIT_String &a, const KIT_String &b) {
        return ascending ? a.compare(b.c_str(), ignoreCase) < 0
                         : b.compare(a.c_str(), ignoreCase) < 0;
    });
}

void KIT_StringArray::join(const char *separator, KIT_String &out) const
{
    KIT_WorkBuffer joined;
    for (int64_t i = 0; i < entries(); i++) {
        if (i > 0) {
            joined.append(separator);
        }
        joined.append((*this)[i]);
    }
    joined.copyIntoString(out);
}

int64_t KIT_StringArray::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += capacity() * static_cast<int64_t>(sizeof(KIT_String));
    for (const KIT_String &text : *this) {
        bytes += text.getMemoryUsage(false);
    }
    return bytes;
}
