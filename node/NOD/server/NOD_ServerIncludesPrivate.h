/// \file NOD_ServerIncludesPrivate.h
/// The files that a text includes, found and read as the reader of scripts does.
///
/// Ownership:  owns the texts of these files.
/// Threads:    immutable once made.
/// Cost:       reads the directives of the text and the files.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/server/NOD_ServerFilePrivate.h>

#include <string>
#include <string_view>
#include <vector>

class NOD_ServerIncludes
{
public:
    struct Include
    {
        std::string from;    ///< the file with the directive
        std::string written; ///< what stands after `#include`
        NOD_ServerFilePtr file;
    };

    /// The directives of a text, a line each.
    static std::string directivesOf(const NOD_ServerSource &source);
    /// What stands after `#include` in a directive; "" for another one.
    static std::string_view writtenName(std::string_view directive);

    NOD_ServerIncludes(const std::string &directives, const std::string &path,
                       NOD_Interface::Includes includes, const NOD_ServerText &like);

    const std::string &getDirectives() const { return myDirectives; }
    const std::vector<Include> &getIncludes() const { return myIncludes; }
    /// What a directive of a file includes; null if nothing was read for it.
    NOD_ServerFilePtr find(const std::string &from, std::string_view directive) const;

private:
    std::string myDirectives;
    std::vector<Include> myIncludes;
};
