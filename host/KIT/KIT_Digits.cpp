#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

void KIT_Digits::reset(double value, int flags, int width)
{
    if (std::isnan(value)) {
        std::memcpy(myBuffer, "nan", 4);
        myLength = 3;
        return;
    }
    // Two places stay free for ".0" and one for the NUL.
    char *const end = myBuffer + sizeof(myBuffer) - 3;
    char *at = width < 0 ? std::to_chars(myBuffer, end, value).ptr
                         : std::to_chars(myBuffer, end, value, std::chars_format::general,
                                         std::clamp(width, 1, 40))
                               .ptr;
    if ((flags & KIT_DIGITS_FORCE_POINT) != 0 && std::isfinite(value) &&
        std::none_of(myBuffer, at, [](char c) { return c == '.' || c == 'e'; })) {
        *at++ = '.';
        *at++ = '0';
    }
    *at = '\0';
    myLength = static_cast<int>(at - myBuffer);
}
