#include <NOD/NOD_TimeText.h>

#include <NOD/text/NOD_NumberTextPrivate.h>
#include <TRK/TRK_Manager.h>

#include <algorithm>
#include <cmath>

bool NODreadTime(const std::string &text, double &seconds)
{
    const char unit = text.empty() ? '\0' : text.back();
    const bool framesFlag = unit == 'f';
    double number = 0.0;
    // "inf" ends in one, too.
    const bool good =
        NODreadFloat(text, number) ||
        ((framesFlag || unit == 's') && NODreadFloat(text.substr(0, text.size() - 1), number));
    if (!good || !std::isfinite(number)) {
        return false;
    }
    seconds = framesFlag ? TRK_Manager::getContext().frameToTime(number) : number;
    return true;
}

double NOD_FrameRange::getTime(std::int64_t place) const
{
    return TRK_Manager::getContext().frameToTime(getFrame(place));
}

std::string NOD_FrameRange::read(const std::string &text)
{
    double numbers[3] = {0.0, 0.0, 1.0};
    std::size_t start = 0;
    std::size_t parts = 0;
    while (parts < 3 && start <= text.size()) {
        const std::size_t end = std::min(text.find(':', start), text.size());
        if (!NODreadFloat(text.substr(start, end - start), numbers[parts++])) {
            return text + " isn't of the form A:B or A:B:STEP";
        }
        start = end + 1;
    }
    const double all = std::floor((numbers[1] - numbers[0]) / numbers[2] + 1e-9) + 1.0;
    if (parts < 2 || start <= text.size()) {
        return text + " isn't of the form A:B or A:B:STEP";
    }
    if (!(all >= 1.0)) {
        return text + " has no frames";
    }
    if (all > double(theMost)) {
        return text + " has more than " + std::to_string(theMost) + " frames";
    }
    first = numbers[0];
    step = numbers[2];
    count = std::int64_t(all);
    return "";
}
