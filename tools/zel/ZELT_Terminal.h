/// \file ZELT_Terminal.h
/// Standard output on a terminal: what files hold is printed, and never drives the terminal.
///
/// Ownership:  borrows the stream, whose own buffer is put back by the destructor.
/// Errors:     what can't be written sets the stream's fail state at the next flush.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>

/// While it lives, control bytes that are written to the stream are escapes (ZELTprintable).
class ZELT_Terminal : public std::streambuf
{
public:
    explicit ZELT_Terminal(std::ostream &os);
    ~ZELT_Terminal() override;
    ZELT_Terminal(const ZELT_Terminal &) = delete;
    ZELT_Terminal &operator=(const ZELT_Terminal &) = delete;

    /// The text in a colour, a number of the terminal's, where the stream is such a terminal; else the text. No
    /// colour where NO_COLOR is set.
    static void printColored(std::ostream &os, const std::string &text, int color);

protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char *text, std::streamsize count) override;
    int sync() override;

private:
    bool writeOut();

    std::ostream &myStream;
    std::streambuf *myBuffer;
    std::string myPending; ///< a character of several bytes may come in parts
};
