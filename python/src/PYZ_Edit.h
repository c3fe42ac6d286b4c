/// \file PYZ_Edit.h
/// Edits of a node or a parameter that a handle is on, with all that is reported and raised.
///
/// Errors:     zel.GoneError for what isn't there when the edit's turn has come.
#pragma once

#include "PYZ_Node.h"
#include "PYZ_Parm.h"
#include "PYZ_Report.h"

#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Node.h>

/// Calls `work(scene, node, report)` with the interpreter free.
template <class Work>
auto PYZeditNode(const PYZ_Node &self, const char *className, const Work &work,
                 std::string_view text = {}, PYZ_Faults faults = PYZ_Faults::RAISE)
{
    NOD_Scene &scene = self.getScene().get();
    const PYZ_Changing changing(&scene);
    NOD_Node &node = self.get();
    auto result = PYZchange(
        &scene, className, [&](NOD_Report &report) { return work(scene, node, report); }, text,
        faults);
    changing.raiseKept();
    return result;
}

/// Calls `work(edit, node, parm, report)` with the interpreter free, in a step of undo.
template <class Work>
auto PYZeditParm(const PYZ_Parm &self, const char *label, const Work &work)
{
    const PYZ_Changing changing(self.getScenePtr());
    ZEL_Parm &parm = self.get();
    NOD_Node &node = self.getNode();
    auto result = PYZchange(
        self.getScenePtr(), "EditError",
        [&](NOD_Report &report) {
            NOD_Edit edit(node, label + std::string(self.getToken().view()));
            return work(edit, node, parm, report);
        },
        self.getNameThen() + " can't be edited");
    changing.raiseKept();
    return result;
}
