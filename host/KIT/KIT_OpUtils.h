/// \file KIT_OpUtils.h
/// Names of node types, as files and as paths of what their definitions hold.
///
/// Vocabulary: *table* = the family of node types ("Obj"); *definition* = what the application
///             keeps of a node type, as named sections; its paths start with "opdef:".
/// Threads:    any.
/// Errors:     none.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class KIT_API KIT_OpUtils
{
public:
    /// What the paths of definitions start with.
    static constexpr const char *theDefinitionPrefix = "opdef:";

    /// Makes a node type's name one that a file can have in any folder: letters, digits, "_", "-"
    /// and "." inside stay, any other byte becomes "%" and its two hexadecimal digits. Different
    /// names stay different.
    static void ensureValidOpBasedFileName(KIT_String &name);
    /// "Obj/light" of "Obj" and "light".
    static KIT_String combineTableAndOpName(const char *table, const char *opName);
    /// "opdef:/Obj/light?Presets" of "opdef:", "Obj/light" and "Presets".
    static KIT_String combineOpIndexFileSectionPath(const char *prefix, const char *tableAndOp,
                                                    const char *section);
    /// Whether a path leads into a definition.
    static bool isDefinitionPath(const char *path);

    /// Replaces each byte that `keep` refuses, and the "%", by "%" and two hexadecimal digits.
    static std::string encodeBytes(std::string_view text, bool (*keep)(char c));
    /// The way back; a "%" without two digits behind it stays.
    static std::string decodeBytes(std::string_view text);
    /// A section's name as it stands behind the "?" of a path: without "?" and "/".
    static std::string encodeSectionName(std::string_view name);
};
