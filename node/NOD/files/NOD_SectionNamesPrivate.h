/// \file NOD_SectionNamesPrivate.h
/// Words of scene files. Not installed.
///
/// Threads:    constant data.
#pragma once

#include <string>

// Stored.
constexpr const char *theSceneSection = "scene";
constexpr const char *thePartSection = "part";
constexpr const char *theInterfaceSection = "interface";
constexpr const char *theNodeSection = "node";
constexpr const char *theInterfaceFile = "file";
constexpr const char *theInterfaceText = "text";
constexpr const char *theInterfaceOfApplication = "application";
constexpr const char *theNamelessType = "node"; ///< of a description that has no type name
constexpr double theFileVersion = 1.0;
constexpr const char *theFileVersionText = "1.0";

/// The section of a node in a message: "values/tx" of "/a" is "values /a/tx".
inline std::string NODplacedSubject(const std::string &subject, const std::string &path)
{
    const std::size_t slash = subject.find('/');
    const std::string kind = subject.substr(0, slash);
    const std::string rest = slash == std::string::npos ? "" : subject.substr(slash + 1);
    return kind + " " + path + (rest.empty() ? "" : (path == "/" ? "" : "/") + rest);
}
