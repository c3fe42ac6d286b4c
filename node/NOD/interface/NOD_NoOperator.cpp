#include <NOD/interface/NOD_NoOperatorPrivate.h>

#include <algorithm>
#include <iterator>

namespace
{

constexpr NOD_NoOperator theNoOperators[] = {
    {"=", "=="}, {"===", "=="}, {"=>", ">="}, {"=<", "<="}, {"<>", "!="}, {"~=", "=~"},
    {"~", "=~"}, {"&&", ""},    {"||", ""},   {"and", ""},  {"or", ""},   {"&", ""},
    {"|", ""},   {"is", "=="},  {"eq", "=="}, {"ne", "!="}, {"not", ""},  {"!==", "!="},
};

} // namespace

const NOD_NoOperator *NODfindNoOperator(std::string_view word)
{
    const auto found = std::find_if(std::begin(theNoOperators), std::end(theNoOperators),
                                    [word](const NOD_NoOperator &row) { return row.word == word; });
    return found == std::end(theNoOperators) ? nullptr : &*found;
}
