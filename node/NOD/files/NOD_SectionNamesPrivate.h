/// \file NOD_SectionNamesPrivate.h
/// Words of scene files. Not installed.
///
/// Threads:    constant data.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

// Stored.
constexpr const char *theSceneSection = "scene";
constexpr const char *thePartSection = "part";
constexpr const char *theInterfaceSection = "interface";
constexpr const char *theNodeSection = "node";
constexpr const char *theNodeVersion = "version"; ///< a line of a node
constexpr const char *theInterfaceFile = "file";
constexpr const char *theInterfaceText = "text";
constexpr const char *theInterfaceOfApplication = "application";
constexpr const char *theChannelSection = "channels"; ///< of presets, too
constexpr const char *theValueSection = "values";
constexpr const char *theSpareSection = "spares"; ///< a script
/// What a node has beside its own section, in the order of reading.
constexpr const char *theNodeKinds[] = {theSpareSection, theChannelSection, theValueSection,
                                        "aliases"};
constexpr const char *theNamelessType = "node"; ///< of a description that has no type name
constexpr double theFileVersion = 1.0;
constexpr const char *theFileVersionText = "1.0";

/// "KIND REST": the kind of a section; all of a name without a blank.
inline std::string NODkindOf(std::string_view name)
{
    return std::string(name.substr(0, name.find(' ')));
}

/// The rest, a path or a key; "" without a blank.
inline std::string NODrestOf(std::string_view name)
{
    const std::size_t blank = name.find(' ');
    return blank == std::string_view::npos ? std::string() : std::string(name.substr(blank + 1));
}

inline bool NODisNodeKind(const std::string &kind)
{
    return std::find(std::begin(theNodeKinds), std::end(theNodeKinds), kind) !=
           std::end(theNodeKinds);
}

/// The section of a node in a message: "values/tx" of "/a" is "values /a/tx".
inline std::string NODplacedSubject(const std::string &subject, const std::string &path)
{
    const std::size_t slash = subject.find('/');
    const std::string kind = subject.substr(0, slash);
    const std::string rest = slash == std::string::npos ? "" : subject.substr(slash + 1);
    return kind + " " + path + (rest.empty() ? "" : (path == "/" ? "" : "/") + rest);
}
