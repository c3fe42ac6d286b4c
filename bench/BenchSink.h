/// \file BenchSink.h
/// A stream buffer that appends to a string, so that the string's memory is used again.
#pragma once

#include <streambuf>
#include <string>

class BenchSink : public std::streambuf
{
public:
    explicit BenchSink(std::string &out) : myOut(out) {}

protected:
    std::streamsize xsputn(const char *bytes, std::streamsize count) override
    {
        myOut.append(bytes, std::size_t(count));
        return count;
    }
    int_type overflow(int_type c) override
    {
        myOut.push_back(char(c));
        return c;
    }

private:
    std::string &myOut;
};
