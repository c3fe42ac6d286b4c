#include "ZELT_Terminal.h"

#include "ZELT_Format.h"

#include <cstdlib>

namespace
{

constexpr std::size_t theMostPending = 1 << 16;

} // namespace

ZELT_Terminal::ZELT_Terminal(std::ostream &os) : myStream(os), myBuffer(os.rdbuf(this)) {}

ZELT_Terminal::~ZELT_Terminal()
{
    myStream.flush();
    myStream.rdbuf(myBuffer);
}

bool ZELT_Terminal::writeOut()
{
    const std::string text = ZELTprintable(myPending);
    myPending.clear();
    const auto size = static_cast<std::streamsize>(text.size());
    return myBuffer->sputn(text.data(), size) == size;
}

void ZELT_Terminal::printColored(std::ostream &os, const std::string &text, int color)
{
    auto *const terminal = dynamic_cast<ZELT_Terminal *>(os.rdbuf());
    const char *const none = std::getenv("NO_COLOR");
    const bool colorFlag = terminal && !(none && *none);
    const auto put = [&](const std::string &code) {
        terminal->sync(); // what is before it
        terminal->myBuffer->sputn(code.data(), static_cast<std::streamsize>(code.size()));
    };
    if (colorFlag) {
        put("\033[" + std::to_string(color) + "m");
    }
    os << text;
    if (colorFlag) {
        put("\033[0m");
    }
}

ZELT_Terminal::int_type ZELT_Terminal::overflow(int_type c)
{
    const char byte = traits_type::to_char_type(c);
    const bool endFlag = traits_type::eq_int_type(c, traits_type::eof());
    return endFlag || xsputn(&byte, 1) == 1 ? traits_type::not_eof(c) : traits_type::eof();
}

std::streamsize ZELT_Terminal::xsputn(const char *text, std::streamsize count)
{
    myPending.append(text, static_cast<std::size_t>(count));
    const bool wholeFlag = !myPending.empty() && myPending.back() == '\n';
    return !wholeFlag || myPending.size() < theMostPending || writeOut() ? count : 0;
}

int ZELT_Terminal::sync()
{
    return writeOut() ? myBuffer->pubsync() : -1;
}
