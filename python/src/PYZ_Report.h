/// \file PYZ_Report.h
/// What the library reports, as Python's exceptions and warnings.
///
/// Vocabulary: *class* = the name of an exception of `zel.errors`: "SceneError".
/// Errors:     py::error_already_set.
#pragma once

#include "PYZ_Gate.h"
#include "PYZ_Python.h"

#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <string>
#include <string_view>
#include <utility>

/// The records of `zel.Message`.
py::tuple PYZmessages(const NOD_Report &report);
py::object PYZmessage(const NOD_Message &message);

[[noreturn]] void PYZraise(const char *className, std::string_view text);
/// Raises the errors of the report, if there are any or the work has failed, and warns of the rest. `text` is for a
/// failure that the report doesn't explain.
void PYZtell(const NOD_Report &report, const char *className, bool done,
             std::string_view text = {});

/// An EvaluationError of a component by its path; the code is one of EVL.h, `more` follows its sentence.
[[noreturn]] void PYZraiseEvaluation(const std::string &path, int code, const std::string &more,
                                     const NOD_Report &report = {});

/// How bad errors are.
enum class PYZ_Faults
{
    RAISE,
    WARN ///< all that could be done is done: errors are warnings, too
};

/// Adds a warning to the report that is the data.
void PYZtakeTraceback(void *report, const char *header, const char *detail);

/// Runs `work(report)` with the interpreter free and what the library reports in the report. Its result, of which false
/// or null is a failure, is returned.
template <class Work>
auto PYZgather(NOD_Report &report, const std::string &file, const Work &work)
{
    const PYZ_Rest rest;
    const NOD_ReportScope scope(report, file);
    const SNK_TracebackScope tracebacks(PYZtakeTraceback, &report);
    return work(report);
}

/// The same as a change, after which all is told.
template <class Work>
auto PYZchange(NOD_Scene *scene, const char *className, const Work &work,
               std::string_view text = {}, PYZ_Faults faults = PYZ_Faults::RAISE)
{
    const PYZ_Changing changing(scene);
    NOD_Report report;
    auto result = PYZgather(report, {}, work);
    changing.raiseKept();
    PYZtell(report, faults == PYZ_Faults::WARN && bool(result) ? nullptr : className, bool(result),
            text);
    return result;
}
