/// \file NOD_DotTextPrivate.h
/// Components in the DOT language.
#pragma once

#include <EVL/EVL.h>
#include <LNK/LNK_MicroNode.h>

#include <cstddef>
#include <string>

/// A line for one: with a double edge if it moves in time, red if it fails.
inline std::string NODdotNode(std::size_t number, const std::string &label, bool heldFlag,
                              int error)
{
    return fmt::format("    n{} [label={}{}{}];\n", number, LNK_MicroNode::quoteForDOT(label),
                       heldFlag ? "" : ", peripheries=2",
                       error != EVL::EVL_OK ? ", color=red" : "");
}
