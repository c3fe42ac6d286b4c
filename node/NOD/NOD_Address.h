/// \file NOD_Address.h
/// Components of parameters by what people write: `t`, `t:1`, `tx`, `lw*`, `/rig/key/intensity`.
///
/// Vocabulary: *address* = `[PATH/]NAME[:INDEX]`. NAME is a parameter's token, or a component's channel token
///             or alias; else a pattern (KIT_String::match) of tokens or, where it matches none, of channel
///             tokens. PATH leads from a node to others, absolute or relative; each of its names may be a
///             pattern. A token without an INDEX is all of its components.
/// Units:      components from 0.
/// Ownership:  places borrow nodes. They know parameters by their tokens: an item of a block may go and come.
/// Threads:    as NOD_Node: look-ups from the thread that changes the scene.
/// Errors:     what names nothing is an error in the report.
/// Cost:       of a plain name, a look-up; of a pattern, linear in what it is compared with.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class NOD_Node;
class NOD_Report;
class ZEL_Parm;

/// Some components of a parameter.
struct NOD_API NOD_Place
{
    NOD_Node *node = nullptr;
    KIT_StringHolder token;
    int first = 0; ///< the first component
    int end = 0;   ///< after the last

    /// Null if the parameter is gone.
    ZEL_Parm *find() const;
};

/// All that the address names, in the order of the tree and the list. Empty, after an error, for none: no such
/// node or parameter, no such component, a base parameter, which has no value. Patterns leave out what has
/// no value, such as folders and buttons.
NOD_API std::vector<NOD_Place> NODfindPlaces(NOD_Node &base, const std::string &address,
                                             NOD_Report &report);
/// All components of all parameters of the node that have a value.
NOD_API std::vector<NOD_Place> NODallPlaces(NOD_Node &node);
