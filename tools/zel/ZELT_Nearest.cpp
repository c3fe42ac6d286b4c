#include "ZELT_Nearest.h"

#include <NOD/NOD_Nearest.h>

std::string ZELTdidYouMean(const std::string &word, const std::vector<std::string> &words)
{
    const std::string nearest = NODnearestWord(word, words);
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}
