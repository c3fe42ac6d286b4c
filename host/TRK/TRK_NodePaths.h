/// \file TRK_NodePaths.h
/// The literal paths of nodes in expressions and texts: finding them, and writing others in their places.
///
/// Vocabulary: *path* = the node's part of a reference, "../light" in ch("../light/tx"), or all of a text
///             that is a node's path, with a "/". *spelling* = how the place of a path writes it: in the escapes of
///             its quotes, or behind a backslash what a text would expand. Callers see paths without.
/// Ownership:  nothing is kept.
/// Threads:    any; the collection is asked for variables.
/// Cost:       linear in the text.
///
/// Where paths are looked for:
///
///     ch("PATH/name")              the functions ch, chf, chi, chs, chsop
///     vmr.ch('PATH/name')          in Python ch, chs and parm of any object, in any spelling of a
///     vmr.node('PATH')             text but those whose path is computed, and in the fields of f'{...}'
///     size `chs("PATH/name")`      the backticks of a text
///     PATH                         a text without backticks, if it contains a "/" and all of it leads to a
///     see PATH and PATH            node; else those of its words that contain one. A text of nodes' paths
///                                  needs no "/": `light`, `..`
///
/// A path with a variable that is known is computed, and left out; one with an unknown variable, which
/// stays as it is written, isn't.
#pragma once

#include <BAS/BAS_API.h>
#include <TRK/TRK_Types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

class TRK_Collection;

class KIT_API TRK_NodePaths
{
public:
    /// What a text is.
    enum class Form
    {
        TEXT,   ///< a literal text
        PATHS,  ///< one of nodes' paths: words without a "/" too
        NATIVE, ///< an expression
        PYTHON, ///< an expression in Python
        NATIVE_TEXT, ///< what gives a text: an expression, and one literal is as a text without backticks
        PYTHON_TEXT
    };
    /// The form of an expression, which gives a text or not.
    static Form formOf(TRK_ExprLanguage language, bool givesText)
    {
        return language == TRK_LANGUAGE_PYTHON ? (givesText ? Form::PYTHON_TEXT : Form::PYTHON)
                                               : (givesText ? Form::NATIVE_TEXT : Form::NATIVE);
    }

    /// What of the reference to a parameter is the path.
    enum class Part
    {
        NODE, ///< up to the last "/"
        ALL ///< with the name, which stays; one without a "/" too, and known variables are as written
    };
    /// Returns whether the path leads to a node, and may replace it.
    using Call = std::function<bool(std::string &path)>;

    struct Result
    {
        int changed = 0;
        int refused = 0;           ///< paths that can't be written there: they stay as they were
        const char *why = nullptr; ///< of the last that was refused
    };

    /// Calls \p call for each path, in the order of the text, and writes those that it replaces. Variables
    /// are known if \p collection, which may be null, or the process knows them.
    static Result forEach(std::string &text, Form form, const TRK_Collection *collection,
                          const Call &call, Part part = Part::NODE);
    /// A name of a parameter of the own node, at the bytes [begin, end) of the text.
    using NameCall =
        std::function<void(std::size_t begin, std::size_t end, const std::string &name)>;
    /// Calls \p call for each literal name without a path that code in Python reads by `vmr.ch`, `vmr.chs` or
    /// `vmr.parm`; of the last, which may be None, only where something is called of the result.
    static void forEachPythonName(const std::string &text, const NameCall &call);
    /// Whether the first argument of a function, of the expression language or in Python, refers to a parameter.
    static bool refersToParm(std::string_view function);
    /// Whether a literal text has an expression in backticks.
    static bool hasExpression(const char *text);
};
