/// \file TOK_Manager.h
/// The position of a token source: the file and the line of the token that was read last.
///
/// Units:      lines from 1; 0 before the first token.
/// Ownership:  part of a TOK_TokenStream, which also keeps the file names.
/// Threads:    one thread at a time.

#pragma once

#include <BAS/BAS_API.h>

class KIT_API TOK_Manager
{
public:
    /// The file, or the name given to the source; never null. Inside an included file it is that
    /// file, and for a token from a macro the file that uses the macro.
    const char *getFileName() const { return myFileName; }
    int getLineNumber() const { return myLineNumber; }

    void setPosition(const char *fileName, int line)
    {
        myFileName = fileName;
        myLineNumber = line;
    }

private:
    const char *myFileName = "";
    int myLineNumber = 0;
};
