#include <ZEL/ZEL_Default.h>

#include <cstdlib>

void ZEL_Default::setString(const char *text, bool freeOld)
{
    if (freeOld) {
        std::free(const_cast<char *>(myString));
    }
    myString = text;
}
