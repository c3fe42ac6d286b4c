/// \file KIT_ONullStream.h
/// An output stream that discards what is written to it.
///
/// Ownership:  owns nothing but itself.
/// Threads:    one thread at a time, as any stream.
/// Errors:     every write succeeds.

#pragma once

#include <BAS/BAS_API.h>

#include <ostream>
#include <streambuf>

class KIT_API KIT_ONullStream : public std::ostream
{
public:
    KIT_ONullStream();
    ~KIT_ONullStream() override;

private:
    class Sink : public std::streambuf
    {
    protected:
        int_type overflow(int_type c) override { return traits_type::not_eof(c); }
        std::streamsize xsputn(const char *, std::streamsize count) override { return count; }
    };

    Sink mySink;
};
