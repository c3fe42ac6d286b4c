#include <EVL/EVL.h>

#include <KIT/KIT_MessageCatalogue.h>

#include <array>
#include <iterator>
#include <string>

namespace EVL
{

static constexpr int theErrors[] = {
    EVL_OK,
#define EVL_MESSAGE(enumerator, number, severity, sentence) enumerator,
#include <KIT/KIT_Messages.def>
};
static constexpr int theErrorCount = int(std::size(theErrors));
static_assert(theErrors[theErrorCount - 1] == theErrorCount - 1, "the numbers go up by one");

EVL_ErrNo theErrNo;

static std::array<std::string, theErrorCount> makeErrorTexts()
{
    std::array<std::string, theErrorCount> texts;
    texts[EVL_OK] = "No error";
    for (int error = EVL_OK + 1; error < theErrorCount; ++error) {
        texts[static_cast<size_t>(error)] = KITformatMessage("TRK", error, nullptr);
    }
    return texts;
}

const char *getErrorText(int error)
{
    static const std::array<std::string, theErrorCount> theTexts = makeErrorTexts();
    const bool known = error >= 0 && error < theErrorCount;
    return known ? theTexts[static_cast<size_t>(error)].c_str() : "Unknown error";
}

} // namespace EVL
