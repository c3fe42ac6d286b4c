/// \file KIT_OpUtils.h
/// Names of node types, as file names and as paths into their definitions.
///
/// Vocabulary: *table* = the family of node types ("Obj"); *definition* = what the application
///             stores about a node type, as named sections; its paths start with "opdef:".
/// Threads:    any.
/// Errors:     none.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class KIT_API KIT_OpUtils
{
public:
    /// The prefix of paths into definitions.
    static constexpr const char *theDefinitionPrefix = "opdef:";

    /// Turns a node type's name into one that a file can have in any folder: letters, digits, "_",
    /// "-" and "." (except at the start) stay, any other byte becomes "%" and its two hexadecimal
    /// digits. Different names stay different.
    static void ensureValidOpBasedFileName(KIT_String &name);
    /// "Obj/light" of "Obj" and "light".
    static KIT_String combineTableAndOpName(const char *table, const char *opName);
    /// "opdef:/Obj/light?Presets" of "opdef:", "Obj/light" and "Presets".
    static KIT_String combineOpIndexFileSectionPath(const char *prefix, const char *tableAndOp,
                                                    const char *section);
    /// Whether a path points into a definition.
    static bool isDefinitionPath(const char *path);

    /// Replaces each byte that `keep` rejects, and each "%", by "%" and two hexadecimal digits.
    static std::string encodeBytes(std::string_view text, bool (*keep)(char c));
    /// The inverse; a "%" without two digits after it stays.
    static std::string decodeBytes(std::string_view text);
    /// A section's name as written after the "?" of a path: without "?" and "/".
    static std::string encodeSectionName(std::string_view name);
};
