/// \file ZELT_Captured.h
/// What is printed on standard output while it lives.
///
/// Threads:    one thread.
/// Errors:     what the stream said before of its buffer stays.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

class ZELT_Captured
{
public:
    ZELT_Captured() : myState(std::cout.rdstate()), myBefore(std::cout.rdbuf(myText.rdbuf())) {}
    ~ZELT_Captured() { restore(); }
    ZELT_Captured(const ZELT_Captured &) = delete;
    ZELT_Captured &operator=(const ZELT_Captured &) = delete;

    std::string end()
    {
        restore();
        return myText.str();
    }

private:
    /// Another buffer clears what the stream says of the one before.
    void restore()
    {
        if (myBefore) {
            std::cout.rdbuf(myBefore);
            std::cout.setstate(myState);
            myBefore = nullptr;
        }
    }

    std::ostringstream myText;
    std::ios::iostate myState;
    std::streambuf *myBefore;
};
