/// \file SavedNodes.h
/// What scenes and nodes are saved as, for tests that compare states.
#pragma once

#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_SceneFile.h>
#include <ZEL/ZEL_ParmList.h>

#include <sstream>
#include <string>

inline std::string savedScene(NOD_Scene &scene, NOD_SaveOptions::Form form)
{
    NOD_Report report;
    std::ostringstream os;
    NOD_SaveOptions options;
    options.form = form;
    NOD_SceneFile::save(scene, os, options, report);
    return os.str();
}

inline std::string savedStream(NOD_Node &node, bool binary)
{
    std::ostringstream os;
    constexpr bool compact = false;
    node.getParms().save(os, binary, compact);
    return os.str();
}

/// All that a node holds, as text, and what was told when it was taken.
inline std::string contents(NOD_Node &node)
{
    NOD_Report faults;
    const auto all = NOD_NodeSections::take(node, NOD_NodeSections::Form::TEXT, faults);
    return all.channels + all.values + all.aliases + all.spares + faults.asText();
}
