/// \file NOD_ServerPlacePrivate.h
/// What stands at a position of a file: a parameter's name, an `#include`, or another word.
///
/// Ownership:  borrows the file.
#pragma once

#include <NOD/server/NOD_ServerFilePrivate.h>
#include <NOD/server/NOD_ServerJsonPrivate.h>

#include <cstddef>
#include <string>
#include <vector>

struct NOD_ServerPlace
{
    std::size_t offset = 0;
    int token = -1;
    int statement = -1;
    std::string name; ///< of a parameter, as it is declared or used there; "" for none
    std::size_t begin = 0;
    std::size_t end = 0; ///< of the name, or the token

    NOD_ServerPlace(const NOD_ServerFile &file, std::size_t at);
};

/// What the `position` of a request is about.
NOD_ServerPlace NODserverPlace(const NOD_ServerFile &file, const NOD_ServerJson &params);

/// A parameter where it is declared.
struct NOD_ServerDeclaration
{
    NOD_ServerFilePtr file; ///< null for none
    int parm = -1;
};

NOD_ServerDeclaration NODfindDeclaration(const std::vector<NOD_ServerFilePtr> &files,
                                         const std::string &name);
